#include "tool_binding/nlohmann_json.hpp"

#include <gtest/gtest.h>

#include <memory>

#include "failing_memory.hpp"
#include "print_values.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

TEST(NlohmannJson, ConvertsBothWays) {
  for (const std::string_view text :
       {R"(null)", R"("a\nb")", R"([])", R"({})", R"([true,-7,2.5,[{}],"x"])",
        R"({"a":{"c":[1,2],"d":null},"b":[[],[3]]})", "-9223372036854775808", "9223372036854775808",
        "18446744073709551615"}) {
    const Value value = parse_json(text);
    EXPECT_EQ(json_from_value(value).dump(), text);
    EXPECT_EQ(json_from_value<json>(value).dump(), text);
    EXPECT_EQ(value_from_json(ordered_json::parse(text)), value);
    EXPECT_EQ(value_from_json(json::parse(text)), value);
  }
  Mapping odd;
  odd.set("1", "text");
  odd.set(1, List{Mapping{{"z", 1}, {"a", 2}}});
  odd.set(std::make_shared<Object>("Engine"), 2.5);
  EXPECT_EQ(json_from_value(odd).dump(), R"({"1":"text","1":[{"z":1,"a":2}],"<Engine>":2.5})");
  EXPECT_EQ(json_from_value<json>(odd).dump(), R"({"1":[{"a":2,"z":1}],"<Engine>":2.5})");
}

TEST(NlohmannJson, RefusesWhatTheOtherSideCannotHold) {
  for (const std::string_view digits : {"18446744073709551616", "-9223372036854775809"}) {
    EXPECT_THROW((void)json_from_value(List{Value(List(3)), Value::integer_of(digits)}),
                 std::overflow_error);
  }
  EXPECT_THROW((void)value_from_json(ordered_json::array({ordered_json::binary({1, 2})})),
               TypeError);
}

TEST(NlohmannJson, DepthAndWidthAreBoundedByMemoryAlone) {
  ValueBuilder builder;
  for (int i = 0; i < 200'000; ++i) {
    builder.begin_list();
    builder.begin_mapping();
    builder.key("a");
  }
  const Value nested = builder.take();
  EXPECT_EQ(value_from_json(json_from_value(nested)), nested);
  EXPECT_EQ(value_from_json(json_from_value<json>(nested)), nested);
  Mapping wide;
  for (int i = 0; i < 100'000; ++i) wide.set("name" + std::to_string(i), i);
  EXPECT_EQ(value_from_json(json_from_value(wide)), Value(wide));
}

// Of all allocations from one on: nlohmann's destructor would end the process here.
template <class Json>
void expect_bad_alloc(const Value& value) {
  const std::string expected = json_from_value<Json>(value).dump();
  for (std::size_t failing = 1;; ++failing) {
    memory = {.first_failing = failing, .last_failing = std::string::npos};
    try {
      const Json made = json_from_value<Json>(value);
      memory_lasts();
      EXPECT_EQ(made.dump(), expected);
      EXPECT_GT(failing, 20U);
      return;
    } catch (const std::bad_alloc&) {
      memory_lasts();
    }
  }
}

TEST(NlohmannJson, RunningOutOfMemoryIsAnException) {
  const std::string text(40, 'x');
  const Value value =
      parse_json(R"([[1, ["a", [{"b": [2, {"c": ")" + text +
                 R"("}], "d": []}]], {"e": {"f": null}}], [[[")" + text + R"("]]]])");
  expect_bad_alloc<ordered_json>(value);
  expect_bad_alloc<json>(value);
}

}  // namespace
}  // namespace tool_binding
