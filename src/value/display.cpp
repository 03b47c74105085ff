#include <ostream>
#include <string>

#include "tool_binding/value_events.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"
#include "value/numbers.hpp"

namespace tool_binding {

std::string text_form(const Value& value) {
  if (const auto text = value.if_text()) return std::string(*text);
  return display_form(value);
}

namespace {

void append_escape(std::string& out, char32_t code_point) {
  static constexpr char digits[] = "0123456789abcdef";
  const bool is_byte = code_point < 0x100;
  const bool is_short = code_point < 0x10000;
  out += is_byte ? "\\x" : is_short ? "\\u" : "\\U";
  for (int shift = is_byte ? 4 : is_short ? 12 : 28; shift >= 0; shift -= 4) {
    out += digits[(code_point >> shift) & 0xF];
  }
}

void append_quoted(std::string& out, std::string_view text) {
  const bool in_double = text.find('\'') != text.npos && text.find('"') == text.npos;
  const char quote = in_double ? '"' : '\'';
  out += quote;
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    switch (head.value) {
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (head.value == U'\\' || head.value == static_cast<unsigned char>(quote)) out += '\\';
        if (is_printable(head.value)) {
          out += text.substr(0, head.size);
        } else {
          append_escape(out, head.value);
        }
    }
    text.remove_prefix(head.size);
  }
  out += quote;
}

void append_leaf(std::string& out, const Value& value) {
  switch (value.kind()) {
    case Kind::none:
      out += "None";
      break;
    case Kind::boolean:
      out += value.get_boolean() ? "True" : "False";
      break;
    case Kind::integer:
      append_integer(out, value.get_integer());
      break;
    case Kind::float_:
      append_float(out, value.get_float());
      break;
    case Kind::text:
      append_quoted(out, value.get_text());
      break;
    default:
      out += '<' + value.get_object()->type_name() + '>';
  }
}

class Display {
 public:
  explicit Display(std::string& out) : out_(out) {}

  void begin_list(const List&) { open('['); }
  void begin_mapping(const Mapping&) { open('{'); }
  void end_list() { close(']'); }
  void end_mapping() { close('}'); }
  void leaf(const Value& value) {
    separate();
    append_leaf(out_, value);
  }
  void key(const Value& key) {
    leaf(key);
    out_ += ": ";
    at_start_ = true;
  }

 private:
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

template <class Root>
std::string shown(const Root& root) {
  std::string text;
  Display display(text);
  visit_events(root, display);
  return text;
}

}  // namespace

std::string display_form(const Value& value) { return shown(value); }
std::string display_form(const Mapping& mapping) { return shown(mapping); }
std::string display_form(const List& list) { return shown(list); }

std::ostream& operator<<(std::ostream& out, const Value& value) {
  return out << display_form(value);
}
std::ostream& operator<<(std::ostream& out, const Mapping& mapping) {
  return out << display_form(mapping);
}
std::ostream& operator<<(std::ostream& out, const List& list) { return out << display_form(list); }

}  // namespace tool_binding
