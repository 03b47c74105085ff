// Runs the program itself: TOOL_ADMIT_PROGRAM is its path, TOOL_ADMIT_REQUESTS that of the example
// requests.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace {

class ToolAdmit : public testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string out;
    std::string err;
  };

  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "tool_admit_XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    directory_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(directory_); }

  void write(const std::string& name, std::string_view content) const {
    std::ofstream(directory_ / name, std::ios::binary) << content;
  }
  std::string read(const std::string& name) const {
    std::ifstream in(directory_ / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  // `redirections` may replace those before them.
  Outcome run(const std::string& arguments, const std::string& redirections = "</dev/null") const {
    const std::string command = "cd '" + directory_.string() + "' && '" TOOL_ADMIT_PROGRAM "' " +
                                arguments + " >out 2>err " + redirections;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("out"), read("err")};
  }

 private:
  std::filesystem::path directory_;
};

constexpr std::string_view good_tools =
    R"({"tools": [{"name": "t", "inputSchema": {"type": "object", "properties": {"a": {"type": "integer", "multipleOf": 2}}}}]})";
constexpr std::string_view bad_tools = R"([
  {"name": "t", "inputSchema": {"properties": {"a": {"type": "object"}, "repo": {}}}},
  {"name": "u", "inputSchema": {"properties": {"action": {"type": "string"}}}},
  {"name": "v", "inputSchema": {}}, {"name": "v", "inputSchema": {}}, 5])";

TEST_F(ToolAdmit, ExitStatusAndStreams) {
  write("good.json", good_tools);
  write("bad.json", bad_tools);
  write("empty.json", "");
  run("",
      "</dev/null; echo '{\"tool\": \"status\"}' | gzip >cut.gz; "
      "printf '\\037\\213 no gzip' >faulty.gz; "
      "cp cut.gz padded.gz; truncate -s +600 padded.gz; "
      "echo '{\"tool\": \"status\"}' | gzip >>cut.gz; truncate -s -9 cut.gz");
  write("broken.json", "[\n  {'name': 1}]");
  write("admitted", "\n \t\r\n{\"tool\": \"t\", \"arguments\": {\"a\": \"5\"}}");
  write("refused", "{\"tool\": \"t\"}\nx\n{\"tool\": \"v\"}\n");
  const std::string admitted =
      R"({"tool": "t", "arguments": {"a": 5}, "notes": [], "alias_hit": false, "bound": {"a": 5}})"
      "\n";
  const struct {
    std::string arguments;
    std::string redirections;
    int status;
    std::string_view out;  // a part of it; empty: nothing is written
    std::string_view err;
  } cases[] = {
      {"", "</dev/null", 0, "", ""},
      {"--help", "", 0, "Exit status:", ""},
      {"--version", "", 0, "tool_admit ", ""},
      {"--tools good.json admitted", "", 0, admitted, "good.json: 1 warning; --check shows them\n"},
      {"--tools good.json", "<admitted", 0, admitted, "1 warning"},
      {"--tools good.json --display admitted", "", 0, R"("bound": "{'a': 5}")", "1 warning"},
      {"--tools good.json refused", "", 1, "\n{\"tool\": null, \"error\": {\"type\": \"RequestErr",
       "1 warning"},
      {"--tools good.json --schema", "", 0, R"([{"name": "t")", "1 warning"},
      {"--schema --wire", "", 0, R"("default": 20}, )", ""},
      {"--wire", "", 2, "", "--wire requires --schema"},
      {"--tools good.json --check", "", 0, "1 tool without an error, 0 errors, 1 warning\n",
       "good.json: warning: t, 'a': "},
      {"--tools bad.json --check", "", 2, "2 tools without an error, 3 errors, 3 warnings\n",
       "bad.json: error: u, 'action': "},
      {"--tools bad.json", "", 2, "", "bad.json has 3 errors; --skip-unsupported serves"},
      {"--tools bad.json --skip-unsupported refused", "", 1, R"({"tool": "v", "arguments": {})",
       "bad.json: 3 tools left out; --check says why\n"},
      {"--tools empty.json", "", 2, "", "empty.json:1:1: invalid JSON at byte 1: "},
      {"--tools broken.json --check", "", 2, "", "broken.json:2:4: invalid JSON at byte 6: "},
      {"--tools none.json", "", 2, "", "tool_admit: cannot read none.json: No such file"},
      {"--tools ''", "", 2, "", "cannot read"},
      {"none", "", 2, "", "cannot read none: No such file"},
      {".", "", 2, "", "cannot read .: Is a directory"},
      {"--schema", ">/dev/full", 2, "", "cannot write"},
      {"--check", "", 2, "", "--check requires --tools"},
      {"--skip-unsupported", "", 2, "", "--skip-unsupported requires --tools"},
      {"--schema refused", "", 2, "", "excludes"},
      {"--tools good.json --check --display", "", 2, "", "excludes"},
      {"--unknown", "", 2, "", "--unknown"},
      {"--tols good.json", "", 2, "", "Did you mean --tools?"},
      {"--tools good.json --jobs 3 refused", "", 1, "\n{\"tool\": null, ", "1 warning"},
      {"--tools good.json --calls-only refused", "", 1, R"({"tool": "v", "error")", "1 warning"},
      {"--jobs 2 cut.gz", "", 2, R"({"tool": "status", "arguments": {})", "ends too early"},
      {"--jobs 2 faulty.gz", "", 2, "", "the compressed data is faulty"},
      {"--call search q=a limit:=900 n=5", "", 0,
       "  'limit' 900 is above the maximum: 200 was used\n  'n' was left out", ""},
      {"--call search limit=many", "", 1, "  Parameter 'limit' of search must be a whole", ""},
      {"--call search query= q=a", "", 0, "  query ''  left out\n  q 'a'  read as  query 'a'\n",
       ""},
      {"--call search q=a q=b", "", 2, "", "'q' is given twice; a list is NAME=A,B or"},
      {"--call search $(printf 'a\\033\\302\\233\\342\\200\\256')=1", "", 1,
       "Unknown parameter 'a\\u001b\\u009b\\u202e' for", ""},
      {"--call search 'q:=['", "", 2, "", "'q:=[': invalid JSON at byte 2"},
      {"--call search q", "", 2, "", "'q' is not an argument: give NAME=TEXT, or NAME:=JSON"},
      {"--call serach", "", 2, "", "Did you mean 'search'?"},
      {"--list", "", 0, "    limit  integer, from 1 to 200; default 20; also max_results, n\n", ""},
      {"--complete branches", "", 0, "action=\nbranch=\n", ""},
      {"--complete ''", "", 0, "read_file\n", ""},
      {"--merge good.json", "", 2, "", "good.json is no report: its \"lines\" is missing"},
      {"--merge admitted -", "<empty.json", 2, "", "admitted is no report: its \"lines\""},
      {"--merge empty.json", "", 2, "", "empty.json is no report: it is empty"},
      {"--merge -", "<empty.json", 0, "{\"lines\": 0, ", ""},
      {"padded.gz", "", 0, R"({"tool": "status", "arguments": {})", ""},
      {"--report text --propose admitted admitted", "", 2, "", "would overwrite the requests"},
      {"--report text --display", "", 2, "", "excludes"},
      {"--report xml", "", 2, "", "xml"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments + " " + c.redirections);
    const Outcome outcome = run(c.arguments, c.redirections);
    EXPECT_EQ(outcome.status, c.status);
    EXPECT_NE(outcome.out.find(c.out), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.err.find(c.err), std::string::npos) << outcome.err;
    EXPECT_TRUE(!c.out.empty() || outcome.out.empty()) << outcome.out;
    EXPECT_TRUE(!c.err.empty() || outcome.err.empty()) << outcome.err;
  }
}

TEST_F(ToolAdmit, ServesItsOwnSchemaLikeTheBuiltInTools) {
  write("tools.json", run("--schema").out);
  EXPECT_EQ(run("--tools tools.json --schema").out, read("tools.json"));
  const Outcome builtin = run("'" TOOL_ADMIT_REQUESTS "'");
  EXPECT_EQ(builtin.status, 1);
  EXPECT_EQ(builtin.err, "");
  EXPECT_EQ(run("--tools tools.json '" TOOL_ADMIT_REQUESTS "'").out, builtin.out);
}

// The next request is only sent once this one's answer is there.
TEST_F(ToolAdmit, AnswersEachRequestOfAPipeAtOnce) {
  const Outcome outcome =
      run("", "</dev/null; mkfifo in; '" TOOL_ADMIT_PROGRAM
              "' <in >answers & exec 3>in; for n in 1 2; "
              "do echo '{\"tool\": \"status\"}' >&3; i=0; until [ $(wc -l <answers) = $n ] || [ $i "
              "= 50 ]; do "
              "sleep 0.1; i=$((i + 1)); done; wc -l <answers >>counts; done; exec 3>&-; wait");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(read("counts"), "1\n2\n");
}

}  // namespace
