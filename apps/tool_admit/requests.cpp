#include "requests.hpp"

#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "tool_binding/json.hpp"

namespace tool_binding::tool_admit {
namespace {

constexpr std::string_view request_form = R"({"tool": NAME, "arguments": {...}})";

constexpr std::array<std::string_view, 2> argument_members = {"arguments", "input"};
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

std::string name_in(Mapping& members, std::string_view member) {
  const Value* tool = given(members, member);
  if (tool == nullptr) return "";
  if (const auto name = tool->if_text()) return std::string(*name);
  throw RequestError(wrong_kind(quoted(member), *tool, "the tool's name as text"));
}

std::string tool_of(Mapping& members) {
  for (const std::string_view member : {"tool", "name"}) {
    if (given(members, member) != nullptr) return name_in(members, member);
  }
  throw RequestError("the request names no tool: send " + std::string(request_form));
}

// Of an object that a message holds the call in.
std::string tool_of(std::string_view holder, Mapping& members) {
  if (given(members, "name") != nullptr) return name_in(members, "name");
  throw RequestError(quoted(holder) + " names no tool: send its \"name\"");
}

// JSON that is logged as text; of blank text there is nothing.
Value parsed(std::string_view member, const std::string& text) {
  if (text.find_first_not_of(" \t\r\n") == text.npos) return {};
  try {
    return parse_json(text);
  } catch (const JsonError& error) {
    throw RequestError(quoted(member) + " holds " + error.what());
  }
}

enum class Form { object_only, object_or_text };

Mapping object_of(std::string_view member, Value& arguments, Form form) {
  if (form == Form::object_or_text && arguments.is_text()) {
    arguments = parsed(member, std::string(arguments.get_text()));
    if (arguments.is_none()) return {};
  }
  if (Mapping* object = arguments.if_mapping()) return std::move(*object);
  throw RequestError(wrong_kind(quoted(member), arguments, "an object, {PARAMETER: VALUE, ...}"));
}

// The first of `names` that is given; empty for none.
std::string_view first_given(Mapping& members, std::span<const std::string_view> names) {
  for (const std::string_view name : names) {
    if (given(members, name) != nullptr) return name;
  }
  return {};
}

Mapping arguments_of(Mapping& members, Form form) {
  const std::string_view member = first_given(members, argument_members);
  if (!member.empty()) return object_of(member, members.at(member), form);
  const std::string_view doubtful = first_given(members, doubtful_members);
  if (doubtful.empty()) return {};
  throw RequestError(quoted(doubtful) + " is not read: send the arguments as \"arguments\"");
}

// Of an object that a message holds the call in: what stands beside it was meant too.
Mapping arguments_of(std::string_view holder, Mapping& inside, Mapping& message, Form form) {
  if (!first_given(inside, argument_members).empty()) return arguments_of(inside, form);
  for (const std::string_view beside : {"arguments", "input", "params", "parameters", "args"}) {
    if (beside == holder || given(message, beside) == nullptr) continue;
    throw RequestError(quoted(beside) + " is not read: send the arguments as \"arguments\" of " +
                       quoted(holder));
  }
  return arguments_of(inside, form);
}

void read_members(Mapping& members, Call& call) {
  Value* held = given(members, "function");
  if (Mapping* function = held != nullptr ? held->if_mapping() : nullptr) {
    call.tool = tool_of("function", *function);
    call.arguments = arguments_of("function", *function, members, Form::object_or_text);
  } else {
    const bool is_logged_by_name = given(members, "tool") == nullptr;
    call.tool = tool_of(members);
    call.arguments =
        arguments_of(members, is_logged_by_name ? Form::object_or_text : Form::object_only);
  }
}

void read_protocol(Mapping& members, Call& call) {
  Value* params = given(members, "params");
  if (params == nullptr) throw RequestError("\"tools/call\" lacks \"params\"");
  Mapping* object = params->if_mapping();
  if (object == nullptr) throw RequestError(wrong_kind("\"params\"", *params, "an object"));
  call.tool = tool_of("params", *object);
  call.arguments = arguments_of("params", *object, members, Form::object_only);
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

// The name in a message is its author's, or that of the tool whose answer it is.
bool shows_a_call(Mapping& members) {
  if (given(members, "tool") != nullptr || given(members, "function") != nullptr) return true;
  if (given(members, "name") == nullptr) return false;
  return !first_given(members, argument_members).empty() ||
         (given(members, "role") == nullptr && given(members, "tool_calls") == nullptr);
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
