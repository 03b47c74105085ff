#include "handlers/pending_json.hpp"
#include "tool_binding/tool_schemas.hpp"
namespace tool_binding {
Value wire_tools(const ToolTable& tools, const WireOptions&) { return publish_tools(tools); }
ToolCheck check_tool(const ToolDefinition&) { return {}; }
std::string json_text(const Value& v) { return display_form(v); }
}  // namespace tool_binding
