#ifndef TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_
#define TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_

// Steps of reading published tools: one keyword, one property, what is doubtful about a parameter.
//
// Each step tells what it finds at its Place and goes on with what is left, so that all problems of
// a file are found at once. A keyword whose value is null counts as left out.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/tool_registry.hpp"
#include "tool_binding/tool_schemas.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

using Keywords = std::span<const std::string_view>;

[[nodiscard]] bool is_among(Keywords names, std::string_view name) noexcept;

// Whether a value is of one of the five types; false for any other word. Every integer is a number.
[[nodiscard]] bool has_type(const Value& value, std::string_view type) noexcept;

// Names that requests give for something else, so that no parameter gets what they hold.
inline constexpr std::string_view reserved_names[] = {ACTION_PARAM, "repo", REPO_ROOT_ARGUMENT};

// A name, and a value, as reasons show them. What may be long is shown by its kind alone.
[[nodiscard]] std::string quoted(std::string_view name);
[[nodiscard]] std::string shown(const Value& value);

// Where problems are told: at a tool, or at one of its parameters.
class Place {
 public:
  Place(ToolsReading& reading, std::string tool) : reading_(reading), tool_(std::move(tool)) {}

  // The same tool's parameter.
  [[nodiscard]] Place at(std::string_view parameter) const;

  void error(std::string reason) const;
  void warning(std::string reason) const;
  // The error "'KEYWORD' must be WHAT, not FOUND".
  void must_be(std::string_view keyword, std::string_view what, const Value& found) const;
  // Of the whole reading, to find out whether a step told any.
  [[nodiscard]] std::size_t error_count() const noexcept { return reading_.errors.size(); }

 private:
  ToolsReading& reading_;
  std::string tool_;
  std::string parameter_;
};

// What a keyword says, or null.
[[nodiscard]] const Value* find_given(const Mapping& schema, std::string_view keyword) noexcept;

// A warning for each keyword that is not among `read` and that is more than an annotation.
// `whose` follows the keyword, for instance " of its items".
void warn_of_unread(const Mapping& schema, Keywords read, const Place& place,
                    std::string_view whose = "");

// What stands under a keyword (`value`: null for nothing), or nothing, with an error for a value of
// another kind. A blank name is an error and left out; a repeated one is told and kept. Null in an
// enumeration only says that the value may be left out; without any text it allows any value.
[[nodiscard]] const Mapping* read_mapping(const Value* value, std::string_view keyword,
                                          const Place& place);
[[nodiscard]] std::string read_text(const Value* value, std::string_view keyword,
                                    const Place& place);
[[nodiscard]] bool read_flag(const Value* value, std::string_view keyword, const Place& place);
[[nodiscard]] std::vector<std::string> read_names(const Value* value, std::string_view keyword,
                                                  const Place& place);
[[nodiscard]] std::vector<std::string> read_enum(const Value* value, const Place& place);

// A property's schema: what stands in it and, where it is a union of one type and null, in that
// type's branch. Where both say something, the outer one counts.
struct Property {
  const Mapping* outer;
  const Mapping* branch = nullptr;
  bool has_one_type = true;  // false: it is another union, which has been told

  [[nodiscard]] const Value* find(std::string_view keyword) const noexcept;
};

[[nodiscard]] std::optional<Property> open_property(const Value& schema, Keywords keywords,
                                                    const Place& place);

// False, with an error, for a schema that is put together from others.
[[nodiscard]] bool has_no_combination(const Mapping& schema, const Place& place);

// One of the five type words, or empty, with an error. An enumeration of texts needs no 'type'.
[[nodiscard]] std::string read_type(const Property& property, const Place& place);

// Warnings of what is doubtful; nothing here is an error. A parameter whose type could not be read
// has an empty one.
void check_enum(const std::vector<std::string>& entries, const Place& place);
void check_param(const ParamSpec& param, const Place& place);
// Of one tool, told at each parameter or at ACTION_PARAM.
void check_synonyms(const std::vector<ParamSpec>& params, const Place& tool);
void check_synonyms(const std::vector<ActionSpec>& actions, const Place& tool);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_
