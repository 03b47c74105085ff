// What a client sends arrives, as a value or as text, through JSON, admission and binding.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "print_values.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding {
namespace {

class Random {
 public:
  explicit Random(std::uint64_t seed) : bits_(seed) {}

  std::size_t below(std::size_t count) { return static_cast<std::size_t>(bits_() % count); }

  template <std::size_t N>
  std::string text_of(const std::string_view (&pieces)[N]) {
    std::string text;
    while (below(8) != 0) text += pieces[below(N)];
    return text;
  }

  // As likely of one digit as of sixty.
  std::string integer() {
    std::string digits = below(2) == 0 ? "-" : "";
    digits += static_cast<char>('1' + below(9));
    for (std::size_t more = below(60); more > 0; --more) {
      digits += static_cast<char>('0' + below(10));
    }
    return digits;
  }

  double number() {
    const double number = std::bit_cast<double>(bits_());
    return std::isfinite(number) ? number : 0.5;
  }

  // The digits of a decimal number in some script, between white space.
  std::string spelled(const std::string& number) {
    static constexpr std::string_view zeros[] = {"0", "\u0660", "\u0966", "\uff10", "\U0001d7ce"};
    const std::string_view zero = zeros[below(std::size(zeros))];
    std::string text = below(2) == 0 ? "" : "\u3000\x1c";
    for (const char c : number) {
      const bool is_digit = c >= '0' && c <= '9';
      text += is_digit ? zero : std::string_view(&c, 1);
      if (is_digit) text.back() = static_cast<char>(text.back() + c - '0');
    }
    return text + (below(2) == 0 ? "" : "\u2028\n");
  }

 private:
  std::mt19937_64 bits_;
};

TEST(RoundTrip, ValuesAndTheirTextsComeOutAsTheyCameIn) {
  const ToolSpec tool({.name = "t",
                       .params = {{.name = "i", .type = "integer"},
                                  {.name = "f", .type = "number"},
                                  {.name = "b", .type = "boolean"},
                                  {.name = "s", .blank_is_value = true},
                                  {.name = "l", .type = "array"},
                                  {.name = "e", .enum_ = {"Fast", "\u039f\u03a3"}}}});
  const auto served = [&tool](const Mapping& request) {
    const std::string json = json_text(request);
    const NormalizedArguments admitted = normalize_arguments(tool, parse_json(json).as_mapping());
    EXPECT_TRUE(admitted.notes().empty());
    return json_text(bind_arguments(tool, admitted.arguments()));
  };
  constexpr std::string_view pieces[] = {"a", "'", "\"", "\\", ",", "\n", " ", "[", "\u20ac\u202e"};
  Random random(5);
  for (int round = 0; round < 5'000; ++round) {
    const std::string integer = random.integer();
    const Value number = random.number();
    const bool truth = random.below(2) == 0;
    const bool fast = random.below(2) == 0;
    const std::string text = random.text_of(pieces);
    List list = {Value::integer_of(integer), number, truth, Value(), Mapping{{text, List{text}}}};
    list.resize(random.below(6));
    const Mapping sent{
        {"i", Value::integer_of(integer)},    {"f", number}, {"b", truth}, {"s", text}, {"l", list},
        {"e", fast ? "Fast" : "\u039f\u03a3"}};
    ASSERT_EQ(served(sent), json_text(sent));
    const Mapping as_text{{"i", random.spelled(integer)},
                          {"f", random.spelled(text_form(number))},
                          {"b", truth ? " YES\n" : "oFF\u00a0"},
                          {"s", text},
                          {"l", json_text(list)},
                          {"e", fast ? "\u3000fAST" : "\u03bf\u03c2\x1f"}};
    ASSERT_EQ(served(as_text), json_text(sent));
  }
}

}  // namespace
}  // namespace tool_binding
