#ifndef TOOL_BINDING_SRC_HANDLERS_BINDING_HPP_
#define TOOL_BINDING_SRC_HANDLERS_BINDING_HPP_

// From a callable and a declaration to a plan of calls, and the words for what does not fit.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/handlers.hpp"

namespace tool_binding::detail {

// A tool before it is bound: with the mistakes that were found so far, one line each.
struct ToolRecord {
  ToolSpec spec;
  ToolInfo info;
  Callable callable;
  std::vector<std::string> problems;
};

// A tool whose function can be called.
struct BoundTool {
  Plan plan;
  std::shared_ptr<const Function> function;
};

// The places of the callable's parameters. Adds a line to `problems` for each mismatch; with any,
// the plan is of no use.
[[nodiscard]] Plan plan_of(const ToolSpec& spec, const Callable& callable, const Context& context,
                           std::vector<std::string>& problems);

// "TOOL, 'PARAMETER': REASON"
[[nodiscard]] std::string problem_of(const ToolSpec& spec, std::string_view parameter,
                                     std::string_view reason);

// Words.

inline constexpr std::string_view list_words = "a list (or comma-separated text)";
// The type word that a C++ type is declared as, or its items where it is a vector; "object" for a
// mapping, and what the schema says for a type with a reader. Empty: any.
[[nodiscard]] std::string_view word_of(const CppType& type);
[[nodiscard]] std::string_view item_word_of(const CppType& type);
// The type word of a schema; empty where it has none.
[[nodiscard]] std::string_view schema_word(const Mapping& schema);
// "std::optional<std::vector<std::int32_t>>"
[[nodiscard]] std::string name_of(const CppType& type);
// What a value, or an item, must be: "a whole number from 0 to 255". The range is said of a number
// alone, within the bounds of `param` if that is given.
[[nodiscard]] std::string words_of(const CppType& type, const Value& value, const ParamSpec* param);
// What a value of one of the five types must be: "a whole number" for "integer".
[[nodiscard]] std::string_view type_words(std::string_view word) noexcept;
// "literal, regex"
[[nodiscard]] std::string names_of(const std::vector<Enumerator>& enumerators);

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_SRC_HANDLERS_BINDING_HPP_
