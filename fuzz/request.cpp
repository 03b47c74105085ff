// A request to a tool, both chosen by the bytes: admission and binding against the same rules
// written once more, as plainly as they can be.

#include <set>
#include <tuple>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "text/lines.hpp"
#include "text/lower_case.hpp"
#include "tool_binding/utils/text_values.hpp"
#include "tool_binding_private.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

std::string quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

bool is_blank(const Value& value) {
  return value.is_text() && plainly_trimmed(value.get_text()).empty();
}

bool holds(const std::vector<std::string>& texts, std::string_view text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// The first of that name, else the first with that synonym.
const ParamSpec* find(const std::vector<ParamSpec>& params, std::string_view name) {
  for (const ParamSpec& param : params) {
    if (param.name == name) return &param;
  }
  for (const ParamSpec& param : params) {
    if (holds(param.synonyms, name)) return &param;
  }
  return nullptr;
}

// None for a value that is not to be read as the type.
Value read_as(const std::string& type, const Value& value) {
  const bool is_number = value.is_integer() || value.is_float();
  if (value.is_text() && type != "string") {
    const std::string_view text = value.get_text();
    if (type == "integer") return read_integer(text).value_or(Value());
    try {
      if (type == "boolean") return parse_bool(text);
      if (type == "array") return split_csv(text);
    } catch (const std::invalid_argument&) {
      return {};
    }
    const auto number = read_float(text);
    return number ? Value(*number) : Value();
  }
  if (type == "integer" && value.is_float()) {
    return is_whole(value.get_float()) ? to_integer(value) : Value();
  }
  if (type == "integer") return value.is_integer() ? value : Value();
  if (type == "number") return is_number ? Value(to_float(value)) : Value();
  if (type == "boolean" && value == Value(0)) return false;
  if (type == "boolean" && value == Value(1)) return true;
  if (type == "boolean") return value.is_boolean() ? value : Value();
  if (type == "string") return value.is_text() || is_number ? Value(text_form(value)) : Value();
  return value.is_list() ? value : Value();
}

struct Plain {
  void take(std::string_view name, const Value& value) {
    if (name == "repo" || name == "repo_root" || value.is_none()) return;
    if (name == "action") return is_blank(value) ? void() : take_action(value);
    const ParamSpec* param = find(tool.params(), name);
    if (param == nullptr) return problems.push_back(unknown(name));
    if (is_blank(value) && !param->blank_is_value) return;
    if (name != param->name) {
      const bool is_second = named.contains(param->name) || arguments.contains(param->name);
      alias_hit = true;
      notes.push_back(quoted(name) + (is_second ? " was left out: " : " was read as ") +
                      quoted(param->name) + (is_second ? " was given too" : ""));
      if (is_second) return;
    } else {
      named.emplace(name);
    }
    const Value coerced = this->coerced(*param, value);
    if (!coerced.is_none()) arguments.set(param->name, coerced);
  }

  void take_action(const Value& value) {
    const ActionSpec* action = tool.action(value);
    if (action == nullptr) {
      is_refused = true;
      return problems.push_back(tool.actions().empty() ? tool.name() + " takes no 'action'"
                                                       : _unknown_action(tool, value));
    }
    if (value != Value(action->name)) {
      alias_hit = true;
      notes.push_back("the action " + quoted(text_form(value)) + " was read as " +
                      quoted(action->name));
    }
    arguments.set("action", action->name);
  }

  [[nodiscard]] std::string unknown(std::string_view name) const {
    std::vector<NameCandidate> names(tool.param_names().begin(), tool.param_names().end());
    for (const ParamSpec& param : tool.params()) {
      names.insert(names.end(), param.synonyms.begin(), param.synonyms.end());
    }
    const auto nearest = _nearest(name, names);
    const std::string near = nearest ? find(tool.params(), *nearest)->name : "";
    const std::string takes = joined(tool.param_names(), ", ");
    return "Unknown parameter " + quoted(name) + " for " + tool.name() + "." +
           (near.empty() ? "" : " Did you mean " + quoted(near) + "?") + " It takes" +
           (takes.empty() ? " none" : ": " + takes) + ".";
  }

  Value refuse(const ParamSpec& param, const std::string& wanted, const Value& value) {
    problems.push_back("Parameter " + quoted(param.name) + " of " + tool.name() + " must" + wanted +
                       display_form(value));
    return {};
  }

  Value coerced(const ParamSpec& param, const Value& value) {
    static constexpr const char* words[] = {"a whole number", "a number", "true or false", "text",
                                            "a list (or comma-separated text)"};
    const auto type = std::find(TYPE_NAMES.begin(), TYPE_NAMES.end(), param.type);
    Value read = read_as(param.type, value);
    if (read.is_none()) {
      const std::string word = words[type - TYPE_NAMES.begin()];
      return refuse(param, " be " + word + ", not ", value);
    }
    if (!read.is_list()) {
      return param.enum_.empty() ? bounded(param, read) : entry(param, text_form(read), "");
    }
    bool fits = true;
    for (Value& item : read.get_list()) {
      if (param.items_type == "string") item = text_form(item);
      if (param.enum_.empty()) continue;
      item = entry(param, text_form(item), " each");
      fits = fits && !item.is_none();
    }
    return fits ? read : Value();
  }

  Value entry(const ParamSpec& param, const std::string& text, const std::string& each) {
    for (const std::string& entry : param.enum_) {
      if (lower_cased(entry) == lower_cased(plainly_trimmed(text))) return entry;
    }
    return refuse(param, each + " be one of: " + joined(param.enum_, ", ") + "; not ", text);
  }

  Value bounded(const ParamSpec& param, const Value& value) {
    if (!value.is_integer() && !value.is_float()) return value;
    const auto& [low, high] = std::tie(param.minimum, param.maximum);
    const bool is_below = !low.is_none() && compare_numbers(value, low) < 0;
    const bool is_above = !high.is_none() && compare_numbers(value, high) > 0;
    if (!is_below && !is_above) return value;
    const Value& bound = is_below ? param.minimum : param.maximum;
    const Value used = param.type == "integer" ? to_integer(bound) : Value(to_float(bound));
    notes.push_back(quoted(param.name) + " " + display_form(value) + " is " +
                    (is_below ? "below the minimum: " : "above the maximum: ") +
                    display_form(used) + " was used");
    return used;
  }

  NormalizedArguments result() {
    if (!is_refused && tool.default_action() && !arguments.contains("action")) {
      arguments.set("action", *tool.default_action());
    }
    const Value* action = arguments.find("action");
    if (action != nullptr || tool.actions().empty()) {
      for (const ParamSpec& param : tool.params()) check_given(param, action);
    } else if (!is_refused) {
      const std::string names = joined(tool.action_names(), ", ");
      problems.push_back(tool.name() + " needs an 'action': one of " + names);
    }
    if (!problems.empty()) throw ArgumentError(joined(problems, "; "));
    return NormalizedArguments(arguments, notes, alias_hit);
  }

  void check_given(const ParamSpec& param, const Value* action) {
    const std::string runs = action != nullptr ? text_form(*action) : "";
    const Value* value = arguments.find(param.name);
    const bool is_empty = value == nullptr || is_blank(*value) || *value == Value(List());
    const bool is_given = value != nullptr && (param.blank_is_value || !is_empty);
    if (is_given || !(param.required || (action != nullptr && holds(param.required_for, runs)))) {
      return;
    }
    problems.push_back(tool.name() + (runs.empty() ? "" : " " + quoted(runs)) + " needs " +
                       quoted(param.name));
  }

  const ToolSpec& tool;
  Mapping arguments = {};
  std::vector<std::string> notes = {};
  std::vector<std::string> problems = {};
  bool alias_hit = false;
  bool is_refused = false;
  std::set<std::string> named = {};
};

Mapping plainly_bound(const ToolSpec& tool, const Mapping& arguments) {
  Mapping bound;
  if (!tool.actions().empty()) {
    const Value* given = arguments.find("action");
    const ActionSpec* action = given != nullptr ? tool.action(*given) : nullptr;
    if (given != nullptr && is_blank(*given)) given = nullptr;
    bound.set("action", given == nullptr && tool.default_action() ? Value(*tool.default_action())
                        : action != nullptr                       ? Value(action->name)
                                                                  : Value());
  }
  for (const ParamSpec& param : tool.params()) {
    const Value* given = arguments.find(param.name);
    const Value left_out = param.action_defaults.empty() ? param.default_ : Value();
    bound.set(param.name, given != nullptr ? *given : left_out);
  }
  return bound;
}

// All that a call answers. An integer that is beyond the floats ends admission.
template <class Call>
std::string answer(const Call& call) {
  try {
    const NormalizedArguments admitted = call();
    return display_form(admitted.arguments()) + (admitted.alias_hit() ? " (alias)" : "") + "\n" +
           joined(admitted.notes(), "\n");
  } catch (const ArgumentError& error) {
    return "refused: " + std::string(error.message());
  } catch (const std::overflow_error&) {
    return "overflow";
  }
}

Mapping any_request(Bytes& bytes, const ToolSpec& tool) {
  std::vector<std::string> names = {"action", "repo", "repo_root"};
  std::vector<std::string> words = {" TRUE"};
  const auto add = [](auto& all, const auto& more) {
    all.insert(all.end(), more.begin(), more.end());
  };
  add(words, tool.action_names());
  for (const ActionSpec& action : tool.actions()) add(words, action.synonyms);
  add(names, tool.param_names());
  for (const ParamSpec& param : tool.params()) {
    add(names, param.synonyms);
    add(words, param.enum_);
  }
  Mapping request;
  while (!bytes.at_end() && request.size() < 40) {
    const std::size_t kind = bytes.below(8);
    const std::string name = names[bytes.below(names.size())] + (kind == 0 ? bytes.text() : "");
    const std::string word = words[bytes.below(words.size())];
    request.set(name, kind == 1   ? word
                      : kind == 2 ? lower_cased(" " + word)
                      : kind == 3 ? Value(text_form(bytes.number_value()))
                                  : bytes.value(3));
  }
  return request;
}

void check_admitted(const ToolSpec& tool, const NormalizedArguments& admitted) {
  const Mapping& arguments = admitted.arguments();
  const std::string shown = display_form(arguments);
  const std::string bound = display_form(plainly_bound(tool, arguments));
  check(display_form(bind_arguments(tool, arguments)) == bound, "bound", shown, bound);
  check(display_form(bind_arguments(tool, Mapping(arguments))) == bound, "bound, moved", shown);
  // A bound itself may lie beyond the bounds, as one that the type cannot hold.
  for (const std::string& note : admitted.notes()) {
    if (note.ends_with(" was used")) return;
  }
  if (tool.param("action") != nullptr || tool.param("repo") != nullptr) return;
  const std::string again = answer([&] { return normalize_arguments(tool, arguments); });
  check(again == shown + "\n", "admitted again", shown, again);
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  Bytes bytes(data, size);
  const ToolSpec tool = any_tool(bytes, "t", false);
  set_tools(ToolTable({tool}));
  const Mapping request = any_request(bytes, tool);
  const std::string before = display_form(request);
  const std::string expected = answer([&] {
    Plain plain{tool};
    for (const auto& entry : request) plain.take(entry.name(), entry.value);
    return plain.result();
  });
  const auto admit = [&] { return normalize_arguments(tool, request); };
  for (int i = 0; i < 2; ++i) {
    const std::string given = answer(admit);
    check(given == expected, "answer", before, given, expected);
    check(display_form(request) == before, "the request is only read", before);
  }
  const std::string moved = answer([&] { return normalize_arguments("t", Mapping(request)); });
  check(moved == expected, "answer to a request handed over", before, moved);
  if (!expected.starts_with("refused: ") && expected != "overflow") check_admitted(tool, admit());
  return 0;
}
