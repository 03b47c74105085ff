// What is shown of a value, against the same rules written once more.

#include <charconv>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

std::string plain_float(double number) {
  const double magnitude = std::abs(number);
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
  const bool is_plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
  char shown[40];
  const auto end =
      std::to_chars(shown, std::end(shown), number,
                    is_plain ? std::chars_format::fixed : std::chars_format::scientific);
  const std::string digits(shown, end.ptr);
  check(std::strtod(digits.c_str(), nullptr) == number, "digits that read back", digits);
  return digits + (is_plain && digits.find('.') == digits.npos ? ".0" : "");
}

std::string plain_text(std::string_view text) {
  const bool is_double = text.find('\'') != text.npos && text.find('"') == text.npos;
  std::string shown(1, is_double ? '"' : '\'');
  while (!text.empty()) {
    const auto [c, size] = first_code_point(text);
    const char* format = c < 0x100 ? "\\x%02x" : c < 0x10000 ? "\\u%04x" : "\\U%08x";
    if (is_printable(c) && c != U'\\' && (c != U'\'' || is_double)) {
      shown += text.substr(0, size);
    } else if (const auto at = std::u32string_view(U"\t\n\r\\'").find(c); at < 5) {
      shown += {'\\', "tnr\\'"[at]};
    } else {
      char escape[11];
      shown.append(escape, static_cast<std::size_t>(std::snprintf(escape, sizeof escape, format,
                                                                  static_cast<unsigned>(c))));
    }
    text.remove_prefix(size);
  }
  return shown += shown.front();
}

// Recursive: the values are not deep.
std::string plain_form(const Value& value) {
  std::string shown;
  if (const List* list = value.if_list()) {
    for (const Value& item : *list) shown += (shown.empty() ? "" : ", ") + plain_form(item);
    return "[" + shown + "]";
  }
  if (const Mapping* mapping = value.if_mapping()) {
    for (const auto& entry : *mapping) {
      shown +=
          (shown.empty() ? "" : ", ") + plain_form(entry.key()) + ": " + plain_form(entry.value);
    }
    return "{" + shown + "}";
  }
  if (value.is_none()) return "None";
  if (value.is_boolean()) return value.get_boolean() ? "True" : "False";
  if (value.is_int64()) return std::to_string(value.get_int64());
  if (value.is_integer()) return std::string(value.get_integer().digits());
  if (value.is_float()) return plain_float(value.get_float());
  if (value.is_text()) return plain_text(value.get_text());
  return "<" + value.get_object()->type_name() + ">";
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  const Value value = Bytes(data, size).value(4);
  const std::string shown = display_form(value);
  check(shown == plain_form(value), "the form shown", shown, plain_form(value));
  check(text_form(value) == (value.is_text() ? value.get_text() : shown), "the text form", shown);
  const Value copy = value;
  check(display_form(copy) == shown, "a copy", shown);
  return 0;
}
