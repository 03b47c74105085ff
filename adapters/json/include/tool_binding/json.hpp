#ifndef TOOL_BINDING_JSON_HPP_
#define TOOL_BINDING_JSON_HPP_

// JSON text and nlohmann::ordered_json to values and back.
//
//   parse_json(R"({"limit": 12345678901234567890123})")
//   json_text(Mapping{{"limit", 5}}) == R"({"limit": 5})"
//
// Integers of any size, the order of members and nesting of any depth survive in both directions;
// of a repeated member the later value counts, at the first position. All take linear time.
// Pure functions: safe from any thread, no locale.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/utils/text_values.hpp"
#include "tool_binding/value.hpp"
#include "tool_binding/value_events.hpp"

namespace tool_binding {

// Text that is no JSON, or JSON that no value can hold. The message,
// "invalid JSON at byte N: REASON", can be shown to the client who sent the text.
class TOOL_BINDING_EXPORT JsonError : public std::invalid_argument {
 public:
  JsonError(const std::string& reason, std::size_t byte)
      : std::invalid_argument("invalid JSON at byte " + std::to_string(byte) + ": " + reason),
        byte_(byte) {}

  // The last byte that was read, counted from 1; one past the last for a text that ends too early.
  [[nodiscard]] std::size_t byte() const noexcept { return byte_; }

 private:
  std::size_t byte_;
};

// The value that a JSON text writes; a byte order mark before it is skipped.
//
// A number without fraction and exponent is an integer, so that -0 is 0; any other is the nearest
// float. Throws JsonError for what is no JSON, for a number beyond the range of floats (1e400), for
// an escape of half a surrogate pair, for bytes that are no UTF-8 and for anything after the value.
[[nodiscard]] Value parse_json(std::string_view text);

// The JSON text of a value, in one line. Never fails: what JSON cannot say is written as follows.
//
//   none; infinity, not-a-number    null
//   an object                       its display_form, as text
//   a key that is not text          its text_form; two keys may so come to look alike
//   a surrogate, a stray byte       the escape of its code point (see value.hpp): valid JSON by
//                                   grammar, but refused by parse_json and other strict readers,
//                                   save that two side by side that form a pair are read as one
//                                   character
//
// Floats have the shortest digits that read back as the same float, with a point or an exponent,
// so that every other value reads back as it was.
[[nodiscard]] std::string json_text(const Value& value);

// Throws TypeError for binary or discarded content, which no value holds.
[[nodiscard]] Value value_from_json(const nlohmann::ordered_json& json);

// Objects and keys as in json_text; text and floats are taken over as they are. Moving or
// destroying the result is safe at any depth; its own copy, comparison and dump() use the stack.
// Throws std::overflow_error for an integer that 64 bits, signed or unsigned, do not hold.
[[nodiscard]] nlohmann::ordered_json json_from_value(const Value& value);

// What follows is how they do it.

namespace json_private {

// Whether the whole token is a number by JSON's grammar.
[[nodiscard]] inline bool is_number(std::string_view token) noexcept {
  const auto skip_digits = [&token] {
    const std::size_t count = std::min(token.find_first_not_of("0123456789"), token.size());
    token.remove_prefix(count);
    return count;
  };
  const auto skip_one_of = [&token](std::string_view characters) {
    const bool found = !token.empty() && characters.find(token.front()) != characters.npos;
    token.remove_prefix(found ? 1 : 0);
    return found;
  };
  skip_one_of("-");
  const bool leading_zero = token.starts_with('0');
  const std::size_t digits = skip_digits();
  if (digits == 0 || (leading_zero && digits > 1)) return false;
  if (skip_one_of(".") && skip_digits() == 0) return false;
  if (skip_one_of("eE")) {
    skip_one_of("+-");
    if (skip_digits() == 0) return false;
  }
  return token.empty();
}

// The text as nlohmann's lexer gets it: every number stands in it as the one digit 0, and the
// reader takes the number itself from here. The lexer would make floats of long integers, refuse
// those of more than 308 digits, and read floats with the locale. Long white space is cut to two
// characters, since the lexer would keep it all for its message.
class Source {
 public:
  explicit Source(std::string_view text) noexcept : text_(text) {}

  [[nodiscard]] bool at_end() const noexcept { return next_ == text_.size(); }
  // The character to hand on. Precondition: not at the end.
  [[nodiscard]] char current() noexcept;
  // Precondition: current() was called.
  void advance() noexcept;

  // The last number that current() came upon.
  [[nodiscard]] std::string_view number() const noexcept { return number_; }
  // Where it ends, as JsonError::byte() counts.
  [[nodiscard]] std::size_t number_end() const noexcept {
    return static_cast<std::size_t>(number_.data() - text_.data()) + number_.size();
  }
  [[nodiscard]] bool number_is_malformed() const noexcept { return malformed_; }
  // How many bytes stand in the text before here that were not handed on.
  [[nodiscard]] std::size_t skipped() const noexcept { return skipped_; }

 private:
  // How many bytes from the current one on are among the characters.
  [[nodiscard]] std::size_t run_of(std::string_view characters) const noexcept;

  static constexpr char refused_ = '\1';  // an error wherever the lexer meets it

  std::string_view text_;
  std::string_view number_;
  std::size_t next_ = 0;
  std::size_t width_ = 1;  // of what current() handed on
  std::size_t skipped_ = 0;
  bool in_string_ = false;
  bool escaped_ = false;
  bool malformed_ = false;
};

inline std::size_t Source::run_of(std::string_view characters) const noexcept {
  return std::min(text_.find_first_not_of(characters, next_), text_.size()) - next_;
}

inline char Source::current() noexcept {
  const char head = text_[next_];
  width_ = 1;
  if (in_string_) return head;
  if (head == '\0') return refused_;  // which the lexer would take for the end of the text
  if (head == '-' || (head >= '0' && head <= '9')) {
    number_ = text_.substr(next_, run_of("+-.0123456789Ee"));
    malformed_ = !is_number(number_);
    if (malformed_) return refused_;
    width_ = number_.size();
    return '0';
  }
  constexpr std::string_view blanks = " \t\r\n";
  if (blanks.find(head) == blanks.npos) return head;
  // The first stays alone: the lexer reads it before it tells where a number ended.
  const bool is_first = next_ == 0 || blanks.find(text_[next_ - 1]) == blanks.npos;
  if (!is_first) width_ = run_of(blanks);
  return ' ';
}

inline void Source::advance() noexcept {
  const char head = text_[next_];
  if (escaped_) {
    escaped_ = false;
  } else if (head == '"') {
    in_string_ = !in_string_;
  } else {
    escaped_ = in_string_ && head == '\\';
  }
  next_ += width_;
  skipped_ += width_ - 1;
}

// A Source as the input iterator that nlohmann's parser reads from; none: the end.
class SourceIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  SourceIterator() noexcept = default;
  explicit SourceIterator(Source& source) noexcept : source_(&source) {}

  char operator*() const noexcept { return source_->current(); }
  SourceIterator& operator++() noexcept {
    source_->advance();
    return *this;
  }
  friend bool operator==(const SourceIterator& left, const SourceIterator& right) noexcept {
    return left.at_end() == right.at_end();
  }

 private:
  [[nodiscard]] bool at_end() const noexcept { return source_ == nullptr || source_->at_end(); }

  Source* source_ = nullptr;
};

[[nodiscard]] inline std::string shown_number(std::string_view number) {
  constexpr std::size_t limit = 40;
  return std::string(number.substr(0, limit)) + (number.size() > limit ? "..." : "");
}

// Receives the parser's events. After one that answers false, error() is what went wrong.
class Reader {
 public:
  using Json = nlohmann::ordered_json;

  explicit Reader(const Source& source) noexcept : source_(source) {}

  [[nodiscard]] Value take() noexcept { return builder_.take(); }
  [[nodiscard]] JsonError error() const { return JsonError(reason_, byte_); }

  bool null() { return leaf(Value()); }
  bool boolean(bool value) { return leaf(value); }
  bool number_unsigned(std::uint64_t) { return number(source_.number()); }
  bool string(std::string& text) { return leaf(text); }
  bool key(std::string& name) {
    builder_.key(name);
    return true;
  }
  bool start_object(std::size_t) {
    builder_.begin_mapping();
    return true;
  }
  bool end_object() {
    builder_.end_mapping();
    return true;
  }
  bool start_array(std::size_t) {
    builder_.begin_list();
    return true;
  }
  bool end_array() {
    builder_.end_list();
    return true;
  }
  bool parse_error(std::size_t position, const std::string& token, const Json::exception& error);

  // Asked for by the parser's interface, never called: a Source holds no number but 0.
  bool number_integer(std::int64_t) { return false; }
  bool number_float(double, const std::string&) { return false; }
  bool binary(Json::binary_t&) { return false; }

 private:
  bool leaf(Value value) {
    builder_.leaf(std::move(value));
    return true;
  }
  bool number(std::string_view token);

  const Source& source_;
  ValueBuilder builder_;
  std::string reason_;
  std::size_t byte_ = 0;
};

inline bool Reader::number(std::string_view token) {
  if (token.find_first_of(".eE") == token.npos) return leaf(Value::integer_of(token));
  double nearest = 0;
  if (std::from_chars(token.data(), token.data() + token.size(), nearest).ec == std::errc()) {
    return leaf(nearest);
  }
  // Too large or too small. from_chars does not say which; a list in text does.
  const Value value = split_csv('[' + std::string(token) + ']').at(0);
  if (std::isfinite(value.as_float())) return leaf(value);
  reason_ = "the number " + shown_number(token) + " is beyond the range of floats";
  byte_ = source_.number_end();
  return false;
}

// The library's message is "[ID] parse error at line N, column N: syntax error while parsing X -
// REASON; last read: 'TOKEN'; expected Y". The client is told the reason and what was expected.
[[nodiscard]] inline std::string reason_in(std::string_view message, std::size_t token_size) {
  constexpr std::string_view before_reason = " - ";
  constexpr std::string_view before_token = "; last read: '";
  constexpr std::pair<std::string_view, std::string_view> clearer_endings[] = {
      {"; expected '[', '{', or a literal", "; expected a value"},
      {"; expected string literal", "; expected a string in double quotes"},
      {"; expected ']'", "; expected ',' or ']'"},
      {"; expected '}'", "; expected ',' or '}'"},
  };
  const std::size_t start = message.find(before_reason);
  if (start != message.npos) message.remove_prefix(start + before_reason.size());
  const std::size_t read = message.find(before_token);
  std::string reason(message.substr(0, read));
  if (read != message.npos) reason += message.substr(read + before_token.size() + token_size + 1);
  for (const auto& [ending, clearer] : clearer_endings) {
    if (reason.ends_with(ending)) {
      return reason.replace(reason.size() - ending.size(), ending.size(), clearer);
    }
  }
  return reason;
}

inline bool Reader::parse_error(std::size_t position, const std::string& token,
                                const Json::exception& error) {
  byte_ = position + source_.skipped();
  reason_ = source_.number_is_malformed() ? "malformed number " + shown_number(source_.number())
                                          : reason_in(error.what(), token.size());
  return false;
}

// One code point of a text read as value.hpp says.
struct Head {
  char32_t code_point;
  std::size_t size;
  bool is_character;  // not a surrogate, not a stray byte
};

[[nodiscard]] inline Head head_of(std::string_view text) noexcept {
  constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1, true};
  const Head stray = {char32_t{0xDC00} + lead, 1, false};
  const std::size_t size = lead < 0xC0   ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF8 ? 4
                                         : 0;
  if (size == 0 || size > text.size()) return stray;
  char32_t code_point = lead & (0xFFU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80) return stray;
    code_point = code_point << 6 | (byte & 0x3F);
  }
  if (code_point < least[size] || code_point > 0x10FFFF) return stray;
  return {code_point, size, code_point < 0xD800 || code_point > 0xDFFF};
}

inline void append_escape(std::string& out, char32_t code_point) {
  constexpr std::string_view letters = "\"\"\\\\\bb\ff\nn\rr\tt";
  for (std::size_t i = 0; i < letters.size(); i += 2) {
    if (code_point == static_cast<unsigned char>(letters[i])) {
      out += {'\\', letters[i + 1]};
      return;
    }
  }
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) {
    out += "0123456789abcdef"[code_point >> shift & 0xF];
  }
}

inline void append_string(std::string& out, std::string_view text) {
  out += '"';
  std::size_t written = 0;
  for (std::size_t next = 0; next < text.size();) {
    const Head head = head_of(text.substr(next));
    const bool stands_as_it_is = head.is_character && head.code_point >= 0x20 &&
                                 head.code_point != '"' && head.code_point != '\\';
    if (!stands_as_it_is) {
      out += text.substr(written, next - written);
      append_escape(out, head.code_point);
      written = next + head.size;
    }
    next += head.size;
  }
  out += text.substr(written);
  out += '"';
}

class Writer {
 public:
  explicit Writer(std::string& out) noexcept : out_(out) {}

  void begin_list(const List&) { open('['); }
  void begin_mapping(const Mapping&) { open('{'); }
  void end_list() { close(']'); }
  void end_mapping() { close('}'); }
  void key(const Value& key) {
    separate();
    append_text_form(key);
    out_ += ": ";
    at_start_ = true;
  }
  void leaf(const Value& value) {
    separate();
    if (value.is_none() || (value.is_float() && !std::isfinite(value.get_float()))) {
      out_ += "null";
    } else if (value.is_boolean()) {
      out_ += value.get_boolean() ? "true" : "false";
    } else if (value.is_integer() || value.is_float()) {
      out_ += display_form(value);
    } else {
      append_text_form(value);
    }
  }

 private:
  void append_text_form(const Value& value) {
    if (const auto text = value.if_text()) return append_string(out_, *text);
    append_string(out_, display_form(value));
  }
  void separate() {
    if (!at_start_) out_ += ", ";
    at_start_ = false;
  }
  void open(char bracket) {
    separate();
    out_ += bracket;
    at_start_ = true;
  }
  void close(char bracket) {
    out_ += bracket;
    at_start_ = false;
  }

  std::string& out_;
  bool at_start_ = true;
};

[[nodiscard]] inline Value leaf_from_json(const nlohmann::ordered_json& json) {
  using Type = nlohmann::ordered_json::value_t;
  switch (json.type()) {
    case Type::null:
      return {};
    case Type::boolean:
      return json.get<bool>();
    case Type::number_integer:
      return json.get<std::int64_t>();
    case Type::number_unsigned:
      return json.get<std::uint64_t>();
    case Type::number_float:
      return json.get<double>();
    case Type::string:
      return json.get_ref<const std::string&>();
    default:
      throw TypeError("a JSON value of type " + std::string(json.type_name()) +
                      " cannot become a value");
  }
}

[[nodiscard]] inline nlohmann::ordered_json json_from_integer(Integer integer) {
  if (integer.fits_int64()) return integer.int64();
  const std::string_view digits = integer.digits();
  std::uint64_t number = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc()) {
    return number;
  }
  throw std::overflow_error("an integer of " + std::to_string(digits.size()) +
                            " characters needs more than 64 bits: json_text writes it whole");
}

[[nodiscard]] inline nlohmann::ordered_json json_from_leaf(const Value& value) {
  switch (value.kind()) {
    case Kind::none:
      return nullptr;
    case Kind::boolean:
      return value.get_boolean();
    case Kind::integer:
      return json_from_integer(value.get_integer());
    case Kind::float_:
      return value.get_float();
    default:
      return text_form(value);
  }
}

}  // namespace json_private

inline Value parse_json(std::string_view text) {
  using json_private::SourceIterator;
  json_private::Source source(text);
  json_private::Reader reader(source);
  if (!nlohmann::ordered_json::sax_parse(SourceIterator(source), SourceIterator(), &reader)) {
    throw reader.error();
  }
  return reader.take();
}

inline std::string json_text(const Value& value) {
  std::string text;
  json_private::Writer writer(text);
  visit_events(value, writer);
  return text;
}

inline Value value_from_json(const nlohmann::ordered_json& json) {
  struct Open {
    const nlohmann::ordered_json* container;
    nlohmann::ordered_json::const_iterator next;
  };
  std::vector<Open> open;
  ValueBuilder builder;
  const auto enter = [&](const nlohmann::ordered_json& entered) {
    if (entered.is_object()) {
      builder.begin_mapping();
    } else if (entered.is_array()) {
      builder.begin_list();
    } else {
      return builder.leaf(json_private::leaf_from_json(entered));
    }
    open.push_back({&entered, entered.begin()});
  };
  enter(json);
  while (!open.empty()) {
    Open& innermost = open.back();
    const bool is_object = innermost.container->is_object();
    if (innermost.next == innermost.container->end()) {
      open.pop_back();
      is_object ? builder.end_mapping() : builder.end_list();
      continue;
    }
    const auto member = innermost.next++;
    if (is_object) builder.key(member.key());
    enter(*member);
  }
  return builder.take();
}

inline nlohmann::ordered_json json_from_value(const Value& value) {
  using Json = nlohmann::ordered_json;
  struct Conversion {
    const Value* from;
    Json* to;
  };
  Json root;
  std::vector<Conversion> waiting = {{&value, &root}};
  while (!waiting.empty()) {
    const auto [from, to] = waiting.back();
    waiting.pop_back();
    if (const List* list = from->if_list()) {
      *to = Json::array_t(list->size());
      auto slot = to->begin();
      for (const Value& item : *list) waiting.push_back({&item, &*slot++});
    } else if (const Mapping* mapping = from->if_mapping()) {
      // Json's own ways to add a member search all others for the name first.
      Json::object_t members;
      members.reserve(mapping->size());
      for (const Mapping::Entry& entry : *mapping) {
        members.emplace_back(text_form(entry.key()), nullptr);
      }
      *to = std::move(members);
      auto slot = to->begin();
      for (const Mapping::Entry& entry : *mapping) waiting.push_back({&entry.value, &*slot++});
    } else {
      *to = json_private::json_from_leaf(*from);
    }
  }
  return root;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_JSON_HPP_
