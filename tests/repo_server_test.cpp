// The example's tools over a directory of their own: what they answer, and that nothing outside of
// the root can be reached.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "root.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_service.hpp"
#include "tools.hpp"

namespace repo_server {
namespace {

using tool_binding::Mapping;
using tool_binding::Outcome;
using tool_binding::ToolAnswer;
namespace fs = std::filesystem;

class RepoServer : public testing::Test {
 protected:
  void SetUp() override {
    std::string form = (fs::temp_directory_path() / "repo_server.XXXXXX").string();
    ASSERT_NE(mkdtemp(form.data()), nullptr);
    outside_ = form;
    root_ = outside_ / "root";
    fs::create_directories(root_ / "src");
    write(outside_ / "secret", "the secret\n");
    write(root_ / "src/main.cpp", "int main() {\n  return answer;\n}\n");
    write(root_ / "notes.txt", "one\ntwo\nthree\nfour\n");
    write(root_ / "-rf", "answer\n");
    write(root_ / "line\nbreak", "answer\n");
    write(root_ / "binary", std::string("answer\0", 7));
    fs::create_symlink("../secret", root_ / "way_out");
    fs::create_directory_symlink("..", root_ / "up");
    fs::create_symlink("notes.txt", root_ / "inside");
    tool_binding::Context context;
    context.provide("root", std::make_shared<const Root>(root_));
    service_ = std::make_unique<tool_binding::ToolService>(tools(), context);
    EXPECT_TRUE(service_->warnings().empty());
  }
  void TearDown() override { fs::remove_all(outside_); }

  static void write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }
  ToolAnswer call(const std::string& tool, const Mapping& arguments) const {
    return service_->call(tool, arguments);
  }
  std::string text(const std::string& tool, const Mapping& arguments) const {
    return std::string(call(tool, arguments).text());
  }
  void git(const std::string& arguments) const {
    const std::string command = "cd '" + root_.string() +
                                "' && git -c user.name=A -c user.email=a@example.org " + arguments +
                                " >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }

  fs::path outside_;
  fs::path root_;
  std::unique_ptr<tool_binding::ToolService> service_;
};

// Every case of repo_server_cases.txt, which says how it is laid out.
TEST_F(RepoServer, AnswersWithinItsRootAndLimits) {
  ASSERT_EQ(mkfifo((root_ / "pipe").c_str(), 0600), 0);
  write(root_ / "large", std::string(2 << 20, 'x'));
  write(root_ / "dos", "first\r\nlast\r\n");
  write(root_ / "hostile", std::string(500'000, 'a') + "b\n");
  for (const tool_binding::DataCase& c : tool_binding::data_cases("repo_server_cases.txt")) {
    SCOPED_TRACE(c.lines[0]);
    const std::string tool = c.lines[0].substr(0, c.lines[0].find(' '));
    const std::string arguments = c.lines[0].substr(tool.size());
    const ToolAnswer answer = call(tool, tool_binding::parse_json(arguments).as_mapping());
    std::string shown = answer.outcome == Outcome::failed    ? "failed: "
                        : answer.outcome == Outcome::refused ? "refused: "
                                                             : "";
    shown += answer.text();
    if (shown.ends_with('\n')) shown.pop_back();
    EXPECT_EQ(shown, c.text(1));
  }
  EXPECT_EQ(text("files", {{"action", "stat"}, {"path", "src"}}).substr(0, 14), "src: directory");
  EXPECT_EQ(text("search", {{"q", "two"}, {"path", "notes.txt"}}), "notes.txt:2:two\n");
  EXPECT_EQ(call("search", {{"query", "("}, {"mode", "regex"}}).outcome, Outcome::failed);
}

TEST_F(RepoServer, NoPathLeavesTheRoot) {
  const std::string full = (outside_ / "secret").string();
  for (const std::string& path :
       {std::string("../secret"), full, std::string("way_out"), std::string("up/secret"),
        std::string("src/../../secret"), std::string("./up/root/../secret"),
        std::string("/proc/self/root") + full, std::string("src/\n/../../../secret"),
        std::string("notes.txt\0/../../secret", 23)}) {
    for (const Mapping& arguments :
         {Mapping{{"action", "read"}, {"path", path}}, Mapping{{"action", "list"}, {"path", path}},
          Mapping{{"action", "stat"}, {"path", path}}}) {
      const ToolAnswer answer = call("files", arguments);
      EXPECT_EQ(answer.outcome, Outcome::failed) << path;
      EXPECT_EQ(answer.text().find("the secret"), std::string::npos) << path;
    }
    EXPECT_EQ(text("search", {{"query", "secret"}, {"paths", tool_binding::List{path}}})
                  .find("the secret"),
              std::string::npos);
  }
  EXPECT_EQ(text("search", {{"query", "the secret"}}).substr(0, 8), "No line ");
}

// A directory that is a link now and then: either the file inside is read, or an error.
TEST_F(RepoServer, NoLinkMadeMeanwhileLeavesTheRoot) {
  fs::create_directory(root_ / "turning");
  write(root_ / "turning/secret", "harmless\n");
  std::atomic<bool> is_over = false;
  std::thread turner([&] {
    while (!is_over) {
      fs::rename(root_ / "turning", root_ / "aside");
      fs::create_directory_symlink("..", root_ / "turning");
      fs::remove(root_ / "turning");
      fs::rename(root_ / "aside", root_ / "turning");
    }
  });
  for (int i = 0; i < 3000; ++i) {
    const std::string read = text("files", {{"action", "read"}, {"path", "turning/secret"}});
    EXPECT_EQ(read.find("the secret"), std::string::npos);
  }
  is_over = true;
  turner.join();
}

TEST_F(RepoServer, EndsASearchThatIsCancelled) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_NE(service_->call("search", {{"query", "answer"}}, {.stop = stop.get_token()})
                .text()
                .find("cancelled"),
            std::string::npos);
}

TEST_F(RepoServer, ShowsTheHistoryAndRunsNothingElse) {
  EXPECT_EQ(text("history", {}), "The root is not a git repository: it has no history.");
  git("init -b main");
  git("add -A");
  git("commit -m 'First commit'");
  write(root_ / "notes.txt", "one\n2\n");
  fs::create_symlink(".git/config", root_ / "settings");
  EXPECT_EQ(text("files", {}).find(".git"), std::string::npos);
  for (const char* path : {".git", "./.git/config", "src/../.git/HEAD", "settings"}) {
    EXPECT_NE(text("files", {{"action", "stat"}, {"path", path}}).find("git's own"),
              std::string::npos);
    EXPECT_EQ(call("search", {{"query", "bare"}, {"path", path}}).outcome, Outcome::failed);
  }
  // What a repository could make git run.
  const std::string trap = "touch " + (outside_ / "trapped").string();
  git("config core.fsmonitor '" + trap + "'");
  git("config diff.external '" + trap + "'");
  git("config diff.trap.textconv '" + trap + "'");
  git("config filter.trap.clean 'cat'");
  write(root_ / ".gitattributes", "* diff=trap filter=trap\n");
  git("-c core.fsmonitor=false commit -a -m 'Second commit'");
  git("config filter.trap.clean '" + trap + "'");
  write(outside_ / "trap", "#!/bin/sh\n" + trap + "\n");
  fs::permissions(outside_ / "trap", fs::perms::owner_all);
  git("config gpg.program " + (outside_ / "trap").string());
  git("config format.pretty '%G?'");
  git("config blame.ignoreRevsFile " + (outside_ / "secret").string());
  git("update-ref HEAD $(git cat-file commit HEAD | sed '/^committer/a gpgsig none' | "
      "git hash-object -t commit -w --stdin)");
  fs::remove(outside_ / "trapped");
  EXPECT_NE(text("history", {}).find("A: Second commit\n"), std::string::npos);
  EXPECT_EQ(text("history", {{"action", "log"}, {"path", "src"}, {"n", 1}}).find("Second"),
            std::string::npos);
  EXPECT_NE(text("history", {{"action", "show"}}).find("+2\n"), std::string::npos);
  EXPECT_NE(text("history", {{"action", "diff"}, {"path", "notes.txt"}}).find("-two\n"),
            std::string::npos);
  const std::string blamed = text("history", {{"action", "blame"}, {"file", "notes.txt"}});
  EXPECT_NE(blamed.find(" 2) 2\n"), std::string::npos) << blamed;
  EXPECT_FALSE(fs::exists(outside_ / "trapped"));
  EXPECT_EQ(call("history", {{"action", "blame"}, {"path", "../secret"}}).outcome, Outcome::failed);
  for (const char* revision : {"--output=trapped", "-h", "nothing", "HEAD:notes.txt", "a b"}) {
    const ToolAnswer answer = call("history", {{"revision", revision}});
    EXPECT_EQ(answer.outcome, Outcome::failed) << revision;
    EXPECT_NE(answer.text().find("There is no commit"), std::string::npos) << answer.text();
  }
  EXPECT_FALSE(fs::exists(outside_ / "trapped"));
  EXPECT_FALSE(fs::exists(root_ / "trapped"));
}

// A submodule's configuration is its own, and would be used for what differs in it.
TEST_F(RepoServer, RunsNothingOfASubmodule) {
  const std::string commit = " && git -c user.name=A -c user.email=a@example.org commit -a -m ";
  git("init -b main");
  git("init sub && cd sub && echo 1 >x && git add -A" + commit + "one");
  git("add -A" + commit + "one");
  git("-C sub version && cd sub && echo 2 >x" + commit + "two && cd .." + commit + "two");
  git("config diff.submodule diff");
  git("-C sub config diff.external 'touch " + (outside_ / "trapped").string() + "'");
  EXPECT_NE(text("history", {{"action", "show"}}).find("+Subproject commit"), std::string::npos);
  EXPECT_NE(text("history", {{"action", "diff"}}).find("+Subproject commit"), std::string::npos);
  EXPECT_FALSE(fs::exists(outside_ / "trapped"));
}

TEST_F(RepoServer, ShowsNoHistoryThatIsKeptElsewhere) {
  fs::create_directory(outside_ / "other");
  git("init ../other && cd ../other && echo >x && git add -A && "
      "git -c user.name=A -c user.email=a@example.org commit -m 'the secret'");
  write(root_ / ".git", "gitdir: ../other/.git\n");
  EXPECT_NE(text("history", {}).find("kept elsewhere"), std::string::npos);
  fs::remove(root_ / ".git");
  fs::create_directory_symlink("../other/.git", root_ / ".git");
  EXPECT_NE(text("history", {}).find("kept elsewhere"), std::string::npos);
  fs::remove(root_ / ".git");
  git("init -b main");
  write(root_ / ".git/commondir", (outside_ / "other/.git").string());
  // Only this thread, and what it starts.
  std::thread([&] {
    if (!confine_to(Root(root_))) return;  // an older kernel
    EXPECT_EQ(text("history", {}).find("the secret"), std::string::npos);
    EXPECT_FALSE(std::ifstream(outside_ / "secret").is_open());
    EXPECT_FALSE(std::ofstream(root_ / "new").is_open());
    EXPECT_EQ(text("files", {{"action", "read"}, {"path", "inside"}}), "one\ntwo\nthree\nfour\n");
  }).join();
}

}  // namespace
}  // namespace repo_server
