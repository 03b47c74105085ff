#ifndef TOOL_BINDING_TOOL_SCHEMAS_HPP_
#define TOOL_BINDING_TOOL_SCHEMAS_HPP_

// Tools as servers publish them: an array of {"name", "description", "inputSchema"}, each schema a
// flat JSON Schema object, read into tool specifications and written from them. Both sides are
// Values, so that no JSON library is needed here.
//
//   ToolsReading reading = read_tools(published);
//   if (reading.errors.empty()) set_tools(ToolTable(std::move(reading.tools)));
//
// What a property may hold, and the parameter that it becomes; a keyword that is null is left out:
//
//   type                      integer, number, boolean, string or array, also [T, "null"]; may be
//                             left out beside an enum; object: object_type()
//   anyOf, oneOf              of T and null: read as T, keywords beside the union counting first
//   another union, $ref,      any_type()
//     allOf, no type
//   enum, items.enum          texts; in an array each item must be one of them; an enum with
//                             entries that are not text: one_of(...)
//   items.type                "string" turns items into text, any other leaves them as they are;
//                             the rest of the items' schema is kept and published again
//   minimum, maximum          finite numbers
//   default, description
//   x-synonyms                [names]
//   x-blank-is-value          true or false
//   x-required-for            [actions]
//   x-action-defaults         {action: value}, null being a value
//   x-default                 the default for the actions that x-action-defaults leaves out, which
//                             is not published as a default; otherwise the same as default
//
// The property "action" lists the tool's actions: enum, default, description, x-synonyms
// {action: [names]}. The schema's own "description", "$defs" and "definitions" are kept and
// published again.
// "required" is read as it is. "x-routing" false in the schema itself, and a property named repo or
// repo_root, make the tool's routing false. The schema of a property that becomes a custom kind is
// kept whole and published again as it was; of any other, what is not listed here is not published.
//
// Errors, which keep a tool out:
//   a value of the wrong kind; a blank name; two tools or two actions of one name
//   an enumeration of which no entry can be admitted; an action without an enum of texts
//   a keyword that names an action which the tool does not have
//
// Warnings, for what is not checked:
//   a keyword that is not enforced or not read
//   a custom kind, whose content is passed on unchecked; a tool without routing
//
// Warnings, for what is doubtful:
//   a default that admission would refuse; bounds the wrong way round or without effect
//   enum entries that requests cannot tell apart or cannot give
//   a name that is listed twice; a synonym that another name takes
//   a required parameter that may be null or is not declared; items of a number type
//   a default action that the tool does not have; an action that is needed although not required

#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// The action that a request with these arguments runs, as text: the one that they name under
// ACTION_PARAM, else (absent, none or blank) the default action of the tool in TOOLS. None when
// TOOLS has no such tool, when there is no default, or when the tool has no such action.
//
//   effective_action("branches", {{"action", " LS "}}) == Value("list")
//   effective_action("branches", {{"action", "drop"}}).is_none()
[[nodiscard]] TOOL_BINDING_EXPORT Value effective_action(std::string_view tool,
                                                         const Mapping& arguments);

// What is wrong or doubtful in published tools, and where.
struct SchemaProblem {
  std::string tool;       // its name; "tool N" (N counted from 1) for one without; empty: the whole
  std::string parameter;  // empty: the tool itself
  std::string reason;

  friend bool operator==(const SchemaProblem&, const SchemaProblem&) = default;
};

// "TOOL, 'PARAMETER': REASON", without the parts that are empty. Names are as they were read:
// escape them for where the line goes.
[[nodiscard]] TOOL_BINDING_EXPORT std::string problem_line(const SchemaProblem& problem);

// Errors: what cannot work. Warnings: what works, and is probably not what was meant.
struct ToolProblems {
  std::vector<SchemaProblem> errors;
  std::vector<SchemaProblem> warnings;
};

// The tools that could be read, in their order, and all that was found. A tool with an error is
// not among the tools; one with warnings alone is.
struct ToolsReading : ToolProblems {
  std::vector<ToolSpec> tools;
};

// Reads an array of tools, or an object with such an array under "tools". Never throws for what it
// reads: a value that is neither is one error. All errors of all tools are reported. Cost: linear
// in what is read and reported, whatever its nesting.
//
//   ToolsReading reading = read_tools(parse_json(R"([
//       {"name": "t", "inputSchema": {"properties": {"n": {"type": "integer", "minimum": "x"}}}},
//       {"name": "u", "inputSchema": {"properties": {"s": {"type": "string", "pattern": "a"}}}}
//   ])"));
//   problem_line(reading.errors[0]) == "t, 'n': 'minimum' must be a finite number, not 'x'"
//   problem_line(reading.warnings[0]) ==
//       "u, 's': 'pattern' is not enforced, so the handler must check it"
//   reading.tools.size() == 1   // "u"
[[nodiscard]] TOOL_BINDING_EXPORT ToolsReading read_tools(const Value& published);

// What is wrong or doubtful about a tool that is declared in C++: what read_tools would report, and
// what no tools file can contain. Errors: a blank name, an unknown type word, a name that requests
// use for something else, a bound that is not a finite number, an enumeration that admits nothing,
// a default action or another name of an action that the tool does not have, repeated names.
//
//   ToolProblems problems = check_tool({.name = "t", .params = {{.name = "n", .type = "int"}}});
//   problem_line(problems.errors[0]) ==
//       "t, 'n': its type must be integer, number, boolean, string or array, not 'int'"
//
// Calls the `read` of custom types, with their defaults. Cost: linear in what is declared.
[[nodiscard]] TOOL_BINDING_EXPORT ToolProblems check_tool(const ToolDefinition& tool);

// The tools as such an array. A parameter whose default differs by action shows no default. What is
// published reads back as equal tools without an error, except for what no schema can say: what is
// an error above, the items' type of what is not an array, an action that is twice in
// action_defaults, and a default action without actions.
//
//   publish_tools(ToolTable({ToolSpec({.name = "status", .description = "Shows it."})})) ==
//       List{Mapping{{"name", "status"},
//                    {"description", "Shows it."},
//                    {"inputSchema",
//                     Mapping{{"type", "object"}, {"properties", Mapping{}}}}}}
[[nodiscard]] TOOL_BINDING_EXPORT Value publish_tools(const ToolTable& tools);

// One tool's input schema, as publish_tools shows it, with its `x-` keywords.
[[nodiscard]] TOOL_BINDING_EXPORT Value input_schema(const ToolSpec& tool);

// What schemas say for clients that do not take plain JSON Schema as it is.
struct WireOptions {
  // Whether schemas say "additionalProperties": false, for clients that check what they send.
  // Admission refuses unknown names either way.
  bool forbids_additional_properties = false;
  // Whether defaults are keywords; otherwise they are sentences of the descriptions. A default that
  // differs by action is always a sentence.
  bool defaults = true;
};

// The input schema that clients are shown: plain JSON Schema without any `x-` keyword or $schema,
// which some clients refuse, with "properties" even when there are none. What no keyword says
// becomes a sentence of the description; synonyms are left out, since a client should send the
// declared name.
//
//   ToolSpec branches({.name = "branches", .actions = {"list", "create"},
//                      .params = {{.name = "name", .required_for = {"create"},
//                                  .description = "The new branch"}}});
//   wire_schema(branches).at("properties").get_mapping().at("name") ==
//       Mapping{{"type", "string"}, {"description", "The new branch. Needed for create."}}
//
// Some clients check, rename or drop arguments by the schema before they send them: what admission
// would forgive may never arrive.
[[nodiscard]] TOOL_BINDING_EXPORT Mapping wire_schema(const ToolSpec& tool,
                                                      const WireOptions& options = {});
// For each tool {"name", "description", "inputSchema"}, as a tools/list answer carries it.
[[nodiscard]] TOOL_BINDING_EXPORT List wire_tools(const ToolTable& tools,
                                                  const WireOptions& options = {});

}  // namespace tool_binding

#endif  // TOOL_BINDING_TOOL_SCHEMAS_HPP_
