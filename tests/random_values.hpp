#ifndef TOOL_BINDING_TESTS_RANDOM_VALUES_HPP_
#define TOOL_BINDING_TESTS_RANDOM_VALUES_HPP_

// Seeded random values for tests, and how a failing test shows a value.

#include <bit>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

#include "tool_binding/value.hpp"

namespace tool_binding {

inline void PrintTo(const Value& value, std::ostream* out) { *out << display_form(value); }
inline void PrintTo(const Mapping& mapping, std::ostream* out) { *out << display_form(mapping); }

class RandomValues {
 public:
  explicit RandomValues(std::uint64_t seed) : bits_(seed) {}

  std::size_t below(std::size_t count) { return static_cast<std::size_t>(bits_() % count); }

  // Finite, with every exponent equally likely.
  double finite_float() {
    for (;;) {
      const double number = std::bit_cast<double>(bits_());
      if (std::isfinite(number)) return number;
    }
  }

  // As likely of one digit as of sixty.
  std::string decimal_integer() {
    std::string digits(below(60) + 1, '0');
    for (char& digit : digits) digit = static_cast<char>('0' + below(10));
    digits.front() = static_cast<char>('1' + below(9));
    return (below(2) == 0 ? "-" : "") + digits;
  }

  std::string text() {
    static constexpr std::string_view pieces[] = {
        "a",      "Z",      "\"",         "'",      "\\",
        "\n",     "\t",     "\x01",       "\u00e9", "\u00a0",
        "\u200b", "\u20ac", "\U0001f600", "{}[]",   "long enough to leave the value itself"};
    std::string made;
    for (std::size_t count = below(6); count > 0; --count) made += pieces[below(std::size(pieces))];
    return made;
  }

  // Of every kind that a data format holds; `depth` bounds the nesting.
  Value value(int depth = 4) {
    switch (below(depth > 0 ? 7 : 5)) {
      case 0:
        return Value();
      case 1:
        return below(2) == 0;
      case 2:
        return Value::integer_of(decimal_integer());
      case 3:
        return finite_float();
      case 4:
        return text();
      case 5: {
        List items;
        for (std::size_t count = below(5); count > 0; --count) items.push_back(value(depth - 1));
        return items;
      }
      default: {
        Mapping mapping;
        for (std::size_t count = below(24); count > 0; --count) {
          mapping.set(text(), value(depth - 2));
        }
        return mapping;
      }
    }
  }

 private:
  std::mt19937_64 bits_;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_RANDOM_VALUES_HPP_
