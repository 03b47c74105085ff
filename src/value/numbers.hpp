#ifndef TOOL_BINDING_SRC_VALUE_NUMBERS_HPP_
#define TOOL_BINDING_SRC_VALUE_NUMBERS_HPP_

// What the library does with numbers: reading them from text, comparing integers and floats of any
// size exactly, converting between them, and writing them. No arithmetic beyond that.
//
// Pure functions, linear in the digits, independent of the locale.

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "tool_binding/value.hpp"

namespace tool_binding {

// The integer that a text reads as: white space around it, an optional sign, decimal digits of any
// script, single underscores between digits. Nothing for any other text.
[[nodiscard]] std::optional<Value> read_integer(std::string_view text);

// The float nearest to the decimal that a text reads as (2, 2., .5, 1e3, inf, nan, signed; digits
// as for integers), an infinity beyond the range of floats. Nothing for any other text.
[[nodiscard]] std::optional<double> read_float(std::string_view text);

// Orders two numbers, integer or float, by their exact values; NaN is unordered.
// Throws TypeError when one of them is not a number.
[[nodiscard]] std::partial_ordering compare_numbers(const Value& left, const Value& right);

// A number, integer or float, as an integer: what a float has before its point. Throws
// std::overflow_error for an infinity and NaN, TypeError for a value that is not a number.
[[nodiscard]] Value to_integer(const Value& number);

// A number as the nearest float, ties to even. Throws std::overflow_error for an integer that is
// too large for every float, TypeError for a value that is not a number.
[[nodiscard]] double to_float(const Value& number);

// Whether a float is a whole number; false for an infinity and NaN.
[[nodiscard]] bool is_whole(double number) noexcept;

// Appends a number as display_form shows it.
void append_integer(std::string& out, const Integer& integer);
void append_float(std::string& out, double number);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_VALUE_NUMBERS_HPP_
