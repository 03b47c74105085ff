#include "value/numbers.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "text/lower_case.hpp"
#include "text/trim.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// The text with every decimal digit written in ASCII and the underscores between digits dropped.
// Nothing when an underscore is elsewhere.
std::optional<std::string> plain_digits(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  bool after_digit = false;
  bool after_underscore = false;
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    const int digit = decimal_digit_value(head.value);
    const bool is_underscore = head.value == U'_';
    if (after_underscore ? digit < 0 : is_underscore && !after_digit) return std::nullopt;
    if (digit >= 0) {
      plain += static_cast<char>('0' + digit);
    } else if (!is_underscore) {
      plain += text.substr(0, head.size);
    }
    after_digit = digit >= 0;
    after_underscore = is_underscore;
    text.remove_prefix(head.size);
  }
  if (after_underscore) return std::nullopt;
  return plain;
}

std::string_view without_digits(std::string_view text) noexcept {
  while (!text.empty() && is_digit(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view without_sign(std::string_view text) noexcept {
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  return text;
}

std::optional<double> read_named(std::string_view unsigned_text) {
  if (unsigned_text.size() > 8) return std::nullopt;
  const std::string name = lower_cased(unsigned_text);
  if (name == "inf" || name == "infinity") return std::numeric_limits<double>::infinity();
  if (name == "nan") return std::numeric_limits<double>::quiet_NaN();
  return std::nullopt;
}

// Whether a decimal that no float can hold is too large for them, rather than too small: whether
// its first digit other than zero is before the point, once the exponent has moved it.
bool is_beyond_range(std::string_view decimal) noexcept {
  const std::size_t exponent_at = std::min(decimal.find_first_of("eE"), decimal.size());
  const std::string_view digits = decimal.substr(0, exponent_at);
  const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
  const auto first = static_cast<std::int64_t>(digits.find_first_not_of("0."));
  if (exponent_at == decimal.size()) return first < point;
  std::string_view exponent = decimal.substr(exponent_at + 1);
  const bool negative = exponent.front() == '-';
  exponent = without_sign(exponent);
  std::int64_t moved = 0;
  if (std::from_chars(exponent.data(), exponent.data() + exponent.size(), moved).ec !=
      std::errc()) {
    return !negative;
  }
  return first - point < (negative ? -moved : moved);
}

// Digits with at most one point among or around them, then perhaps an exponent. Its source of
// exactness: std::from_chars reads as an arbitrary-precision algorithm does, however many digits
// there are.
std::optional<double> read_decimal(std::string_view unsigned_text) {
  const char first = unsigned_text.empty() ? '\0' : unsigned_text.front();
  if (!is_digit(first) && first != '.') return std::nullopt;  // no name, no second sign
  double number = 0;
  const char* end = unsigned_text.data() + unsigned_text.size();
  const auto read = std::from_chars(unsigned_text.data(), end, number);
  if (read.ptr != end) return std::nullopt;
  if (read.ec == std::errc()) return number;
  return is_beyond_range(unsigned_text) ? std::numeric_limits<double>::infinity() : 0.0;
}

std::optional<double> read_plain_float(std::string_view text) {
  const std::string_view magnitude = without_sign(text);
  std::optional<double> number = read_decimal(magnitude);
  if (!number) number = read_named(magnitude);
  return number && text.starts_with('-') ? -*number : number;
}

std::string whole_digits(double whole) {
  std::array<char, std::numeric_limits<double>::max_exponent10 + 4> buffer;
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), whole,
                                     std::chars_format::fixed, 0);
  return {buffer.data(), written.ptr};
}

// Decimal integers without leading zeros.
std::strong_ordering compare_digits(std::string_view left, std::string_view right) noexcept {
  const bool left_negative = left.starts_with('-');
  if (left_negative != right.starts_with('-')) {
    return left_negative ? std::strong_ordering::less : std::strong_ordering::greater;
  }
  const auto by_magnitude =
      left.size() != right.size() ? left.size() <=> right.size() : left.compare(right) <=> 0;
  return left_negative ? 0 <=> by_magnitude : by_magnitude;
}

std::string digits_of(Integer integer) {
  std::string digits;
  append_integer(digits, integer);
  return digits;
}

std::strong_ordering compare_integers(Integer left, Integer right) {
  if (left.fits_int64() && right.fits_int64()) return left.int64() <=> right.int64();
  return compare_digits(digits_of(left), digits_of(right));
}

constexpr double two_to_63 = 9223372036854775808.0;

bool in_int64_range(double number) noexcept { return number >= -two_to_63 && number < two_to_63; }

Value integer_part(double number) {
  if (!std::isfinite(number)) throw std::overflow_error("no integer is infinite or NaN");
  const double whole = std::trunc(number);
  if (in_int64_range(whole)) return static_cast<std::int64_t>(whole);
  return Value::integer_of(whole_digits(whole));
}

// Integers up to 2^53 are floats too.
bool is_exact_float(Integer integer) noexcept {
  constexpr std::int64_t limit = std::int64_t{1} << std::numeric_limits<double>::digits;
  return integer.fits_int64() && integer.int64() >= -limit && integer.int64() <= limit;
}

std::partial_ordering compare_mixed(Integer integer, double number) {
  if (is_exact_float(integer)) return static_cast<double>(integer.int64()) <=> number;
  if (std::isnan(number)) return std::partial_ordering::unordered;
  if (std::isinf(number)) return 0.0 <=> number;
  // Beyond 2^53 a float that is near has no fraction.
  const Value whole = integer_part(number);
  return compare_integers(integer, whole.get_integer());
}

}  // namespace

std::optional<Value> read_integer(std::string_view text) {
  text = trimmed(text);
  std::int64_t small = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), small);
  if (read.ec == std::errc() && read.ptr == text.data() + text.size()) return small;
  const std::optional<std::string> plain = plain_digits(text);
  if (!plain) return std::nullopt;
  const std::string_view digits = without_sign(*plain);
  if (digits.empty() || !without_digits(digits).empty()) return std::nullopt;
  return Value::integer_of(plain->front() == '+' ? digits : std::string_view(*plain));
}

std::optional<double> read_float(std::string_view text) {
  text = trimmed(text);
  if (const auto number = read_plain_float(text)) return number;
  const std::optional<std::string> plain = plain_digits(text);
  return plain ? read_plain_float(*plain) : std::nullopt;
}

std::partial_ordering compare_numbers(const Value& left, const Value& right) {
  if (left.is_int64() && right.is_int64()) return left.get_int64() <=> right.get_int64();
  const auto left_float = left.if_float();
  const auto right_float = right.if_float();
  if (left_float && right_float) return *left_float <=> *right_float;
  if (right_float) return compare_mixed(left.as_integer(), *right_float);
  if (left_float) return 0 <=> compare_mixed(right.as_integer(), *left_float);
  return compare_integers(left.as_integer(), right.as_integer());
}

Value to_integer(const Value& number) {
  if (const auto fractional = number.if_float()) return integer_part(*fractional);
  return number.as_integer();
}

double to_float(const Value& number) {
  if (const auto already = number.if_float()) return *already;
  const Integer integer = number.as_integer();
  if (integer.fits_int64()) return static_cast<double>(integer.int64());
  const std::string_view digits = integer.digits();
  double nearest = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), nearest).ec != std::errc()) {
    throw std::overflow_error("the integer is too large for a float");
  }
  return nearest;
}

bool is_whole(double number) noexcept {
  return std::isfinite(number) && std::trunc(number) == number;
}

void append_integer(std::string& out, const Integer& integer) {
  if (!integer.fits_int64()) {
    out += integer.digits();
    return;
  }
  std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> buffer;
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), integer.int64());
  out.append(buffer.data(), written.ptr);
}

namespace {

// Appends a number of few digits and up to three decimals, as most are that clients send. A decimal
// of up to 15 digits reads back as itself, so no other of so few is the same float: it is the
// shortest. Answers whether the number was such a one.
bool append_few_decimals(std::string& out, double magnitude) {
  constexpr double beyond = 1e15;
  std::int64_t power = 1;
  for (int decimals = 0; decimals <= 3; ++decimals, power *= 10) {
    const auto factor = static_cast<double>(power);
    if (magnitude * factor >= beyond) return false;
    const auto scaled = static_cast<std::int64_t>(magnitude * factor + 0.5);
    if (static_cast<double>(scaled) / factor != magnitude) continue;
    append_integer(out, Integer(scaled / power));
    std::array<char, 5> fraction = {'.', '0'};
    for (std::int64_t rest = scaled % power, i = decimals; i > 0; --i, rest /= 10) {
      fraction[static_cast<std::size_t>(i)] = static_cast<char>('0' + rest % 10);
    }
    out.append(fraction.data(), static_cast<std::size_t>(std::max(decimals, 1)) + 1);
    return true;
  }
  return false;
}

}  // namespace

// std::to_chars finds the shortest digits; where the point goes is decided here.
void append_float(std::string& out, double number) {
  if (std::isnan(number)) {
    out += "nan";
    return;
  }
  if (std::signbit(number)) out += '-';
  if (std::isinf(number)) {
    out += "inf";
    return;
  }
  const double magnitude = std::fabs(number);
  if (append_few_decimals(out, magnitude)) return;
  const bool is_plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
  std::array<char, 32> buffer;
  const auto written =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                    is_plain ? std::chars_format::fixed : std::chars_format::scientific);
  const std::string_view digits(buffer.data(), written.ptr);
  out += digits;
  if (is_plain && digits.find('.') == digits.npos) out += ".0";
}

}  // namespace tool_binding
