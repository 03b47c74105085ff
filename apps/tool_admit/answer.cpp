#include "answer.hpp"

#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::tool_admit {
namespace {

// A line of JSON that is no request.
class RequestError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

struct ErrorType {
  bool (*is_type_of)(const std::exception& error);
  std::string_view name;
};

template <class Error>
bool is(const std::exception& error) {
  return dynamic_cast<const Error*>(&error) != nullptr;
}

// The first that fits counts; what fits none is a fault of the registry.
constexpr ErrorType error_types[] = {
    {is<ArgumentError>, "ArgumentError"},
    {is<UnknownToolError>, "KeyError"},
    {is<std::overflow_error>, "OverflowError"},
    {is<RequestError>, "RequestError"},
    {is<JsonError>, "RequestError"},
    {is<std::bad_alloc>, "RequestError"},
};

std::string_view type_of(const std::exception& error) {
  for (const ErrorType& type : error_types) {
    if (type.is_type_of(error)) return type.name;
  }
  return "RegistryError";
}

std::string_view message_of(const std::exception& error) {
  if (is<std::bad_alloc>(error)) return "the request needs more memory than there is";
  const auto* refusal = dynamic_cast<const ArgumentError*>(&error);
  return refusal != nullptr ? refusal->message() : error.what();
}

[[noreturn]] void refuse(std::string_view what, const Value& found, std::string_view advice) {
  throw RequestError(std::string(what) + " is of kind " + std::string(kind_name(found.kind())) +
                     ": send " + std::string(advice));
}

Mapping members_of(Value request) {
  if (Mapping* members = request.if_mapping()) return std::move(*members);
  refuse("the request", request, R"(an object, {"tool": NAME, "arguments": {...}})");
}

std::string tool_of(const Mapping& members) {
  for (const std::string_view member : {"tool", "name"}) {
    const Value* tool = members.find(member);
    if (tool == nullptr || tool->is_none()) continue;
    if (const auto name = tool->if_text()) return std::string(*name);
    refuse('"' + std::string(member) + '"', *tool, "the tool's name as text");
  }
  throw RequestError(R"(the request names no tool: send {"tool": NAME, "arguments": {...}})");
}

Mapping arguments_of(Mapping& members) {
  Value* arguments = members.find("arguments");
  if (arguments == nullptr || arguments->is_none()) return {};
  if (Mapping* given = arguments->if_mapping()) return std::move(*given);
  refuse("\"arguments\"", *arguments, "an object, {PARAMETER: VALUE, ...}");
}

Value shown(Mapping mapping, bool display) {
  Value value = std::move(mapping);
  return display ? Value(display_form(value)) : value;
}

Mapping admit(const std::string& tool, Mapping arguments, bool display) {
  NormalizedArguments admitted = normalize_arguments(tool, std::move(arguments));
  List notes(admitted.notes().begin(), admitted.notes().end());
  Mapping bound = bind_arguments(tool, admitted.arguments());
  Mapping answer;
  answer.set("tool", tool);
  answer.set("arguments", shown(std::move(admitted).arguments(), display));
  answer.set("notes", std::move(notes));
  answer.set("alias_hit", admitted.alias_hit());
  answer.set("bound", shown(std::move(bound), display));
  return answer;
}

}  // namespace

Answer answer_line(std::string_view line, bool display) {
  Value tool;
  try {
    Mapping members = members_of(parse_json(line));
    const std::string name = tool_of(members);
    tool = name;
    return {json_text(admit(name, arguments_of(members), display)), true};
  } catch (const std::exception& error) {
    Mapping answer{{"tool", std::move(tool)}, {"error", Mapping()}};
    Mapping& reported = answer.find("error")->get_mapping();
    reported.set("type", type_of(error));
    reported.set("message", message_of(error));
    return {json_text(std::move(answer)), false};
  }
}

}  // namespace tool_binding::tool_admit
