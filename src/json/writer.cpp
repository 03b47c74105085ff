#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "json/plain_text.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/value_events.hpp"
#include "unicode/utf8.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

// Appends to a string through a buffer, since most pieces are a few bytes.
class Output {
 public:
  explicit Output(std::string& out) noexcept : out_(out) {}

  void put(char c) {
    if (used_ == buffer_.size()) flush();
    buffer_[used_++] = c;
  }
  void put(std::string_view piece) {
    if (piece.size() > buffer_.size() - used_) return put_large(piece);
    append(piece);
  }
  // With quotation marks around it.
  void put_quoted(std::string_view piece) {
    if (piece.size() + 2 > buffer_.size() - used_) {
      flush();
      out_ += '"';
      out_ += piece;
      out_ += '"';
      return;
    }
    buffer_[used_++] = '"';
    append(piece);
    buffer_[used_++] = '"';
  }
  void flush() {
    out_.append(buffer_.data(), used_);
    used_ = 0;
  }
  // All that was put is in it.
  [[nodiscard]] std::string& flushed() {
    flush();
    return out_;
  }

 private:
  // Most pieces are short, and a call of memcpy for each takes longer than their bytes.
  void append(std::string_view piece) {
    char* const to = buffer_.data() + used_;
    const std::size_t size = piece.size();
    if (size > 16 || size < 2) {
      std::memcpy(to, piece.data(), size);
    } else if (size >= 8) {
      copy_ends<8>(to, piece);
    } else if (size >= 4) {
      copy_ends<4>(to, piece);
    } else {
      copy_ends<2>(to, piece);
    }
    used_ += size;
  }
  // The first and the last bytes, which overlap unless the piece is twice as long.
  template <std::size_t count>
  static void copy_ends(char* to, std::string_view piece) noexcept {
    std::memcpy(to, piece.data(), count);
    std::memcpy(to + piece.size() - count, piece.data() + piece.size() - count, count);
  }
  void put_large(std::string_view piece) {
    flush();
    out_ += piece;
  }

  std::string& out_;
  std::size_t used_ = 0;
  std::array<char, 1024> buffer_;
};

class Writer {
 public:
  explicit Writer(std::string& out) noexcept : out_(out) {}

  void finish() { out_.flush(); }

  void begin_list(const List&) { open('['); }
  void begin_mapping(const Mapping&) { open('{'); }
  void end_list() { close(']'); }
  void end_mapping() { close('}'); }
  void key(const Value& key) {
    separate();
    put_text_form(key);
    out_.put(": ");
    at_start_ = true;
  }
  void leaf(const Value& value) {
    separate();
    switch (value.kind()) {
      case Kind::none:
        return out_.put("null");
      case Kind::boolean:
        return out_.put(value.get_boolean() ? "true" : "false");
      case Kind::integer:
        return put_integer(value.get_integer());
      case Kind::float_:
        return put_float(value.get_float());
      default:
        return put_text_form(value);
    }
  }

 private:
  void put_integer(const Integer& integer) {
    if (!integer.fits_int64()) return out_.put(integer.digits());
    std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), integer.int64());
    out_.put({digits.data(), end.ptr});
  }

  void put_float(double number) {
    if (!std::isfinite(number)) return out_.put("null");
    append_float(out_.flushed(), number);
  }

  void put_text_form(const Value& value) {
    if (const auto text = value.if_text()) return put_string(*text);
    put_string(display_form(value));
  }

  void put_string(std::string_view text) {
    const char* run = text.data();
    const char* const end = run + text.size();
    const char* next = end_of_plain(run, end, '"');
    if (next == end) return out_.put_quoted(text);
    out_.put('"');
    while ((next = end_of_plain(next, end, '"')) != end) {
      const CodePoint head = first_code_point({next, end});
      const bool is_character = head.value >= 0x80 && (head.value < 0xD800 || head.value > 0xDFFF);
      if (!is_character) {
        out_.put({run, next});
        put_escape(head.value);
        run = next + head.size;
      }
      next += head.size;
    }
    out_.put({run, end});
    out_.put('"');
  }

  void put_escape(char32_t code_point) {
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    const std::size_t found =
        code_point < 0x80 ? escaped.find(static_cast<char>(code_point)) : escaped.npos;
    out_.put('\\');
    if (found != escaped.npos) return out_.put(letters[found]);
    out_.put('u');
    for (int shift = 12; shift >= 0; shift -= 4) {
      out_.put("0123456789abcdef"[code_point >> shift & 0xF]);
    }
  }

  void separate() {
    if (!at_start_) out_.put(", ");
    at_start_ = false;
  }
  void open(char bracket) {
    separate();
    out_.put(bracket);
    at_start_ = true;
  }
  void close(char bracket) {
    out_.put(bracket);
    at_start_ = false;
  }

  Output out_;
  bool at_start_ = true;
};

template <class Written>
void append_text(std::string& out, const Written& value) {
  Writer writer(out);
  visit_events(value, writer);
  writer.finish();
}

template <class Written>
std::string text_of(const Written& value) {
  std::string text;
  append_text(text, value);
  return text;
}

}  // namespace

std::string json_text(const Value& value) { return text_of(value); }
std::string json_text(const List& list) { return text_of(list); }
std::string json_text(const Mapping& mapping) { return text_of(mapping); }

void append_json(std::string& out, const Value& value) { append_text(out, value); }
void append_json(std::string& out, const List& list) { append_text(out, list); }
void append_json(std::string& out, const Mapping& mapping) { append_text(out, mapping); }

}  // namespace tool_binding
