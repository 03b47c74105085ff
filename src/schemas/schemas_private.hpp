#ifndef TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_
#define TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_

// Steps of reading published tools and of checking declarations: one keyword, one property, one
// parameter.
//
// Each step reports what it finds at its Place and goes on with what is left, so that all problems
// are found at once. A keyword whose value is null counts as left out.

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

// A name, and a value, as reasons show them. What may be long is shown by its kind alone.
[[nodiscard]] std::string quoted(std::string_view name);
[[nodiscard]] std::string shown(const Value& value);

// Where problems are reported: at a tool, or at one of its parameters.
class Place {
 public:
  Place(ToolProblems& problems, std::string tool) : problems_(problems), tool_(std::move(tool)) {}

  // The same tool's parameter.
  [[nodiscard]] Place at(std::string_view parameter) const;

  void error(std::string reason) const;
  void warning(std::string reason) const;
  // The error "'KEYWORD' must be WHAT, not FOUND".
  void must_be(std::string_view keyword, std::string_view what, const Value& found) const;
  // Of all tools, to find out whether a step reported any.
  [[nodiscard]] std::size_t error_count() const noexcept { return problems_.errors.size(); }

 private:
  ToolProblems& problems_;
  std::string tool_;
  std::string parameter_;
};

// What a keyword says, or null.
[[nodiscard]] const Value* find_given(const Mapping& schema, std::string_view keyword) noexcept;

// A warning for each keyword that is not among `read` and that is more than an annotation.
// `whose` follows the keyword, for instance " of its items".
void warn_of_unread(const Mapping& schema, Keywords read, const Place& place,
                    std::string_view whose = "");

// The content of a keyword (`value`: null for nothing), or nothing, with an error for a value of
// another kind. A blank name is an error and left out; a repeated one is reported and kept.
[[nodiscard]] const Mapping* read_mapping(const Value* value, std::string_view keyword,
                                          const Place& place);
[[nodiscard]] std::string read_text(const Value* value, std::string_view keyword,
                                    const Place& place);
[[nodiscard]] bool read_flag(const Value* value, std::string_view keyword, const Place& place);
[[nodiscard]] std::vector<std::string> read_names(const Value* value, std::string_view keyword,
                                                  const Place& place);
// The entries but null, which only says that the value may be left out.
[[nodiscard]] List read_entries(const Value* value, const Place& place);

// A property's schema: its keywords and, where it is a union of one type and null, in that
// type's branch. Where both say something, the outer one counts.
struct Property {
  const Mapping* outer;
  const Mapping* branch = nullptr;
  std::vector<const Mapping*> passed = {};  // unions between the two
  // The keyword that puts it together in another way, which no type expresses; empty: none.
  std::string_view combination = {};
  bool may_be_null = false;

  [[nodiscard]] const Value* find(std::string_view keyword) const noexcept;
};

[[nodiscard]] Property open_property(const Mapping& schema);
// A warning for each keyword that is not among `read`, and for each that the union repeats
// otherwise.
void warn_of_unread(const Property& property, Keywords read, const Place& place);

// False, with an error, for a schema that is put together from others.
[[nodiscard]] bool has_no_combination(const Mapping& schema, const Place& place);

// What can be wrong or doubtful about a declaration, wherever it comes from. A parameter whose type
// could not be read has an empty one. Whether names are actions of the tool is asked only where all
// of these are known.
void check_definition(const ToolDefinition& tool, bool are_actions_known, const Place& place);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_SCHEMAS_SCHEMAS_PRIVATE_HPP_
