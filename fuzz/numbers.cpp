// Numbers from text against a grammar and strtod; integers and floats against each other. The input
// is a text, its first bytes also a float and an integer.

#include "value/numbers.hpp"

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

constexpr std::string_view digits_0_to_9 = "0123456789";

bool is_digit(char c) { return digits_0_to_9.find(c) != digits_0_to_9.npos; }

// Stripped, in ASCII: a decimal digit of any script as its own, all else that is not ASCII as "?",
// single underscores between digits left out.
std::string in_ascii(std::string_view text) {
  std::string ascii;
  for (const char32_t character : code_points(plainly_trimmed(text))) {
    const int digit = decimal_digit_value(character);
    const char32_t plain = digit >= 0 ? U'0' + static_cast<char32_t>(digit) : character;
    ascii += is_ascii(plain) ? static_cast<char>(plain) : '?';
  }
  std::string kept;
  for (std::size_t i = 0; i < ascii.size(); ++i) {
    const bool is_between = i > 0 && is_digit(ascii[i - 1]) && is_digit(ascii.c_str()[i + 1]);
    if (ascii[i] != '_' || !is_between) kept += ascii[i];
  }
  return kept;
}

// Whether any of the characters were at the front, where they are removed.
bool skip(std::string_view& text, std::string_view characters,
          std::size_t most = std::string_view::npos) {
  const std::size_t count = std::min({text.find_first_not_of(characters), text.size(), most});
  text.remove_prefix(count);
  return count > 0;
}

bool is_integer(std::string_view text) {
  skip(text, "+-", 1);
  return skip(text, digits_0_to_9) && text.empty();
}

bool is_float(std::string_view text) {
  skip(text, "+-", 1);
  std::string word;
  for (const char c : text) word += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  if (word == "inf" || word == "infinity" || word == "nan") return true;
  const bool has_whole = skip(text, digits_0_to_9);
  const bool has_part = skip(text, ".", 1) && skip(text, digits_0_to_9);
  if (!has_whole && !has_part) return false;
  if (!skip(text, "eE", 1)) return text.empty();
  skip(text, "+-", 1);
  return skip(text, digits_0_to_9) && text.empty();
}

bool same_bits(double left, double right) {
  return (std::isnan(left) && std::isnan(right)) ||
         std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

void compare_text(std::string_view text) {
  const std::string plain = in_ascii(text);
  const auto integer = read_integer(text);
  check(integer.has_value() == is_integer(plain), "what is an integer", text);
  std::string_view digits = plain;
  const bool is_signed = skip(digits, "+-", 1);
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  const std::string sign = is_signed && plain[0] == '-' && !digits.empty() ? "-" : "";
  const std::string shown = sign + (digits.empty() ? "0" : std::string(digits));
  check(!integer || display_form(*integer) == shown, "integer", text, shown);
  const auto number = read_float(text);
  check(number.has_value() == is_float(plain), "what is a float", text);
  check(!number || same_bits(*number, std::strtod(plain.c_str(), nullptr)), "float", text);
}

// Below zero, zero or above it, as the decimal integer `left` is to `right`.
int compared(const std::string& left, const std::string& right) {
  const bool is_negative = left[0] == '-';
  if (is_negative != (right[0] == '-')) return is_negative ? -1 : 1;
  const int by_size = left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
  return (is_negative ? -1 : 1) * (by_size != 0 ? by_size : left.compare(right));
}

void compare_with(const Value& integer, double number) {
  const std::string shown = display_form(number);
  check(same_bits(read_float(shown).value(), number), "what is shown of a float", shown);
  const std::string digits = display_form(integer);
  const double nearest = std::strtod(digits.c_str(), nullptr);
  try {
    check(to_float(integer) == nearest, "nearest float", digits);
  } catch (const std::overflow_error&) {
    check(std::isinf(nearest), "too large for a float", digits);
  }
  if (!std::isfinite(number)) return;
  char whole[400];
  std::snprintf(whole, sizeof whole, "%.0f", std::trunc(number) + 0.0);
  check(display_form(to_integer(number)) == whole, "whole part", shown);
  int order = compared(digits, whole);
  if (order == 0 && number != std::trunc(number)) order = number < 0 ? 1 : -1;
  check(compare_numbers(integer, number) == (order <=> 0), "order", digits, shown);
  check(compare_numbers(number, integer) == (0 <=> order), "order", shown, digits);
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  compare_text(Bytes(data, size).take_rest());
  Bytes bytes(data, size);
  const double number = bytes.number<double>();
  const std::int64_t little = bytes.number<std::int8_t>();
  const Value any = bytes.number_value();
  compare_with(any.is_integer() ? any : little, number);
  if (!std::isfinite(number)) return 0;
  const Value own = to_integer(number);
  compare_with(own, number);
  if (std::abs(number) < 0x1p62) compare_with(own.as_int64() + little, number);
  return 0;
}
