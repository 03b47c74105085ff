// Published tools: read from JSON text, or made from the bytes. What is published again reads back
// as the same tools. The first byte chooses.

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {
namespace {

void check_problems(const std::vector<SchemaProblem>& problems) {
  for (const SchemaProblem& problem : problems) {
    check(!problem.reason.empty() && problem_line(problem).ends_with(problem.reason), "a reason");
  }
}

void check_read_back(const ToolTable& tools) {
  const Value published = publish_tools(tools);
  const std::string shown = display_form(published);
  ToolsReading again = read_tools(published);
  check_problems(again.warnings);
  std::vector<SchemaProblem> declared;
  for (const ToolSpec& tool : tools) {
    const ToolProblems problems = check_tool(tool.definition());
    declared.insert(declared.end(), problems.errors.begin(), problems.errors.end());
  }
  check(again.errors == declared, "what is published has the errors of what is declared", shown,
        again.errors.empty() ? "" : problem_line(again.errors.front()));
  if (!declared.empty()) return;
  const ToolTable same(std::move(again.tools));
  check(display_form(publish_tools(same)) == shown, "published again", shown);
  const bool has_nan = shown.find("nan") != shown.npos;  // which equals nothing
  check(same == tools || has_nan, "the same tools", shown);
}

void check_text(std::string_view text) {
  Value published;
  try {
    published = parse_json(text);
  } catch (const JsonError&) {
    return;
  }
  ToolsReading reading = read_tools(published);
  check_problems(reading.errors);
  check_problems(reading.warnings);
  const std::size_t named = published.is_list() ? published.get_list().size() : 0;
  check(!published.is_list() || reading.tools.size() == named || !reading.errors.empty(),
        "a tool or an error", text);
  check_read_back(ToolTable(std::move(reading.tools)));
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  Bytes bytes(data, size);
  if (bytes.below(2) == 0) {
    check_text(bytes.take_rest());
    return 0;
  }
  std::vector<ToolSpec> tools;
  for (std::size_t count = bytes.below(4); count > 0; --count) {
    tools.push_back(any_tool(bytes, "tool " + std::to_string(count), true));
  }
  check_read_back(ToolTable(std::move(tools)));
  return 0;
}
