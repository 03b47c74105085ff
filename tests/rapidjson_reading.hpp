#ifndef TOOL_BINDING_TESTS_RAPIDJSON_READING_HPP_
#define TOOL_BINDING_TESTS_RAPIDJSON_READING_HPP_

// A second opinion on what is JSON and what it says: RapidJSON's.

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tool_binding/value_events.hpp"

namespace tool_binding {

class RapidjsonEvents : public rapidjson::BaseReaderHandler<> {
 public:
  [[nodiscard]] Value take() { return builder_.take(); }

  bool Null() { return leaf(Value()); }
  bool Bool(bool truth) { return leaf(truth); }
  bool RawNumber(const char* digits, rapidjson::SizeType size, bool) {
    const std::string number(digits, size);
    if (number.find_first_of(".eE") == number.npos) return leaf(Value::integer_of(number));
    const double nearest = std::strtod(number.c_str(), nullptr);
    return std::isfinite(nearest) && leaf(nearest);
  }
  bool String(const char* text, rapidjson::SizeType size, bool) {
    return !has_surrogate({text, size}) && leaf(std::string_view(text, size));
  }
  bool Key(const char* name, rapidjson::SizeType size, bool) {
    builder_.key(std::string_view(name, size));
    return !has_surrogate({name, size});
  }
  bool StartObject() {
    builder_.begin_mapping();
    return true;
  }
  bool EndObject(rapidjson::SizeType) {
    builder_.end_mapping();
    return true;
  }
  bool StartArray() {
    builder_.begin_list();
    return true;
  }
  bool EndArray(rapidjson::SizeType) {
    builder_.end_list();
    return true;
  }

 private:
  // As RapidJSON reads the escape of the second half of a pair that stands alone.
  static bool has_surrogate(std::string_view text) {
    const std::size_t found = text.find('\xed');
    if (found == text.npos) return false;
    return static_cast<unsigned char>(text[found + 1]) >= 0xA0 ||
           has_surrogate(text.substr(found + 1));
  }
  bool leaf(Value value) {
    builder_.leaf(std::move(value));
    return true;
  }

  ValueBuilder builder_;
};

struct RapidjsonReading {
  bool is_known;               // false for an exponent that RapidJSON finds too large to look at
  std::optional<Value> value;  // nothing for what is not JSON, and for a number beyond the floats
};

// RapidJSON takes a zero byte for the end of the text and no byte order mark, so those are answered
// for here.
inline RapidjsonReading rapidjson_reading(std::string_view text) {
  using namespace rapidjson;
  if (text.starts_with("\xef\xbb\xbf")) text.remove_prefix(3);
  if (text.empty() || text.find('\0') != text.npos) return {true, std::nullopt};
  MemoryStream stream(text.data(), text.size());
  RapidjsonEvents events;
  Reader reader;
  constexpr unsigned flags =
      kParseNumbersAsStringsFlag | kParseIterativeFlag | kParseValidateEncodingFlag;
  const ParseResult result = reader.Parse<flags>(stream, events);
  if (result.Code() == kParseErrorNumberTooBig) return {false, std::nullopt};
  if (result.IsError()) return {true, std::nullopt};
  return {true, events.take()};
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_RAPIDJSON_READING_HPP_
