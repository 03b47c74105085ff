#include "handlers/pending_json.hpp"
#include "tool_binding/tool_schemas.hpp"
namespace tool_binding {
Value wire_tools(const ToolTable& tools, const WireOptions&) { return publish_tools(tools); }
ToolCheck check_tool(const ToolDefinition&) { return {}; }
static std::string j(const Value& v) {
  if (v.is_list()) { std::string s = "["; for (auto& i : v.get_list()) s += (s.size()>1?",":"") + j(i); return s + "]"; }
  if (v.is_mapping()) { std::string s = "{"; for (auto& e : v.get_mapping()) s += (s.size()>1?",":"") + j(e.key()) + ":" + j(e.value); return s + "}"; }
  if (v.is_text()) return '"' + std::string(v.get_text()) + '"';
  if (v.is_boolean()) return v.get_boolean() ? "true" : "false";
  return display_form(v);
}
std::string json_text(const Value& v) { return j(v); }
}
