#include "tool_binding/detail/cpp_type.hpp"

#include <algorithm>
#include <charconv>

#include "handlers/binding.hpp"
#include "text/lines.hpp"
#include "tool_binding_private.hpp"
#include "value/numbers.hpp"

namespace tool_binding::detail {

namespace {

// The entry that a list begins with, to the comma that ends it: none inside brackets does.
std::string_view first_entry(std::string_view list) noexcept {
  int depth = 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const char character = list[i];
    if (character == '(' || character == '<' || character == '{') ++depth;
    if (character == ')' || character == '>' || character == '}') --depth;
    if (character == ',' && depth == 0) return list.substr(0, i);
  }
  return list;
}

}  // namespace

// A value that no enumerator has is in the list as "(Mode)5".
std::vector<Enumerator> enumerators_in(std::string_view list) {
  constexpr std::string_view start = "Values = ";
  list.remove_prefix(list.rfind(start) + start.size());
  const std::size_t end = list.front() == '{' ? list.rfind('}') : list.rfind('>');  // g++, clang
  list = list.substr(1, end - 1);
  std::vector<Enumerator> all;
  for (std::size_t value = 0; !list.empty(); ++value) {
    const std::string_view entry = first_entry(list);
    const std::string_view tail = entry.substr(entry.rfind(')') + 1);
    if (const std::size_t colons = tail.rfind("::"); colons != tail.npos) {
      all.push_back({tail.substr(colons + 2), value});
    }
    list.remove_prefix(std::min(list.size(), entry.size() + 2));
  }
  return all;
}

const Enumerator* find_enumerator(const std::vector<Enumerator>& all, const Value& value) noexcept {
  if (!value.is_text()) return nullptr;
  const std::string_view text = value.get_text();
  for (const Enumerator& enumerator : all) {
    if (enumerator.name == text) return &enumerator;
  }
  return nullptr;
}

bool refuses_value(const std::exception& thrown) noexcept { return _refuses(thrown); }

std::shared_ptr<const CustomType> make_custom_type(std::string_view words,
                                                   bool (*reads)(const Value&), Mapping schema) {
  auto read = [reads](const Value& value) {
    return reads(value) ? std::optional(value) : std::nullopt;
  };
  return std::make_shared<const CustomType>(
      CustomType{std::string(words), std::move(read), std::move(schema)});
}

std::shared_ptr<const CustomType> make_custom_list(const CustomType& item) {
  auto read = [](const Value& value) {
    auto [list, failure] = _array(value);
    return failure == Coercion_::Failure::none ? std::optional(std::move(list)) : std::nullopt;
  };
  Mapping schema{{"type", "array"}};
  if (!item.schema.empty()) schema.set("items", item.schema);
  return std::make_shared<const CustomType>(
      CustomType{std::string(list_words), read, std::move(schema)});
}

std::optional<std::uint64_t> read_uint64(const Value& value) noexcept {
  const std::optional<Integer> integer = value.if_integer();
  if (!integer) return std::nullopt;
  const std::string_view digits = integer->digits();
  std::uint64_t number = 0;
  const auto read = std::from_chars(digits.begin(), digits.end(), number);
  if (read.ec != std::errc()) return std::nullopt;
  return number;
}

std::optional<double> read_double(const Value& value) {
  if (!value.is_integer()) return std::nullopt;
  try {
    return to_float(value);
  } catch (const std::overflow_error&) {
    return std::nullopt;
  }
}

namespace {

Coercion_ coerced_item(CppKind kind, const Value& item) {
  constexpr std::array<Coercion_ (*)(Argument_), 4> coercers = {_boolean, _integer, _number,
                                                                _string};
  const auto row = static_cast<std::size_t>(kind);
  if (row < coercers.size()) return coercers[row](item);
  if (kind == CppKind::mapping) return _custom(*object_type(), item);
  return {{}, Coercion_::Failure::type_error};
}

}  // namespace

bool coerce_item(CppKind kind, Value& item) {
  try {
    auto [value, failure] = coerced_item(kind, item);
    if (failure != Coercion_::Failure::none) return false;
    item = std::move(value);
    return true;
  } catch (const std::overflow_error&) {  // an integer beyond all floats
    return false;
  }
}

// Words.

namespace {

// The type word of each CppKind.
constexpr std::array<std::string_view, 9> kind_words = {
    "boolean", "integer", "number", "string", "string", "", "array", "object", ""};

template <class Number>
std::string shown(Number number) {
  return display_form(Value(number));
}

std::string integer_words(const CppType& type, const ParamSpec* param) {
  const auto side = [](const Value* bound, const std::string& limit) {
    return bound != nullptr && bound->is_integer() ? display_form(*bound) : limit;
  };
  return line_of({type_words("integer"), " from ",
                  side(param != nullptr ? &param->minimum : nullptr, shown(type.lowest)), " to ",
                  side(param != nullptr ? &param->maximum : nullptr, shown(type.highest))});
}

}  // namespace

std::string_view schema_word(const Mapping& schema) {
  const Value* word = schema.find("type");
  return word != nullptr ? word->if_text().value_or("") : "";
}

std::string_view item_word_of(const CppType& type) {
  if (type.kind == CppKind::custom) return schema_word(type.custom()->schema);
  return kind_words[static_cast<std::size_t>(type.kind)];
}

std::string_view word_of(const CppType& type) {
  return type.is_vector ? "array" : item_word_of(type);
}

std::string name_of(const CppType& type) {
  std::string name(type.name);
  if (type.is_vector) name = line_of({"std::vector<", name, ">"});
  if (type.is_optional) name = line_of({"std::optional<", name, ">"});
  return name;
}

std::string names_of(const std::vector<Enumerator>& enumerators) {
  std::vector<std::string> names;
  for (const Enumerator& enumerator : enumerators) names.emplace_back(enumerator.name);
  return joined(names, ", ");
}

std::string words_of(const CppType& type, const Value& value, const ParamSpec* param) {
  if (type.kind == CppKind::custom) return type.custom()->words;
  if (type.kind == CppKind::enumeration) return "one of: " + names_of(type.enumerators());
  if (type.kind == CppKind::integer && value.is_integer()) return integer_words(type, param);
  if (type.kind == CppKind::number && (value.is_float() || value.is_integer())) {
    return line_of(
        {type_words("number"), " from ", shown(-type.largest), " to ", shown(type.largest)});
  }
  if (type.kind == CppKind::mapping) return object_type()->words;
  return std::string(type_words(item_word_of(type)));
}

std::string_view type_words(std::string_view word) noexcept {
  const auto* const row = std::find_if(TYPE_WORDS_.rows.begin(), TYPE_WORDS_.rows.end(),
                                       [word](const auto& each) { return each.first == word; });
  return row->second;
}

}  // namespace tool_binding::detail
