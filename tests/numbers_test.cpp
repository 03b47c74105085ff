#include "value/numbers.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <compare>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "print_values.hpp"

namespace tool_binding {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::string printed(const char* format, int digits, double number) {
  char text[400];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, digits, number))};
}

// By the C library: the fewest digits that read back, where up to 15 always do but for zeros.
std::string plainly_shown(double number) {
  int digits = std::isnormal(number) ? 15 : 1;
  std::string shown;
  do shown = printed("%.*e", digits++ - 1, number);
  while (std::strtod(shown.c_str(), nullptr) != number);
  const std::size_t mark = shown.find('e');
  const int exponent = std::stoi(shown.substr(mark + 1));
  std::string mantissa = shown.substr(0, shown.find_last_not_of('0', mark - 1) + 1);
  const auto decimals = static_cast<int>(mantissa.size() - mantissa.find('.') - 1);
  if (exponent >= -4 && exponent < 16) {
    return printed("%.*f", std::max(decimals - exponent, 1), number);
  }
  if (decimals == 0) mantissa.pop_back();
  return mantissa + shown.substr(mark);
}

TEST(Numbers, AreReadAndShownAsTheCLibraryDoes) {
  std::mt19937_64 random(3);
  const auto bits = [](double number) { return std::bit_cast<std::uint64_t>(number); };
  for (int i = 0; i < 200'000; ++i) {
    double number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    if (i % 4 == 0) {  // mostly among those that are shown without an exponent
      int exponent = 0;
      number = std::ldexp(std::frexp(number, &exponent), static_cast<int>(random() % 80) - 20);
    } else if (i % 4 == 1) {  // few decimals, and floats next to such ones
      number = static_cast<double>(random() >> (random() % 64)) / std::pow(10, random() % 6);
      for (auto steps = random() % 3; steps > 0; --steps) number = std::nextafter(number, 0);
    }
    const std::string shown = display_form(number);
    ASSERT_EQ(shown, plainly_shown(number));
    ASSERT_EQ(bits(read_float(shown).value()), bits(number)) << shown;
    const std::string longer = printed("%.*e", static_cast<int>(random() % 30), number);
    ASSERT_EQ(bits(read_float(longer).value()), bits(std::strtod(longer.c_str(), nullptr)))
        << longer;
  }
}

// In order: each number is less than every later one, whatever their kinds.
TEST(CompareNumbers, OrdersIntegersAndFloatsExactly) {
  const auto big = [](std::string_view digits) { return Value::integer_of(digits); };
  const std::vector<Value> ascending = {
      -infinity,
      big("-1" + std::string(400, '0')),
      -1e300,
      big("-9223372036854775809"),
      -9223372036854775808.0,
      std::numeric_limits<std::int64_t>::min() + 1,
      -1.5,
      -1,
      -0.5,
      0,
      5e-324,
      0.5,
      1,
      9007199254740992.0,  // 2^53
      9007199254740993,    // no float
      9007199254740994.0,
      9223372036854774784.0,  // the last float below 2^63
      std::numeric_limits<std::int64_t>::max(),
      9223372036854775808.0,  // 2^63
      big("9223372036854775809"),
      big("18446744073709551616"),
      1e22,
      big("10000000000000000000001"),
      big("1" + std::string(308, '0')),  // 1e308 is a little more
      1e308,
      big("1" + std::string(309, '0')),
      infinity,
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_TRUE(compare_numbers(ascending[i], ascending[j]) == (i <=> j))
          << display_form(ascending[i]) << " and " << display_form(ascending[j]);
    }
    EXPECT_EQ(compare_numbers(ascending[i], std::nan("")), std::partial_ordering::unordered);
  }
  EXPECT_EQ(compare_numbers(1, 1.0), std::partial_ordering::equivalent);
  EXPECT_EQ(compare_numbers(big("18446744073709551616"), 18446744073709551616.0),
            std::partial_ordering::equivalent);
  EXPECT_THROW(static_cast<void>(compare_numbers(1, "1")), TypeError);
  EXPECT_THROW(static_cast<void>(compare_numbers(true, 1.0)), TypeError);
}

// A number that is too small for every float is zero, wherever its first digit is.
TEST(Numbers, ThatAreTooSmallReadAsZero) {
  const std::string zeros(400, '0');
  EXPECT_EQ(read_float("0." + zeros + "1"), 0.0);
  EXPECT_EQ(read_float("1" + zeros + "e-900"), 0.0);
  EXPECT_EQ(read_float("0." + zeros + "1e900"), infinity);
}

TEST(Numbers, ConvertExactlyOrNotAtAll) {
  EXPECT_EQ(display_form(to_integer(-2.5)), "-2");
  EXPECT_EQ(display_form(to_integer(1e22)), "10000000000000000000000");
  EXPECT_EQ(to_integer(-9223372036854775808.0), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(display_form(to_integer(9223372036854775808.0)), "9223372036854775808");
  EXPECT_EQ(to_integer(std::numeric_limits<double>::max()).get_integer().digits().size(), 309u);
  EXPECT_EQ(to_float(9007199254740993), 9007199254740992.0);
  EXPECT_EQ(to_float(Value::integer_of("-9223372036854775809")), -9223372036854775808.0);
  // Half-way to the float that there is not.
  const std::string limit = display_form(to_integer(std::numeric_limits<double>::max()));
  EXPECT_EQ(to_float(Value::integer_of(limit)), std::numeric_limits<double>::max());
  EXPECT_THROW(static_cast<void>(to_float(Value::integer_of("1" + std::string(309, '0')))),
               std::overflow_error);
  for (const double none : {infinity, -infinity, std::nan("")}) {
    EXPECT_THROW(static_cast<void>(to_integer(none)), std::overflow_error);
    EXPECT_FALSE(is_whole(none));
  }
}

}  // namespace
}  // namespace tool_binding
