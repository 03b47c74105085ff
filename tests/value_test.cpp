#include "tool_binding/value.hpp"  // first: the header stands alone

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "print_values.hpp"
#include "tool_binding/value_events.hpp"

namespace tool_binding {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::size_t depth = 1'000'000;

class Engine : public Object {
 public:
  Engine() : Object("Engine") {}
};

// What would compile and go wrong.
template <class T>
concept PointsIntoATemporary = requires(T value) {
  std::move(value).if_list();
}
|| requires(T value) { std::move(value).if_mapping(); }
|| requires(T value) { std::move(value).if_text(); }
|| requires(T value) { std::move(value).find("name"); }
|| requires(T value) { std::move(value).find_key(1); };
static_assert(!PointsIntoATemporary<Value> && !PointsIntoATemporary<Mapping>);
static_assert(!std::is_copy_assignable_v<Mapping::Entry> &&
              !std::is_move_assignable_v<Mapping::Entry>);
static_assert(!std::sortable<Mapping::iterator> && !std::permutable<Mapping::iterator>);
static_assert(!std::is_copy_constructible_v<ValueBuilder> &&
              !std::is_move_constructible_v<ValueBuilder>);
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
      {0.0001, "0.0001"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"},
      {-std::numeric_limits<double>::quiet_NaN(), "nan"},
      {"it's", "\"it's\""},
      {"it's \"x\"", "'it\\'s \"x\"'"},
      {"\\\t\n\r\x1b", "'\\\\\\t\\n\\r\\x1b'"},
      {"\x7f\u00a0\u00e9\u200b\u202e\U000e0001", "'\\x7f\\xa0\u00e9\\u200b\\u202e\\U000e0001'"},
      {"\x80\xed\xa0\x80", "'\\udc80\\ud800'"},  // a stray byte, a surrogate
      {List{1, "a", Value(), true, 2.0}, "[1, 'a', None, True, 2.0]"},
      {List{Value(List{}), Value(List{Value(List{1})}), Mapping{}}, "[[], [[1]], {}]"},
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
  const auto other_engine = std::make_shared<Engine>();
  const std::string long_text(100, 'x');
  const std::vector<Value> values = {
      Value(), true,         false,     1,       Value::integer_of("1" + std::string(30, '0')),
      1.0,     "1",          long_text, List{1}, Mapping{},
      engine,  other_engine, List{},    "",      0,
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
  EXPECT_THROW(static_cast<void>(Value::integer_of("1_0")), std::invalid_argument);
  EXPECT_THROW(Value(std::shared_ptr<Object>()), std::invalid_argument);
  EXPECT_NE(Value(infinity - infinity), Value(infinity - infinity));
  EXPECT_EQ(Value(0.0), Value(-0.0));
}

// Braces mean the same with every compiler: of one list, a copy of it.
TEST(List, TakesWhatItsBracesHold) {
  const List inner = {1, "a"};
  EXPECT_EQ(display_form(List{inner}), "[1, 'a']");
  EXPECT_EQ(display_form(List{List{1}}), "[1]");
  EXPECT_EQ(display_form(List{Value(inner), true}), "[[1, 'a'], True]");
  EXPECT_EQ(display_form(List(2)), "[None, None]");
  EXPECT_EQ(display_form(List(std::vector<Value>{2.0, 3})), "[2.0, 3]");
  static_assert(!std::is_constructible_v<List::Item, List> &&
                !std::is_constructible_v<List::Item, std::vector<Value>&>);
}

// What is read out of a temporary outlives it.
TEST(Value, GivesItsContentAwayWhenItIsGoing) {
  const auto made = [] { return Value(Mapping{{"ids", List{"a text that is not inline", 2}}}); };
  std::string seen;
  for (const auto& [name, ids] : made().as_mapping()) {
    for (const Value& id : Value(ids).as_list()) seen += std::string(name) + text_form(id) + ' ';
  }
  EXPECT_EQ(seen, "idsa text that is not inline ids2 ");
  const auto text = Value(Mapping{{"k", seen}}).as_mapping().at("k").as_text();
  EXPECT_EQ(text, seen);
  Value value = made();
  const Value* const item = value.get_mapping().at("ids").get_list().data();
  const Mapping moved = std::move(value).as_mapping();
  EXPECT_EQ(moved.at("ids").get_list().data(), item);
  EXPECT_THROW(static_cast<void>(Value(1).as_list()), TypeError);
}

TEST(Value, GivesAnObjectAsItsClass) {
  const auto engine = std::make_shared<Engine>();
  EXPECT_EQ(Value(engine).object_as<Engine>(), engine);
  EXPECT_EQ(Value(std::make_shared<Object>("other")).object_as<Engine>(), nullptr);
  EXPECT_EQ(Value("engine").object_as<Engine>(), nullptr);
}

#ifndef NDEBUG
TEST(ValueDeathTest, MisuseIsFoundInDebugBuilds) {
  const Value text = "a text that is not inline";
  const Value none;
  EXPECT_DEATH(static_cast<void>(text.get_list()), "is_list");
  EXPECT_DEATH(static_cast<void>(text.get_mapping()), "is_mapping");
  EXPECT_DEATH(static_cast<void>(text.get_object()), "is_object");
  EXPECT_DEATH(static_cast<void>(text.get_integer()), "is_integer");
  EXPECT_DEATH(static_cast<void>(text.get_int64()), "is_int64");
  EXPECT_DEATH(static_cast<void>(text.get_float()), "is_float");
  EXPECT_DEATH(static_cast<void>(text.get_boolean()), "is_boolean");
  EXPECT_DEATH(static_cast<void>(none.get_text()), "is_text");
  const auto build = [](auto... events) {
    ValueBuilder builder;
    (events(builder), ...);
  };
  const auto list = [](ValueBuilder& b) { b.begin_list(); };
  const auto end_list = [](ValueBuilder& b) { b.end_list(); };
  const auto mapping = [](ValueBuilder& b) { b.begin_mapping(); };
  const auto end_mapping = [](ValueBuilder& b) { b.end_mapping(); };
  const auto key = [](ValueBuilder& b) { b.key("k"); };
  const auto leaf = [](ValueBuilder& b) { b.leaf(1); };
  EXPECT_DEATH(build(end_list), "no list");
  EXPECT_DEATH(build(list, end_mapping), "no mapping");
  EXPECT_DEATH(build(mapping, end_list), "no list");
  EXPECT_DEATH(build(list, key), "belongs into a mapping");
  EXPECT_DEATH(build(mapping, leaf), "before its value");
  EXPECT_DEATH(build(mapping, key, leaf, leaf), "before its value");
  EXPECT_DEATH(build(mapping, key, key), "has no value yet");
  EXPECT_DEATH(build(mapping, key, end_mapping), "has no value");
  EXPECT_DEATH(build(leaf, leaf), "before take");
}
#endif

// Events that answer something are walked like those that do not.
TEST(VisitEvents, IgnoresWhatACallReturns) {
  struct Counting {
    bool begin_list(const List&) { return ++count != 0; }
    int end_list() { return ++count; }
    void begin_mapping(const Mapping&) { ++count; }
    void end_mapping() { ++count; }
    bool key(const Value&) { return false; }
    bool leaf(const Value&) { return ++count == 0; }
    int count = 0;
  };
  static_assert(ValueEvents<Counting> && ValueEvents<ValueBuilder> && !ValueEvents<int>);
  Counting events;
  const Mapping mapping{{"a", List{1, 2}}, {"b", 3}};
  visit_events(mapping, events);
  EXPECT_EQ(events.count, 7);
  ValueBuilder builder;
  visit_events(mapping, builder);
  EXPECT_EQ(builder.take(), Value(mapping));
}

TEST(Value, CopiesShareNothingAndMovesLeaveNone) {
  Value original = List{Value(List{"a text that is too long to stand inline"}), 2};
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
Value nested(std::size_t levels, const Value& leaf) {
  ValueBuilder builder;
  for (std::size_t i = 0; i < levels / 2; ++i) {
    builder.begin_mapping();
    builder.key("k");
    builder.begin_list();
  }
  builder.leaf(leaf);
  return builder.take();
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
  for (auto& [name, value] : Mapping{{"a", 1}}) EXPECT_EQ(name, "a");
  EXPECT_THROW(for (const auto& [name, value]
                    : mapping) EXPECT_NE(name, text_form(value)),
               TypeError);
  mapping.at("a") = List{mapping.erase("b"), mapping.erase("b")};
  std::ostringstream out;
  out << mapping << ' ' << mapping.at("a") << ' ' << mapping.at("a").as_list();
  EXPECT_EQ(out.str(), "{'a': [True, False], 7: 'seven'} [True, False] [True, False]");
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
      if (key.is_text() && random() % 16 == 0) {
        ASSERT_TRUE(mapping.erase(key.get_text()));
        plain.erase(std::find_if(plain.begin(), plain.end(), same));
        ASSERT_EQ(mapping.find_key(key), nullptr);
      }
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
