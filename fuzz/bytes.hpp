#ifndef TOOL_BINDING_FUZZ_BYTES_HPP_
#define TOOL_BINDING_FUZZ_BYTES_HPP_

// Values and tools that an input's bytes choose. What is behind the last byte reads as zeros.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "registry/tool_index.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool at_end() const { return rest_.empty(); }
  std::string_view take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view take_rest() { return take(rest_.size()); }

  template <class Number>
  Number number() {
    Number number = 0;
    const std::string_view taken = take(sizeof number);
    if (!taken.empty()) std::memcpy(&number, taken.data(), taken.size());
    return number;
  }
  // Up to 256.
  std::size_t below(std::size_t count) { return number<std::uint8_t>() % count; }

  // Cut anywhere: a part of a character is a stray byte.
  std::string text() {
    static constexpr std::string_view parts =
        "Fast, \u039f\u03a3A1_05.e3 true, no 'n''aninf' [1, \"a\"] {}\\\n\x1c\u00a0\u0661\u3000"
        "\u200b\x7f\u202e\xff\xed\xa0\x80\u0130\U000e0001 a text that is too long to stand inline";
    if (below(4) == 0) return std::string(take(below(32)));
    std::string made;
    for (std::size_t count = below(4); count > 0; --count) {
      made += parts.substr(below(parts.size()), below(below(4) == 0 ? 40 : 6));
    }
    return made;
  }

  Value number_value() {
    static constexpr double floats[] = {-0.0, 0.5, 1e16, 5e-324, HUGE_VAL, 0x1p53, 0x1p63};
    const std::size_t kind = below(5);
    if (kind == 0) return number<std::int8_t>();
    if (kind == 1) return number<std::int64_t>();
    if (kind == 2) return floats[below(std::size(floats))];
    if (kind == 3) return number<double>();
    std::string digits(below(64) == 63 ? 400 : below(40) + 1, '7');
    for (const char byte : take(3)) digits += static_cast<char>('0' + (byte & 7));
    return Value::integer_of((below(2) == 0 ? "" : "-") + digits);
  }

  // Of every kind; `depth` bounds the nesting.
  Value value(int depth) {
    const std::size_t kind = below(depth > 0 ? 10 : 8);
    if (kind == 0) return {};
    if (kind == 1) return below(2) == 0;
    if (kind == 2) return std::make_shared<Object>("Repo");
    if (kind < 5) return number_value();
    if (kind < 8) return text();
    List items;
    Mapping mapping;
    for (std::size_t count = below(depth > 2 ? 24 : 4); count > 0; --count) {
      if (kind == 8) items.push_back(value(depth - 1));
      if (kind == 9) mapping.set(below(4) == 0 ? value(0) : text(), value(depth - 1));
    }
    return kind == 8 ? Value(std::move(items)) : Value(std::move(mapping));
  }

 private:
  std::string_view rest_;
};

// Different names, at most so many. Some no published schema may use: those of the last words.
inline std::vector<std::string> any_names(Bytes& bytes, std::size_t at_most, bool publishable) {
  static constexpr std::string_view words[] = {
      "query", "limit", "Query", "n n", "q", "\xff", "type", "LS", "x-default", "action", "repo"};
  const std::size_t count = std::size(words) - (publishable ? 2 : 0);
  const std::size_t first = bytes.below(count);
  std::vector<std::string> names;
  for (std::size_t i = first, end = first + bytes.below(at_most + 1); i < end; ++i) {
    names.push_back(std::string(words[i % count]) + (i < count ? "" : std::to_string(i)));
  }
  return names;
}

inline ParamSpec any_param(Bytes& bytes, std::string name, const std::vector<ActionSpec>& actions,
                           bool publishable) {
  const auto bound = [&bytes] {
    Value number = bytes.number_value();
    return number.is_float() && !std::isfinite(number.get_float()) ? Value(0.5) : number;
  };
  const std::size_t has = bytes.below(256);
  ParamSpec param{.name = std::move(name), .type = std::string(TYPE_NAMES[bytes.below(5)])};
  if (has & 1) param.synonyms = any_names(bytes, 3, publishable);
  if (has & 2 && param.type == "array") param.items_type = bytes.below(2) == 0 ? "string" : "array";
  if (has & 4) param.enum_ = {bytes.text(), bytes.text(), bytes.text()};
  if (has & 8) param.minimum = bound();
  if (has & 16) param.maximum = bound();
  param.blank_is_value = has & 32;
  param.required = has & 64;
  if (has & 128) {
    param.default_ = bytes.value(2);
    param.description = bytes.text();
    for (const ActionSpec& action : actions) {
      const std::size_t choice = bytes.below(4);
      if (choice & 1) param.required_for.push_back(action.name);
      if (choice & 2) param.action_defaults.emplace_back(action.name, bytes.value(1));
    }
  }
  return param;
}

// A publishable tool has nothing that a published schema cannot say.
inline ToolSpec any_tool(Bytes& bytes, std::string name, bool publishable) {
  std::vector<ActionSpec> actions;
  for (std::string& action : any_names(bytes, 3, publishable)) {
    actions.push_back({std::move(action), any_names(bytes, 2, publishable)});
  }
  std::optional<std::string> first;
  if (!actions.empty() && bytes.below(2) == 0) first = actions[bytes.below(actions.size())].name;
  std::vector<ParamSpec> params;
  const std::size_t most = bytes.below(8) == 0 ? 20 : 5;
  for (std::string& param : any_names(bytes, most, publishable)) {
    params.push_back(any_param(bytes, std::move(param), actions, publishable));
  }
  return ToolSpec({.name = std::move(name),
                   .description = bytes.text(),
                   .actions = std::move(actions),
                   .params = std::move(params),
                   .default_action = first});
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_FUZZ_BYTES_HPP_
