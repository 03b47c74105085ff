#include "text/json_array.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "tool_binding/value_events.hpp"
#include "unicode/utf8.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

bool is_surrogate(char32_t code_point) noexcept {
  return code_point >= 0xD800 && code_point <= 0xDFFF;
}
bool is_high_surrogate(char32_t code_point) noexcept {
  return code_point >= 0xD800 && code_point <= 0xDBFF;
}
bool is_low_surrogate(char32_t code_point) noexcept {
  return code_point >= 0xDC00 && code_point <= 0xDFFF;
}

// Reads one JSON text. A step answers whether it found what it was to read.
class JsonReader {
 public:
  explicit JsonReader(std::string_view text) noexcept : rest_(text) {}

  bool read() {
    do {
      if (!begin_value()) return false;
      while (!awaits_value_ && !closers_.empty()) {
        if (!go_on()) return false;
      }
    } while (awaits_value_);
    skip_space();
    return rest_.empty();
  }
  [[nodiscard]] Value take() noexcept { return builder_.take(); }
  [[nodiscard]] std::size_t depth() const noexcept { return depth_; }

 private:
  // Reads a leaf, or opens a container up to its first value.
  bool begin_value() {
    skip_space();
    if (skip("[")) {
      builder_.begin_list();
      return open(']');
    }
    if (skip("{")) {
      builder_.begin_mapping();
      return open('}');
    }
    awaits_value_ = false;
    return read_leaf();
  }

  bool open(char closer) {
    closers_ += closer;
    depth_ = std::max(depth_, closers_.size());
    skip_space();
    if (rest_.starts_with(closer)) {
      close();
      return true;
    }
    awaits_value_ = true;
    return closer == ']' || read_key();
  }

  // Behind a value in a container: its end, or what leads to the next value.
  bool go_on() {
    skip_space();
    if (rest_.starts_with(closers_.back())) {
      close();
      return true;
    }
    awaits_value_ = true;
    return skip(",") && (closers_.back() == ']' || read_key());
  }

  void close() {
    rest_.remove_prefix(1);
    if (closers_.back() == ']') {
      builder_.end_list();
    } else {
      builder_.end_mapping();
    }
    closers_.pop_back();
    awaits_value_ = false;
  }

  bool read_key() {
    skip_space();
    std::string name;
    if (!read_string(name)) return false;
    builder_.key(name);
    skip_space();
    return skip(":");
  }

  bool read_leaf() {
    if (skip("null")) return leaf(Value());
    if (skip("true")) return leaf(true);
    if (skip("false")) return leaf(false);
    if (!rest_.starts_with('"')) return read_number();
    std::string text;
    return read_string(text) && leaf(text);
  }

  bool read_number() {
    const std::string_view start = rest_;
    skip("-");
    if (!skip("0") && !skip_digits()) return false;
    const std::size_t integer_size = start.size() - rest_.size();
    if (skip(".") && !skip_digits()) return false;
    if (skip("e") || skip("E")) {
      if (!skip("+")) skip("-");
      if (!skip_digits()) return false;
    }
    const std::string_view number = start.substr(0, start.size() - rest_.size());
    return leaf(number.size() == integer_size ? Value::integer_of(number)
                                              : Value(read_float(number).value()));
  }

  bool read_string(std::string& text) {
    if (!skip("\"")) return false;
    while (!skip("\"")) {
      if (rest_.empty()) return false;
      if (skip("\\")) {
        if (!read_escape(text)) return false;
        continue;
      }
      const CodePoint head = first_code_point(rest_);
      if (head.value < 0x20 || is_surrogate(head.value)) return false;
      text += rest_.substr(0, head.size);
      rest_.remove_prefix(head.size);
    }
    return true;
  }

  bool read_escape(std::string& text) {
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    if (rest_.empty()) return false;
    const std::size_t letter = letters.find(rest_.front());
    if (letter != letters.npos) {
      rest_.remove_prefix(1);
      text += meanings[letter];
      return true;
    }
    char32_t code_point = 0;
    if (!skip("u") || !read_hex(code_point) || is_low_surrogate(code_point)) return false;
    if (is_high_surrogate(code_point)) {
      char32_t low = 0;
      if (!skip("\\u") || !read_hex(low) || !is_low_surrogate(low)) return false;
      code_point = 0x10000 + ((code_point - 0xD800) << 10) + (low - 0xDC00);
    }
    append_utf8(text, code_point);
    return true;
  }

  bool read_hex(char32_t& unit) {
    constexpr std::string_view digits = "0123456789abcdef0123456789ABCDEF";
    if (rest_.size() < 4) return false;
    unit = 0;
    for (const char c : rest_.substr(0, 4)) {
      const std::size_t digit = digits.find(c);
      if (digit == digits.npos) return false;
      unit = unit * 16 + static_cast<char32_t>(digit % 16);
    }
    rest_.remove_prefix(4);
    return true;
  }

  bool leaf(Value value) {
    builder_.leaf(std::move(value));
    return true;
  }

  bool skip(std::string_view token) noexcept {
    if (!rest_.starts_with(token)) return false;
    rest_.remove_prefix(token.size());
    return true;
  }
  bool skip_digits() noexcept { return skip_all("0123456789"); }
  void skip_space() noexcept { skip_all(" \t\n\r"); }
  bool skip_all(std::string_view characters) noexcept {
    const std::size_t count = std::min(rest_.find_first_not_of(characters), rest_.size());
    rest_.remove_prefix(count);
    return count > 0;
  }

  std::string_view rest_;
  ValueBuilder builder_;
  std::string closers_;  // of the containers that are open, innermost last
  std::size_t depth_ = 0;
  bool awaits_value_ = true;
};

}  // namespace

std::optional<JsonArray> read_json_array(std::string_view text) {
  JsonReader reader(text);
  if (!text.starts_with('[') || !reader.read()) return std::nullopt;
  Value array = reader.take();
  return JsonArray{std::move(array).get_list(), reader.depth()};
}

std::optional<Value> read_object_text(std::string_view text) {
  JsonReader reader(text);
  if (!reader.read()) return std::nullopt;
  Value object = reader.take();
  return object.is_mapping() ? std::optional(std::move(object)) : std::nullopt;
}

}  // namespace tool_binding
