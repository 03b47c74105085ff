#ifndef TOOL_BINDING_JSON_HPP_
#define TOOL_BINDING_JSON_HPP_

// JSON text (RFC 8259) to values and back.
//
//   parse_json(R"({"limit": 5, "paths": [1e2]})") == Mapping{{"limit", 5}, {"paths", List{100.0}}}
//   json_text(Mapping{{"limit", 5}}) == R"({"limit": 5})"
//
// Integers of any size, the order of members and nesting of any depth survive in both directions.
// Reading and writing take linear time and do not recurse, whatever the text holds. No locale.
//
// Threads: the functions are safe from any thread; a JsonReader is used by one at a time.

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Text that is not JSON, JSON that no value can hold, or a text beyond the limits. The message,
// "invalid JSON at byte N: REASON", can be shown to the client who sent the text:
//
//   parse_json("[1, 2")   invalid JSON at byte 6: unexpected end of input; expected ',' or ']'
//   parse_json("[1,]")    invalid JSON at byte 4: unexpected ']'; expected a value
//   parse_json("1e400")   invalid JSON at byte 1: the number 1e400 is beyond the range of floats
class TOOL_BINDING_EXPORT JsonError : public std::invalid_argument {
 public:
  JsonError(const std::string& reason, std::size_t byte);
  ~JsonError() override;

  // Where in the text the fault is, counted from 1: the first byte of what is unexpected or out of
  // range, one past the last byte for a text that ends too early.
  [[nodiscard]] std::size_t byte() const noexcept { return byte_; }

 private:
  std::size_t byte_;
};

// What a text may have at most; 0: as much as memory holds.
//
//   parse_json("[[1]]", {.depth = 1})   invalid JSON at byte 2: nested deeper than 1
struct JsonLimits {
  std::size_t bytes = 0;
  // Of lists and objects in each other; [] has the depth 1.
  std::size_t depth = 0;
};

// The value that a JSON text writes; a byte order mark before it is skipped.
//
// A number without fraction and exponent is an integer, so that -0 is 0; any other is the nearest
// float, 0.0 where it is too small for them. Of a repeated member the later value counts, at the
// first position.
//
//   parse_json(R"({"a": 1, "b": 2.0, "a": [null]})") ==
//       Mapping{{"a", List{Value()}}, {"b", 2.0}}
//
// Throws JsonError for what is not JSON, for a number beyond the range of floats (1e400), for an
// escape of half a surrogate pair, for bytes that are not UTF-8, for anything after the value and
// for a text beyond the limits, which builds no value first if it is too long.
[[nodiscard]] TOOL_BINDING_EXPORT Value parse_json(std::string_view text, JsonLimits limits = {});

// The memory that reading takes beside the value that it makes.
struct JsonMemory_ {
  std::vector<Value> values;
  std::vector<std::size_t> open;
  std::string text;
};

// parse_json for many texts: it keeps its memory from one to the next, up to about a megabyte. The
// values that it returns are independent of it.
//
//   JsonReader reader({.bytes = 1 << 20, .depth = 100});
//   while (std::getline(in, line)) serve(reader.read(line));
class TOOL_BINDING_EXPORT JsonReader {
 public:
  explicit JsonReader(JsonLimits limits = {}) noexcept : limits_(limits) {}

  // Throws as parse_json does; the reader is then ready for the next text.
  [[nodiscard]] Value read(std::string_view text);

 private:
  JsonLimits limits_;
  JsonMemory_ memory_;
};

// The JSON text of a value, in one line. What JSON cannot say is written as follows.
//
//   none; infinity, NaN             null
//   an object                       its display_form, as text
//   a key that is not text          its text_form; two keys may then look alike
//   a surrogate, a stray byte       the escape of its code point (see value.hpp): valid JSON by
//                                   grammar, but refused by parse_json and other strict readers,
//                                   except that two side by side that form a pair are read as one
//                                   character
//
// Floats have the shortest digits that read back as the same float, with a point or an exponent,
// so that every other value reads back as it was. Beyond '"', '\' and control characters nothing is
// escaped: before it goes into HTML, '<' and '&' are for the caller to escape.
//
//   json_text(List{Value(), 1.0, 1e300, "\"\n/"}) == R"([null, 1.0, 1e+300, "\"\n/"])"
//   json_text("\x80") == R"("\udc80")"
//
// Cost: linear in the text.
[[nodiscard]] TOOL_BINDING_EXPORT std::string json_text(const Value& value);
[[nodiscard]] TOOL_BINDING_EXPORT std::string json_text(const List& list);
[[nodiscard]] TOOL_BINDING_EXPORT std::string json_text(const Mapping& mapping);

// Appends what json_text returns, without a copy of the value. When memory runs out, some of it may
// have been appended.
TOOL_BINDING_EXPORT void append_json(std::string& out, const Value& value);
TOOL_BINDING_EXPORT void append_json(std::string& out, const List& list);
TOOL_BINDING_EXPORT void append_json(std::string& out, const Mapping& mapping);

}  // namespace tool_binding

#endif  // TOOL_BINDING_JSON_HPP_
