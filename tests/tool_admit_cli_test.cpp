// Runs the program itself: TOOL_ADMIT_PROGRAM is its path, TOOL_ADMIT_REQUESTS that of the example
// requests.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "test_data.hpp"

namespace tool_binding {
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
  // The arguments may redirect what is redirected here, and end in further commands.
  Outcome run(const std::string& arguments) const {
    const std::string command = "cd '" + directory_.string() +
                                "' && '" TOOL_ADMIT_PROGRAM "' </dev/null >out 2>err " + arguments;
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

// What the lines with this mark say.
std::string part_behind(char mark, const Lines& lines) {
  std::string part;
  for (const std::string& line : lines) {
    if (line[0] == mark) part += '\n' + line.substr(std::min<std::size_t>(line.size(), 2));
  }
  return part.empty() ? part : part.substr(1);
}

void expect_part(const std::string& written, const std::string& part) {
  EXPECT_NE(written.find(part), std::string::npos) << written;
  EXPECT_TRUE(!part.empty() || written.empty()) << written;
}

// Every case of tool_admit_cli_cases.txt, which says how it is laid out.
TEST_F(ToolAdmit, ExitStatusAndStreams) {
  write("good.json", good_tools);
  write("bad.json", bad_tools);
  write("empty.json", "");
  run("; echo '{\"tool\": \"status\"}' | gzip >cut.gz; "
      "printf '\\037\\213 no gzip' >faulty.gz; "
      "cp cut.gz padded.gz; truncate -s +600 padded.gz; "
      "echo '{\"tool\": \"status\"}' | gzip >>cut.gz; truncate -s -9 cut.gz");
  write("broken.json", "[\n  {'name': 1}]");
  write("admitted", "\n \t\r\n{\"tool\": \"t\", \"arguments\": {\"a\": \"5\"}}");
  const std::string deep = std::string(1'000'000, '[') + std::string(1'000'000, ']');
  write("deep", R"({"tool": "list_files", "arguments": {"paths": [)" + deep + "]}}");
  write("refused", "{\"tool\": \"t\"}\nx\n{\"tool\": \"v\"}\n");
  const std::vector<DataCase> cases = data_cases("tool_admit_cli_cases.txt");
  for (const DataCase& c : cases) {
    SCOPED_TRACE(c.lines[0]);
    const Outcome outcome = run(c.lines[0].substr(1));
    EXPECT_EQ(std::to_string(outcome.status), c.lines.at(1));
    expect_part(outcome.out, part_behind('>', c.lines));
    expect_part(outcome.err, part_behind('!', c.lines));
  }
  EXPECT_EQ(cases.size(), 53U);
}

TEST_F(ToolAdmit, ServesItsOwnSchemaLikeTheBuiltInTools) {
  write("tools.json", run("--schema").out);
  const Outcome again = run("--tools tools.json --schema");
  EXPECT_EQ(again.out, read("tools.json"));
  EXPECT_EQ(again.err, "");  // not a warning
  const Outcome builtin = run("'" TOOL_ADMIT_REQUESTS "'");
  EXPECT_EQ(builtin.status, 1);
  EXPECT_EQ(builtin.err, "");
  EXPECT_EQ(run("--tools tools.json '" TOOL_ADMIT_REQUESTS "'").out, builtin.out);
}

// The next request is only sent once this one's answer is there.
TEST_F(ToolAdmit, AnswersEachRequestOfAPipeAtOnce) {
  const Outcome outcome =
      run("; mkfifo in; '" TOOL_ADMIT_PROGRAM
          "' <in >answers & exec 3>in; for n in 1 2; "
          "do echo '{\"tool\": \"status\"}' >&3; i=0; until [ $(wc -l <answers) = $n ] || [ $i "
          "= 50 ]; do "
          "sleep 0.1; i=$((i + 1)); done; wc -l <answers >>counts; done; exec 3>&-; wait");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(read("counts"), "1\n2\n");
}

}  // namespace
}  // namespace tool_binding
