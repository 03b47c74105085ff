#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "json/literal.hpp"
#include "json/plain_text.hpp"
#include "text/trim.hpp"
#include "tool_binding/json.hpp"
#include "unicode/utf8.hpp"
#include "value/mapping_access.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

enum class Dialect { json, literal };

// What encloses the values of a list or of an object.
enum class Bracket : std::size_t { square, curly, round };
constexpr char closers[] = {']', '}', ')'};

constexpr std::size_t kept_values = 1 << 15;  // and bytes of text: what a reader keeps
constexpr std::size_t kept_text = 1 << 18;

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
bool is_word_start(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool is_word_part(char c) noexcept { return is_word_start(c) || is_digit(c); }
bool is_number_part(char c) noexcept {
  return is_digit(c) || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E';
}
bool is_blank(char c) noexcept { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

bool is_high_surrogate(char32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool is_low_surrogate(char32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

template <class Predicate>
std::string_view run_of(const char* next, const char* end, const Predicate& belongs) {
  return {next, std::find_if_not(next, end, belongs)};
}

std::string shortened(std::string_view token) {
  constexpr std::size_t limit = 40;
  return std::string(token.substr(0, limit)) + (token.size() > limit ? "..." : "");
}

std::string hex_byte(char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto number = static_cast<unsigned char>(byte);
  return {'0', 'x', digits[number / 16], digits[number % 16]};
}

// What a message calls the text from here on.
std::string shown_token(const char* next, const char* end) {
  if (next == end) return "end of input";
  const auto belongs = [](char c) { return is_word_part(c) || is_number_part(c); };
  const std::string_view token = run_of(next, end, belongs);
  if (!token.empty()) return '\'' + shortened(token) + '\'';
  if (*next == '\'') return "\"'\"";
  const bool is_printable = *next > 0x20 && *next < 0x7F;
  if (!is_printable) return "byte " + hex_byte(*next);
  return {'\'', *next, '\''};
}

// Members whose names and values alternate.
Mapping members_of(Value* next, Value* end) {
  Mapping members;
  const auto count = static_cast<std::size_t>(end - next) / 2;
  members.reserve(count);
  for (; next != end; next += 2) {
    if (Value* present = MappingAccess::find(members, *next)) {
      *present = std::move(next[1]);
    } else {
      MappingAccess::append(members, std::move(next[0]), std::move(next[1]));
    }
  }
  if (members.size() >= count / 2) return members;
  Mapping compact;  // most were repeated: their room is given back
  compact.reserve(members.size());
  for (Mapping::Entry& entry : members) {
    MappingAccess::append(compact, entry.key(), std::move(entry.value));
  }
  return compact;
}

List list_of(Value* next, Value* end) {
  return {std::make_move_iterator(next), std::make_move_iterator(end)};
}

// Powers of ten that are floats exactly.
constexpr std::array<double, 23> powers_of_ten = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// magnitude * 10^exponent where both are floats exactly, so that one rounding is all there is.
std::optional<double> exact_decimal(std::uint64_t magnitude, std::int64_t exponent) noexcept {
  constexpr std::uint64_t largest = std::uint64_t{1} << std::numeric_limits<double>::digits;
  constexpr auto most = static_cast<std::int64_t>(powers_of_ten.size()) - 1;
  if (FLT_EVAL_METHOD != 0 || magnitude > largest) return std::nullopt;
  if (exponent < -most || exponent > most) return std::nullopt;
  const auto number = static_cast<double>(magnitude);
  const double power = powers_of_ten[static_cast<std::size_t>(std::abs(exponent))];
  return exponent < 0 ? number / power : number * power;
}

// Reads one text. A step answers whether it found what it was to read; after one that did not,
// reason() and byte() say why, for JSON.
//
// The values of all open lists and objects are in one stack, names and values alternating, so
// that each list and object is made once, of the size that it has.
template <Dialect dialect>
class Reading {
 public:
  Reading(std::string_view text, std::size_t deepest, JsonMemory_& memory) noexcept
      : start_(text.data()),
        next_(text.data()),
        end_(text.data() + text.size()),
        deepest_(deepest),
        values_(memory.values),
        open_(memory.open),
        text_(memory.text) {}

  // Precondition: the memory holds nothing. The value is then all that it holds.
  bool read() {
    if (std::string_view(next_, end_).starts_with("\xef\xbb\xbf")) next_ += 3;
    for (;;) {
      if (!begin_value()) return false;
      while (!awaits_value_) {
        skip_space();
        if (closer_ == '\0') return next_ == end_ || fail("end of input");
        if (!go_on()) return false;
      }
    }
  }

  [[nodiscard]] std::size_t depth() const noexcept { return depth_; }
  [[nodiscard]] const std::string& reason() const noexcept { return reason_; }
  [[nodiscard]] std::size_t byte() const noexcept {
    return static_cast<std::size_t>(wrong_ - start_) + 1;
  }

 private:
  static constexpr bool is_literal = dialect == Dialect::literal;

  // Reads a leaf, or opens a list or an object up to its first value.
  bool begin_value() {
    skip_space();
    const char first = next_ == end_ ? '\0' : *next_;
    if (first == '"' || (is_literal && first == '\'')) {
      awaits_value_ = false;
      return read_string(first);
    }
    if (first == '{') return open(Bracket::curly);
    if (first == '[') return open(Bracket::square);
    if (is_literal && first == '(') return open(Bracket::round);
    awaits_value_ = false;
    return first == '-' || is_digit(first) ? read_number() : read_word();
  }

  bool open(Bracket bracket) {
    open_.push_back(values_.size() << 2 | static_cast<std::size_t>(bracket));
    if (open_.size() > depth_) {
      depth_ = open_.size();
      if (depth_ > deepest_) {
        return fail_because(next_, "nested deeper than " + std::to_string(deepest_));
      }
    }
    ++next_;
    closer_ = closers[static_cast<std::size_t>(bracket)];
    skip_space();
    if (is_at(closer_)) return close();
    awaits_value_ = true;
    return bracket != Bracket::curly || read_key();
  }

  // Behind a value: its container's end, or what leads to the next value.
  bool go_on() {
    if (is_at(closer_)) return close();
    if (!is_at(',')) return fail(closer_ == '}' ? "',' or '}'" : "',' or ']'");
    ++next_;
    if constexpr (is_literal) {
      skip_space();
      if (is_at(closer_)) return close();
    }
    awaits_value_ = true;
    return closer_ != '}' || read_key();
  }

  bool close() {
    const std::size_t count = open_.back() >> 2;
    Value* const first = values_.data() + count;
    Value* const last = values_.data() + values_.size();
    Value container = closer_ == '}' ? Value(members_of(first, last)) : Value(list_of(first, last));
    values_.resize(count);
    values_.push_back(std::move(container));
    open_.pop_back();
    closer_ = open_.empty() ? '\0' : closers[open_.back() & 3];
    ++next_;
    awaits_value_ = false;
    return true;
  }

  bool read_key() {
    skip_space();
    if (is_at('"') || (is_literal && is_at('\''))) {
      if (!read_string(*next_)) return false;
    } else if (!is_literal || !read_bare_key()) {
      return fail("a string in double quotes");
    }
    skip_space();
    if (!is_at(':')) return fail("':'");
    ++next_;
    return true;
  }

  bool read_bare_key() {
    const char* const start = next_;
    if (next_ == end_) return false;
    if (is_word_start(*next_)) {
      next_ += run_of(next_, end_, is_word_part).size();
    } else if (Number number; !scan_number(number)) {
      return false;
    }
    values_.emplace_back(std::string_view(start, next_));
    return true;
  }

  bool read_word() {
    if (skip_word("null")) return add(Value());
    if (skip_word("true")) return add(true);
    if (skip_word("false")) return add(false);
    if constexpr (is_literal) {
      if (skip_word("None")) return add(Value());
      if (skip_word("True")) return add(true);
      if (skip_word("False")) return add(false);
    }
    return fail("a value");
  }

  struct Number {
    bool is_negative = false;
    bool is_float = false;
    std::size_t digits = 0;
    std::uint64_t magnitude = 0;  // of all digits; wrong when there are more than 19
    std::int64_t exponent = 0;    // of ten, that the magnitude is to be multiplied by
  };

  bool read_number() {
    const char* const start = next_;
    Number number;
    if (!scan_number(number)) {
      return fail_because(start,
                          "malformed number " + shortened(run_of(start, end_, is_number_part)));
    }
    const std::string_view token(start, next_);
    if (number.is_float) return add_float(number, token);
    if (number.digits > 18) return add(Value::integer_of(token));
    const auto magnitude = static_cast<std::int64_t>(number.magnitude);
    return add(number.is_negative ? -magnitude : magnitude);
  }

  // By JSON's grammar. Precondition: not at the end.
  bool scan_number(Number& number) noexcept {
    number.is_negative = *next_ == '-';
    if (number.is_negative) ++next_;
    const bool leads_with_zero = is_at('0');
    number.digits = scan_digits(number.magnitude);
    if (number.digits == 0 || (leads_with_zero && number.digits > 1)) return false;
    if (next_ == end_ || !is_number_part(*next_)) return true;
    number.is_float = true;
    if (is_at('.')) {
      ++next_;
      const std::size_t digits = scan_digits(number.magnitude);
      if (digits == 0) return false;
      number.digits += digits;
      number.exponent = -static_cast<std::int64_t>(digits);
    }
    if ((is_at('e') || is_at('E')) && !scan_exponent(number)) return false;
    return next_ == end_ || !is_number_part(*next_);
  }

  bool scan_exponent(Number& number) noexcept {
    ++next_;
    const bool is_negative = is_at('-');
    if (is_negative || is_at('+')) ++next_;
    std::uint64_t magnitude = 0;
    const std::size_t digits = scan_digits(magnitude);
    const auto exponent = static_cast<std::int64_t>(digits > 9 ? 999'999'999 : magnitude);
    number.exponent += is_negative ? -exponent : exponent;
    return digits > 0;
  }

  std::size_t scan_digits(std::uint64_t& magnitude) noexcept {
    const char* const start = next_;
    for (; next_ != end_ && is_digit(*next_); ++next_) {
      magnitude = magnitude * 10 + static_cast<std::uint64_t>(*next_ - '0');
    }
    return static_cast<std::size_t>(next_ - start);
  }

  bool add_float(const Number& number, std::string_view token) {
    if (number.digits <= 19) {
      if (const auto exact = exact_decimal(number.magnitude, number.exponent)) {
        return add(number.is_negative ? -*exact : *exact);
      }
    }
    const double nearest = read_float(token).value();
    if (is_literal || std::isfinite(nearest)) return add(nearest);
    return fail_because(token.data(),
                        "the number " + shortened(token) + " is beyond the range of floats");
  }

  // A string is taken from the text itself, unless an escape makes it different.
  bool read_string(char quote) {
    const char* run = ++next_;
    text_.clear();
    for (;;) {
      next_ = end_of_plain(next_, end_, quote);
      if (next_ == end_) return fail_because(end_, "invalid string: missing closing quote");
      if (*next_ == quote) break;
      if (*next_ == '\\') {
        text_.append(run, next_);
        if (!read_escape()) return false;
        run = next_;
      } else if (!skip_characters()) {
        return false;
      }
    }
    if (text_.empty()) {
      values_.emplace_back(std::string_view(run, next_));
    } else {
      values_.emplace_back(text_.append(run, next_));
    }
    ++next_;
    return true;
  }

  // One character or more beyond ASCII.
  bool skip_characters() {
    if (static_cast<unsigned char>(*next_) < 0x20) {
      return fail_because(
          next_, "invalid string: control character " + hex_byte(*next_) + " must be escaped");
    }
    while (next_ != end_ && static_cast<unsigned char>(*next_) >= 0x80) {
      const CodePoint head = first_code_point({next_, end_});
      if (head.value >= 0xD800 && head.value <= 0xDFFF) {
        return fail_because(next_, "invalid string: ill-formed UTF-8 byte " + hex_byte(*next_));
      }
      next_ += head.size;
    }
    return true;
  }

  // Precondition: at a backslash.
  bool read_escape() {
    constexpr std::string_view letters = is_literal ? "\"\\/bfnrt'av" : "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t'\a\v";
    const char* const start = next_++;
    const char letter = next_ == end_ ? '\0' : *next_++;
    if (const std::size_t found = letters.find(letter); found != letters.npos) {
      text_ += meanings[found];
      return true;
    }
    if (letter == 'u') return read_unicode_escape(start);
    if constexpr (is_literal) {
      char32_t code_point = 0;
      if (letter != 'x' && letter != 'U') return false;
      if (!read_hex(letter == 'x' ? 2 : 8, code_point) || code_point > 0x10FFFF ||
          is_high_surrogate(code_point) || is_low_surrogate(code_point)) {
        return false;
      }
      append_utf8(text_, code_point);
      return true;
    }
    return fail_because(start,
                        "invalid string: no such escape; expected one of \\\" \\\\ \\/ \\b "
                        "\\f \\n \\r \\t \\u");
  }

  // Behind the letter of an escape that starts there.
  bool read_unicode_escape(const char* start) {
    char32_t unit = 0;
    if (!read_hex(4, unit)) return fail_because(start, "invalid string: \\u needs four hex digits");
    if (is_low_surrogate(unit)) {
      return fail_because(start,
                          "invalid string: surrogate U+DC00..U+DFFF must follow U+D800..U+DBFF");
    }
    if (is_high_surrogate(unit)) {
      const char* const second = next_;
      char32_t low = 0;
      if (!skip_word("\\u") || !read_hex(4, low) || !is_low_surrogate(low)) {
        return fail_because(
            second, "invalid string: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF");
      }
      unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    append_utf8(text_, unit);
    return true;
  }

  bool read_hex(std::ptrdiff_t digits, char32_t& number) noexcept {
    constexpr std::string_view all = "0123456789abcdef0123456789ABCDEF";
    if (end_ - next_ < digits) return false;
    number = 0;
    for (; digits > 0; --digits) {
      const std::size_t digit = all.find(*next_);
      if (digit == all.npos) return false;
      number = number * 16 + static_cast<char32_t>(digit % 16);
      ++next_;
    }
    return true;
  }

  template <class Content>
  bool add(Content content) {
    values_.emplace_back(content);
    return true;
  }

  [[nodiscard]] bool is_at(char c) const noexcept { return next_ != end_ && *next_ == c; }
  void skip_space() noexcept {
    while (next_ != end_ && is_blank(*next_)) ++next_;
  }
  bool skip_word(std::string_view word) noexcept {
    const bool found = std::string_view(next_, end_).starts_with(word);
    if (found) next_ += word.size();
    return found;
  }

  [[gnu::cold]] bool fail(std::string_view expected) {
    if (is_literal) return false;
    return fail_because(
        next_, "unexpected " + shown_token(next_, end_) + "; expected " + std::string(expected));
  }
  [[gnu::cold]] bool fail_because(const char* where, std::string reason) {
    wrong_ = where;
    reason_ = std::move(reason);
    return false;
  }

  const char* const start_;
  const char* next_;
  const char* const end_;
  const std::size_t deepest_;
  std::vector<Value>& values_;
  std::vector<std::size_t>& open_;  // where its values begin, times four, and its bracket
  std::string& text_;
  std::size_t depth_ = 0;
  char closer_ = '\0';  // of the innermost one that is open
  bool awaits_value_ = true;
  const char* wrong_ = nullptr;
  std::string reason_;
};

// What memory a text leaves behind is cleared, and given back if it is much.
void clear(JsonMemory_& memory) noexcept {
  memory.values.clear();
  memory.open.clear();
  if (memory.values.capacity() > kept_values) std::vector<Value>().swap(memory.values);
  if (memory.open.capacity() > kept_values) std::vector<std::size_t>().swap(memory.open);
  if (memory.text.capacity() > kept_text) std::string().swap(memory.text);
}

}  // namespace

JsonError::JsonError(const std::string& reason, std::size_t byte)
    : std::invalid_argument("invalid JSON at byte " + std::to_string(byte) + ": " + reason),
      byte_(byte) {}
JsonError::~JsonError() = default;

Value JsonReader::read(std::string_view text) {
  if (limits_.bytes != 0 && text.size() > limits_.bytes) {
    throw JsonError("longer than " + std::to_string(limits_.bytes) + " bytes", limits_.bytes + 1);
  }
  struct Cleared {
    JsonMemory_& memory;
    ~Cleared() { clear(memory); }
  } cleared{memory_};
  const std::size_t deepest = limits_.depth != 0 ? limits_.depth : text.size();
  Reading<Dialect::json> reading(text, deepest, memory_);
  if (!reading.read()) throw JsonError(reading.reason(), reading.byte());
  return std::move(memory_.values.back());
}

Value parse_json(std::string_view text, JsonLimits limits) { return JsonReader(limits).read(text); }

std::optional<Value> read_literal(std::string_view text) {
  text = trimmed(text);
  if (!text.starts_with('[') && !text.starts_with('{')) return std::nullopt;
  JsonMemory_ memory;
  Reading<Dialect::literal> reading(text, text.size(), memory);
  if (!reading.read()) return std::nullopt;
  if (reading.depth() > deepest_literal) {
    throw std::invalid_argument("nested deeper than " + std::to_string(deepest_literal));
  }
  return std::move(memory.values.back());
}

}  // namespace tool_binding
