// Numbers from text against a grammar and strtod; integers and floats against each other. The input
// is a text, its first bytes also a float and an integer.

#include "numbers.hpp"

#include <regex>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

// Stripped, in ASCII: a decimal digit of any script as its own, all else that is not ASCII as "?".
std::string in_ascii(std::string_view text) {
  std::string ascii;
  for (const char32_t character : code_points(plainly_trimmed(text))) {
    const int digit = decimal_digit_value(character);
    const char32_t plain = digit >= 0 ? U'0' + static_cast<char32_t>(digit) : character;
    ascii += is_ascii(plain) ? static_cast<char>(plain) : '?';
  }
  return ascii;
}

bool same_bits(double left, double right) {
  return (std::isnan(left) && std::isnan(right)) ||
         std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

void compare_text(std::string_view text) {
  static const std::regex integer("([+-]?)0*([0-9]+)");
  static const std::regex number(
      R"([+-]?(([0-9]+\.?|[0-9]*\.[0-9]+)(e[+-]?[0-9]+)?|inf(inity)?|nan))", std::regex::icase);
  static const std::regex between_digits("([0-9])_(?=[0-9])");
  const std::string plain = std::regex_replace(in_ascii(text), between_digits, "$1");
  std::smatch parts;
  const bool is_integer = std::regex_match(plain, parts, integer);
  const auto read = read_integer(text);
  check(read.has_value() == is_integer, "what is an integer", text);
  const std::string sign = is_integer && parts[1] == "-" && parts[2] != "0" ? "-" : "";
  check(!read || display_form(*read) == sign + parts[2].str(), "integer", text);
  const auto read_number = read_float(text);
  check(read_number.has_value() == std::regex_match(plain, number), "what is a float", text);
  check(!read_number || same_bits(*read_number, std::strtod(plain.c_str(), nullptr)), "float",
        text);
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
  compare_text(Bytes(data, size).take(200));  // what a regular expression matches without harm
  Bytes bytes(data, size);
  const double number = bytes.number<double>();
  const Value integer = bytes.number_value();
  const bool takes_own = !integer.is_integer() && std::isfinite(number);
  compare_with(takes_own ? to_integer(number) : integer.is_integer() ? integer : 0, number);
  return 0;
}
