// The limit of a whole road. What it does not cover (integers beyond 64 bits, lists and objects
// within an argument's list, texts that need an escape in the answer) ends in an exception.

#include <simdjson.h>

#include <array>
#include <charconv>
#include <utility>
#include <vector>

#include "limit.hpp"
#include "roads.hpp"

namespace tool_binding::bench {
namespace {

namespace ondemand = simdjson::ondemand;

// Reading.

Value number_of(ondemand::value& json) {
  const ondemand::number number = json.get_number();
  if (number.is_int64()) return number.get_int64();
  if (number.is_double()) return number.get_double();
  throw NotCovered();
}

Value leaf_of(ondemand::value& json) {
  switch (json.type()) {
    case ondemand::json_type::string:
      return json.get_string().value();
    case ondemand::json_type::number:
      return number_of(json);
    case ondemand::json_type::boolean:
      return json.get_bool().value();
    case ondemand::json_type::null:
      return {};
    default:
      throw NotCovered();
  }
}

Value value_of(ondemand::value json) {
  if (json.type() != ondemand::json_type::array) return leaf_of(json);
  List items;
  for (ondemand::value item : json.get_array()) items.push_back(leaf_of(item));
  return Value(std::move(items));
}

// Writing.

void append_text(std::string& out, std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\') throw NotCovered();
  }
  out += '"';
  out += text;
  out += '"';
}

template <class Number>
void append_number(std::string& out, Number number) {
  std::array<char, 32> digits;
  out.append(digits.data(),
             std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

template <class Items, class Append>
void append_list(std::string& out, const Items& items, const Append& append) {
  out += '[';
  for (const auto& item : items) {
    if (out.back() != '[') out += ',';
    append(out, item);
  }
  out += ']';
}

void append_value(std::string& out, const Value& value) {
  if (value.is_text()) return append_text(out, value.get_text());
  if (value.is_none()) return void(out += "null");
  if (value.is_boolean()) return void(out += value.get_boolean() ? "true" : "false");
  if (value.is_int64()) return append_number(out, value.get_int64());
  if (value.is_float()) return append_number(out, value.get_float());
  if (!value.is_list()) throw NotCovered();
  append_list(out, value.get_list(), append_value);
}

void append_answer(std::string& out, const Answer& answer) {
  if (!answer.problems.empty()) {
    out += R"({"problems":)";
    append_text(out, answer.problems);
  } else {
    out += R"({"bound":)";
    char before = '{';
    for (const auto& entry : answer.bound) {
      out += std::exchange(before, ',');
      out += '"';
      out += entry.name();
      out += "\":";
      append_value(out, entry.value);
    }
    out += R"(},"notes":)";
    append_list(out, answer.notes, append_text);
  }
  out += '}';
}

class LimitRoad : public Road {
 public:
  explicit LimitRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    ondemand::document document = parser_.iterate(line_);
    ondemand::object request = document.get_object();
    const std::string_view tool = request.find_field("tool");
    fields_.clear();
    for (ondemand::field field : request.find_field("arguments").get_object()) {
      const std::string_view name = field.unescaped_key();
      fields_.push_back({name, value_of(field.value())});
    }
    const Answer answer = try_limit(tool, fields_);
    if (out == nullptr) return;
    out->clear();
    append_answer(*out, answer);
  }

 private:
  simdjson::padded_string line_;
  ondemand::parser parser_;
  std::vector<Field> fields_;
};

}  // namespace

std::unique_ptr<Road> limit_road(const std::string& line) {
  return std::make_unique<LimitRoad>(line);
}

}  // namespace tool_binding::bench
