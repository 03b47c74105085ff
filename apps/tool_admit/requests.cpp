#include "requests.hpp"

#include <array>
#include <string_view>
#include <utility>

#include "tool_binding/json.hpp"

namespace tool_binding::tool_admit {
namespace {

constexpr std::string_view request_form = R"({"tool": NAME, "arguments": {...}})";

// Members that are not read, but may hold what was meant as the arguments.
constexpr std::array<std::string_view, 3> doubtful_members = {"params", "parameters", "args"};

std::string quoted(std::string_view member) { return '"' + std::string(member) + '"'; }

std::string wrong_kind(std::string_view what, const Value& found, std::string_view advice) {
  return std::string(what) + " is of kind " + std::string(kind_name(found.kind())) + ": send " +
         std::string(advice);
}

// The member, unless it is null.
Value* given(Mapping& members, std::string_view name) {
  Value* value = members.find(name);
  return value != nullptr && !value->is_none() ? value : nullptr;
}

std::string tool_of(Mapping& members, std::optional<std::string_view> only = {}) {
  for (const std::string_view member : {std::string_view("tool"), std::string_view("name")}) {
    if (only && *only != member) continue;
    const Value* tool = given(members, member);
    if (tool == nullptr) continue;
    if (const auto name = tool->if_text()) return std::string(*name);
    throw RequestError(wrong_kind(quoted(member), *tool, "the tool's name as text"));
  }
  throw RequestError("the request names no tool: send " + std::string(request_form));
}

Mapping object_of(std::string_view member, Value& arguments) {
  if (Mapping* object = arguments.if_mapping()) return std::move(*object);
  throw RequestError(wrong_kind(quoted(member), arguments, "an object, {PARAMETER: VALUE, ...}"));
}

Mapping arguments_of(Mapping& members) {
  for (const std::string_view member : {"arguments", "input"}) {
    if (Value* arguments = given(members, member)) return object_of(member, *arguments);
  }
  for (const std::string_view member : doubtful_members) {
    if (given(members, member) == nullptr) continue;
    throw RequestError(quoted(member) + " is not read: send the arguments as \"arguments\"");
  }
  return {};
}

// A call's arguments as they are, or as JSON text; of no text there are none.
void read_function(Mapping& function, Call& call) {
  call.tool = tool_of(function, "name");
  Value* arguments = given(function, "arguments");
  const auto text = arguments != nullptr ? arguments->if_text() : std::nullopt;
  if (!text) {
    call.arguments = arguments_of(function);
  } else if (text->find_first_not_of(" \t\r\n") != text->npos) {
    try {
      *arguments = parse_json(std::string(*text));
    } catch (const JsonError& error) {
      throw RequestError("\"arguments\" holds " + std::string(error.what()));
    }
    call.arguments = object_of("arguments", *arguments);
  }
}

void read_members(Mapping& members, Call& call) {
  if (Mapping* function =
          members.contains("function") ? members.at("function").if_mapping() : nullptr) {
    return read_function(*function, call);
  }
  call.tool = tool_of(members);
  call.arguments = arguments_of(members);
}

void read_protocol(Mapping& members, Call& call) {
  Value* params = given(members, "params");
  if (params == nullptr) throw RequestError("\"tools/call\" lacks \"params\"");
  Mapping* object = params->if_mapping();
  if (object == nullptr) throw RequestError(wrong_kind("\"params\"", *params, "an object"));
  call.tool = tool_of(*object, "name");
  call.arguments = arguments_of(*object);
}

template <class Read>
Call call_by(const Read& read, Mapping& members) {
  Call call;
  try {
    read(members, call);
  } catch (const RequestError& error) {
    call.error = error.what();
  }
  return call;
}

Call no_object(const Value& found) {
  return {.error = wrong_kind("the request", found, "an object, " + std::string(request_form))};
}

bool is_text(Mapping& members, std::string_view name, std::string_view text) {
  const Value* value = members.find(name);
  return value != nullptr && value->if_text() == text;
}

// Of a `content` array: text, images and answers are blocks too.
bool is_call_block(Mapping& block) {
  if (block.contains("function")) return true;
  if (const Value* type = block.find("type")) {
    if (type->if_text() != "tool_use" && !block.contains("input")) return false;
  }
  return block.contains("name") && (block.contains("input") || block.contains("arguments"));
}

void add_listed(List& items, bool are_all_calls, std::vector<Call>& calls) {
  for (Value& item : items) {
    Mapping* members = item.if_mapping();
    if (members == nullptr) {
      if (are_all_calls) calls.push_back(no_object(item));
    } else if (are_all_calls || is_call_block(*members)) {
      calls.push_back(call_by(read_members, *members));
    }
  }
}

bool shows_a_call(Mapping& members) {
  for (const std::string_view member : {"tool", "name", "function"}) {
    if (given(members, member) != nullptr) return true;
  }
  return false;
}

}  // namespace

LineKind read_calls(Value line, std::vector<Call>& calls, std::string& why) {
  calls.clear();
  Mapping* members = line.if_mapping();
  if (members == nullptr) {
    why = *no_object(line).error;
    return LineKind::other;
  }
  if (is_text(*members, "method", "tools/call")) {
    calls.push_back(call_by(read_protocol, *members));
  } else if (members->contains("jsonrpc")) {
    why = "the message calls no tool: its method is not \"tools/call\"";
    return LineKind::other;
  } else if (shows_a_call(*members)) {
    calls.push_back(call_by(read_members, *members));
  } else {
    Value* listed = given(*members, "tool_calls");
    if (listed != nullptr && listed->is_list()) add_listed(listed->get_list(), true, calls);
    listed = given(*members, "content");
    if (listed != nullptr && listed->is_list()) add_listed(listed->get_list(), false, calls);
  }
  if (!calls.empty()) return LineKind::calls;
  why = "the request names no tool: send " + std::string(request_form);
  for (const std::string_view member : doubtful_members) {
    if (given(*members, member) != nullptr) why += "; " + quoted(member) + " is not read";
  }
  return LineKind::other;
}

}  // namespace tool_binding::tool_admit
