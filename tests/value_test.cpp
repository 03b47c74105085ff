#include "tool_binding/value.hpp"  // first: the header stands alone

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "print_values.hpp"

namespace tool_binding {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::size_t depth = 1'000'000;

class Engine : public Object {
 public:
  Engine() : Object("Engine") {}
};

static_assert(sizeof(Value) == 16);
static_assert(!std::is_constructible_v<Value, int*> && !std::is_constructible_v<Value, char> &&
              !std::is_constructible_v<Value, std::nullptr_t>);
static_assert(std::is_nothrow_move_constructible_v<Value> &&
              std::is_nothrow_move_assignable_v<Value>);

TEST(DisplayForm, ShowsEveryKind) {
  const struct {
    Value value;
    std::string_view shown;
  } cases[] = {
      {Value(), "None"},
      {true, "True"},
      {std::numeric_limits<std::uint64_t>::max(), "18446744073709551615"},
      {Value::integer_of("-000123456789012345678901234567890"), "-123456789012345678901234567890"},
      {Value::integer_of("-0"), "0"},
      {-0.0, "-0.0"},
      {1e16, "1e+16"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"},
      {-std::numeric_limits<double>::quiet_NaN(), "nan"},
      {"it's", "\"it's\""},
      {"it's \"x\"", "'it\\'s \"x\"'"},
      {"\\\t\n\r\x1b", "'\\\\\\t\\n\\r\\x1b'"},
      {"\x7f\u00a0\u00e9\u200b\u202e\U000e0001", "'\\x7f\\xa0\u00e9\\u200b\\u202e\\U000e0001'"},
      {"\x80\xed\xa0\x80", "'\\udc80\\ud800'"},  // a stray byte, a surrogate
      {List{1, "a", Value(), true, 2.0}, "[1, 'a', None, True, 2.0]"},
      {List{List{}, List{List{1}}, Mapping{}}, "[[], [[1]], {}]"},
      {Mapping{{"a", 1}, {"b", Mapping{{"c", List{}}}}}, "{'a': 1, 'b': {'c': []}}"},
      {std::make_shared<Engine>(), "<Engine>"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(display_form(c.value), c.shown);
    EXPECT_EQ(text_form(c.value), c.value.is_text() ? c.value.get_text() : c.shown);
  }
  EXPECT_EQ(unicode_version(), "15.0.0");
}

// Every pair of kinds: accessors answer for their own kind alone, and only like values are equal.
TEST(Value, KindsKeepApart) {
  const auto engine = std::make_shared<Engine>();
  const std::string long_text(100, 'x');
  const std::vector<Value> values = {Value(),
                                     true,
                                     false,
                                     1,
                                     Value::integer_of("1" + std::string(30, '0')),
                                     1.0,
                                     "1",
                                     long_text,
                                     List{1},
                                     Mapping{},
                                     std::shared_ptr<Object>(engine),
                                     List{},
                                     "",
                                     0,
                                     0.0};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Value& value = values[i];
    SCOPED_TRACE(display_form(value));
    EXPECT_EQ(value.if_boolean().has_value(), value.kind() == Kind::boolean);
    EXPECT_EQ(value.if_integer().has_value(), value.kind() == Kind::integer);
    EXPECT_EQ(value.if_float().has_value(), value.kind() == Kind::float_);
    EXPECT_EQ(value.if_text().has_value(), value.kind() == Kind::text);
    EXPECT_EQ(value.if_list() != nullptr, value.kind() == Kind::list);
    EXPECT_EQ(value.if_mapping() != nullptr, value.kind() == Kind::mapping);
    EXPECT_EQ(value.if_object() != nullptr, value.kind() == Kind::object);
    if (!value.is_text()) {
      EXPECT_THROW(static_cast<void>(value.as_text()), TypeError);
    }
    for (std::size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(value == values[j], i == j) << display_form(values[j]);
      Value copy = values[j];
      copy = value;  // whatever it held before
      EXPECT_EQ(copy, value);
    }
  }
  EXPECT_EQ(Value(values[4].get_integer()), values[4]);
  EXPECT_THROW(static_cast<void>(values[4].as_int64()), std::overflow_error);
  EXPECT_THROW(Value::integer_of("1_0"), std::invalid_argument);
  EXPECT_THROW(Value(std::shared_ptr<Object>()), std::invalid_argument);
  EXPECT_NE(Value(infinity - infinity), Value(infinity - infinity));
  EXPECT_EQ(Value(0.0), Value(-0.0));
}

TEST(Value, CopiesShareNothingAndMovesLeaveNone) {
  Value original = List{List{"a text that is too long to stand inline"}, 2};
  Value copy = original;
  copy.as_list()[0].as_list()[0] = "changed";
  EXPECT_EQ(original.as_list()[0].as_list()[0], "a text that is too long to stand inline");
  const Value moved = std::move(copy);
  EXPECT_EQ(copy, Value());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved.as_list()[0].as_list()[0], "changed");
  original = original.as_list()[0];  // a part replaces the whole
  EXPECT_EQ(original, List{"a text that is too long to stand inline"});
  original = std::move(original.as_list()[0]);
  EXPECT_EQ(original, "a text that is too long to stand inline");
}

TEST(Mapping, MayBeReplacedByAPartOfItself) {
  Mapping whole{{"a", Mapping{{"b", Mapping{{"c", 1}}}}}};
  whole = whole.at("a").as_mapping();
  whole = std::move(whole.find("b")->as_mapping());
  EXPECT_EQ(whole, (Mapping{{"c", 1}}));
}

// A list in a mapping in a list ..., the innermost value a leaf.
Value nested(std::size_t levels, Value leaf) {
  for (std::size_t i = 0; i < levels; ++i) {
    if (i % 2 == 0) {
      List list;
      list.push_back(std::move(leaf));
      leaf = std::move(list);
    } else {
      Mapping mapping;
      mapping.set("k", std::move(leaf));
      leaf = std::move(mapping);
    }
  }
  return leaf;
}

TEST(Value, NestsAMillionDeep) {
  const Value value = nested(depth, 1);
  const Value copy = value;
  EXPECT_TRUE(copy == value);
  EXPECT_FALSE(copy == nested(depth, 2));
  const std::string shown = display_form(copy);
  EXPECT_EQ(shown.size(), depth + depth / 2 * std::string_view("'k': ").size() + depth + 1);
  EXPECT_TRUE(shown.starts_with("{'k': [{'k': ["));
  EXPECT_TRUE(shown.ends_with("]}]}"));
}

TEST(Mapping, KeepsFirstPositionsAndLaterValues) {
  Mapping mapping{{"b", 1}, {"a", 2}, {"b", 3}};
  mapping.set("a", 4);
  mapping.set(7, "seven");
  EXPECT_EQ(display_form(mapping), "{'b': 3, 'a': 4, 7: 'seven'}");
  EXPECT_EQ(*mapping.find_key(7), "seven");
  EXPECT_EQ(mapping.find("7"), nullptr);
  EXPECT_THROW(static_cast<void>(mapping.at("c")), std::out_of_range);
  EXPECT_THROW(mapping.set(List{}, 1), TypeError);
  EXPECT_NE((Mapping{{"a", 1}, {"b", 2}}), (Mapping{{"b", 2}, {"a", 1}}));
}

// Against a plain list of pairs, across the size from which an index is kept.
TEST(Mapping, AgreesWithAScan) {
  std::mt19937 random(1);
  for (const std::size_t names : {3u, 16u, 17u, 40u, 400u}) {
    Mapping mapping;
    if (names == 40) mapping.reserve(names);  // indexed from the first name on
    std::vector<std::pair<Value, int>> plain;
    for (int i = 0; i < 2000; ++i) {
      const Value key =
          random() % 8 == 0
              ? Value(random() % names)
              : Value(std::string(random() % 24, 'n') + std::to_string(random() % names));
      const auto same = [&key](const auto& entry) { return entry.first == key; };
      const auto found = std::find_if(plain.begin(), plain.end(), same);
      const Value* before = mapping.find_key(key);
      ASSERT_EQ(before != nullptr, found != plain.end());
      if (found == plain.end()) {
        plain.emplace_back(key, i);
      } else {
        ASSERT_EQ(*before, found->second);
        found->second = i;
      }
      mapping.set(key, i);
    }
    const Mapping copy = Value(mapping).as_mapping();
    ASSERT_EQ(copy.size(), plain.size());
    auto entry = copy.begin();
    for (const auto& [key, value] : plain) {
      ASSERT_EQ(entry->key(), key);
      ASSERT_EQ(*copy.find_key(key), value);
      ++entry;
    }
  }
}

}  // namespace
}  // namespace tool_binding
