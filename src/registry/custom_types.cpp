#include <algorithm>
#include <stdexcept>
#include <utility>

#include "json/literal.hpp"
#include "tool_binding/tool_registry.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

std::optional<Value> read_object(const Value& sent) {
  if (sent.is_mapping()) return sent;
  auto read = sent.is_text() ? read_literal(sent.get_text()) : std::nullopt;
  return read && read->is_mapping() ? std::move(read) : std::nullopt;
}

std::string words_of(const List& values) {
  std::string words = "one of: ";
  for (const Value& value : values) {
    if (&value != &values.front()) words += ", ";
    words += text_form(value);
  }
  return words;
}

bool are_equal_numbers(const Value& left, const Value& right) {
  const auto is_number = [](const Value& value) { return value.is_integer() || value.is_float(); };
  return is_number(left) && is_number(right) && compare_numbers(left, right) == 0;
}

// An entry that is the value itself comes before one that is the same number, or whose text it is.
std::optional<Value> read_entry(const List& values, const Value& sent) {
  auto entry = std::find(values.begin(), values.end(), sent);
  if (entry == values.end()) {
    entry = std::find_if(values.begin(), values.end(), [&sent](const Value& value) {
      if (!sent.is_text()) return are_equal_numbers(value, sent);
      return text_form(value) == sent.get_text();
    });
  }
  return entry != values.end() ? std::optional(*entry) : std::nullopt;
}

}  // namespace

std::shared_ptr<const CustomType> object_type() {
  static const auto type = std::make_shared<const CustomType>(
      CustomType{.words = "an object", .read = read_object, .schema = {{"type", "object"}}});
  return type;
}

std::shared_ptr<const CustomType> any_type() {
  static const auto type = std::make_shared<const CustomType>(CustomType{
      .words = "a value", .read = [](const Value& sent) { return std::optional(sent); }});
  return type;
}

std::shared_ptr<const CustomType> one_of(List values) {
  const bool has_none =
      std::any_of(values.begin(), values.end(), [](const Value& value) { return value.is_none(); });
  if (values.empty() || has_none) {
    throw std::invalid_argument("one_of needs values, none of them none");
  }
  std::string words = words_of(values);
  Mapping schema{{"enum", values}};
  auto read = [values = std::move(values)](const Value& sent) { return read_entry(values, sent); };
  return std::make_shared<const CustomType>(
      CustomType{.words = std::move(words), .read = std::move(read), .schema = std::move(schema)});
}

}  // namespace tool_binding
