// Lists in text against a plain reading of their rules, which takes its time.

#include <cstdlib>
#include <optional>
#include <regex>
#include <stdexcept>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tool_binding/utils/text_values.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

struct NoLiteral {};

const std::regex word_form("[A-Za-z_][A-Za-z_0-9]*");
const std::regex number_form("-?(0|[1-9][0-9]*)(\\.[0-9]+)?([eE][-+]?[0-9]+)?");
const std::regex escape_form(R"(\\(x[0-9a-fA-F]{2}|u[0-9a-fA-F]{4}|U[0-9a-fA-F]{8}))");
const std::regex low_form(R"(\\u[dD][c-fC-F][0-9a-fA-F]{2})");

// Reads a literal by recursion, with a copy of the rest of the text for each token.
class PlainLiteral {
 public:
  explicit PlainLiteral(std::string text) : rest_(std::move(text)) {}

  Value whole() {
    Value value = read(1);
    if (next() != '\0') throw NoLiteral();
    if (deepest_ > 128) throw std::invalid_argument("deep");
    return value;
  }

 private:
  Value read(std::size_t depth) {
    const char first = next();
    if (depth == 1 && first != '[' && first != '{') throw NoLiteral();
    if (first == '"' || first == '\'') return string();
    if (first == '(') return list(')', depth);
    if (first == '[') return list(']', depth);
    if (first == '{') return object(depth);
    for (const auto& [word, value] : Mapping{{"null", {}},
                                             {"None", {}},
                                             {"true", true},
                                             {"True", true},
                                             {"false", false},
                                             {"False", false}}) {
      if (took(std::string(word))) return value;
    }
    return number();
  }

  Value list(char closer, std::size_t depth) {
    deepest_ = std::max(deepest_, depth);
    rest_.erase(0, 1);
    List items;
    while (next() != closer) {
      if (!items.empty()) expect(",");
      if (!items.empty() && next() == closer) break;
      items.push_back(read(depth + 1));
    }
    rest_.erase(0, 1);
    return items;
  }

  Value object(std::size_t depth) {
    deepest_ = std::max(deepest_, depth);
    rest_.erase(0, 1);
    Mapping members;
    while (next() != '}') {
      if (!members.empty()) expect(",");
      if (!members.empty() && next() == '}') break;
      const bool is_quoted = next() == '"' || next() == '\'';
      std::string key = is_quoted ? string() : match(word_form);
      if (key.empty() && !is_quoted) key = match(number_form);
      if (key.empty() && !is_quoted) throw NoLiteral();
      expect(":");
      members.set(key, read(depth + 1));
    }
    rest_.erase(0, 1);
    return members;
  }

  Value number() {
    const std::string digits = match(number_form);
    if (digits.empty()) throw NoLiteral();
    if (digits.find_first_of(".eE") == digits.npos) return Value::integer_of(digits);
    return std::strtod(digits.c_str(), nullptr);
  }

  std::string string() {
    const char quote = next();
    rest_.erase(0, 1);
    std::string made;
    while (!took(std::string(1, quote))) {
      if (rest_.empty() || static_cast<unsigned char>(rest_[0]) < 0x20) throw NoLiteral();
      const CodePoint head = first_code_point(rest_);
      if (is_surrogate(head.value)) throw NoLiteral();
      if (head.value == '\\') {
        append_utf8(made, escape());
      } else {
        made += rest_.substr(0, head.size);
        rest_.erase(0, head.size);
      }
    }
    return made;
  }

  char32_t escape() {
    static constexpr std::string_view letters = "\"\\/bfnrt'av";
    static constexpr std::string_view meanings = "\"\\/\b\f\n\r\t'\a\v";
    const std::size_t found = letters.find(rest_.size() > 1 ? rest_[1] : '\0');
    if (found != letters.npos) {
      rest_.erase(0, 2);
      return static_cast<char32_t>(meanings[found]);
    }
    const std::string hex = match(escape_form);
    if (hex.empty()) throw NoLiteral();
    auto unit = static_cast<char32_t>(std::stoul(hex.substr(2), nullptr, 16));
    if (hex[1] == 'u' && unit >= 0xD800 && unit < 0xDC00) {
      const std::string low = match(low_form);
      if (low.empty()) throw NoLiteral();
      unit = 0x10000 + (unit - 0xD800) * 0x400 +
             (static_cast<char32_t>(std::stoul(low.substr(2), nullptr, 16)) - 0xDC00);
    }
    if (is_surrogate(unit) || unit > 0x10FFFF) throw NoLiteral();
    return unit;
  }

  static bool is_surrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

  // The first character that is not white space, which is removed; zero at the end.
  char next() {
    while (!rest_.empty() && std::string_view(" \t\r\n").find(rest_[0]) != rest_.npos) {
      rest_.erase(0, 1);
    }
    if (rest_.starts_with('\0')) throw NoLiteral();
    return rest_.empty() ? '\0' : rest_[0];
  }
  bool took(const std::string& token) {
    if (!rest_.starts_with(token)) return false;
    rest_.erase(0, token.size());
    return true;
  }
  void expect(const std::string& token) {
    next();
    if (!took(token)) throw NoLiteral();
  }
  std::string match(const std::regex& form) {
    std::smatch found;
    if (!std::regex_search(rest_, found, form, std::regex_constants::match_continuous)) return "";
    const std::string matched = found[0];
    rest_.erase(0, matched.size());
    return matched;
  }

  std::string rest_;
  std::size_t deepest_ = 0;
};

// What an item's opening quote begins: what the quotes enclose, and what is behind them.
struct Quoted {
  std::string item;
  std::string_view rest;
};

std::optional<Quoted> quoted(std::string_view text) {
  const char quote = text.empty() ? '\0' : text.front();
  if (quote != '"' && quote != '\'') return std::nullopt;
  std::string item;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == quote && text.substr(i + 1).starts_with(quote)) {
      ++i;
    } else if (text[i] == quote) {
      const std::string_view rest = plainly_trimmed(text.substr(i + 1));
      if (rest.empty() || rest.front() == ',') return Quoted{item, rest};
    }
    item += text[i];
  }
  return std::nullopt;
}

// How many bytes the bracket at the front encloses, itself included; 0 without a partner.
std::size_t enclosed(std::string_view text) {
  std::string open;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '[' || text[i] == '{') open += text[i];
    if ((text[i] == ']' && open.ends_with('[')) || (text[i] == '}' && open.ends_with('{'))) {
      open.pop_back();
    }
    if (open.empty()) return i + 1;
  }
  return 0;
}

struct Items {
  List items;
  bool has_lone_closer = false;  // a ']' without its '['
  bool is_doubtful = false;      // inside brackets
};

Items plain_items(std::string_view text) {
  Items read;
  while (!(text = plainly_trimmed(text)).empty()) {
    if (const auto item = quoted(text)) {
      read.items.emplace_back(item->item);
      text = item->rest.substr(item->rest.empty() ? 0 : 1);
      continue;
    }
    if (std::string_view("[{\"'").find(text.front()) != text.npos) read.is_doubtful = true;
    std::size_t end = 0;
    while (end < text.size() && text[end] != ',') {
      const bool opens = text[end] == '[' || text[end] == '{';
      const std::size_t size = opens ? enclosed(text.substr(end)) : 0;
      if (text[end] == '[' && size == 0) read.is_doubtful = true;
      if (text[end] == ']') read.has_lone_closer = true;
      for (std::size_t i = 1; i + 1 < size; ++i) {  // a ']' in curly brackets may have no '['
        bool has_partner = text[end + i] != ']';
        for (std::size_t j = 0; j < i; ++j) {
          has_partner |= text[end + j] == '[' && enclosed(text.substr(end + j)) == i - j + 1;
        }
        read.has_lone_closer |= !has_partner;
      }
      end += std::max<std::size_t>(size, 1);
    }
    const std::string_view item = plainly_trimmed(text.substr(0, end));
    if (!item.empty()) read.items.emplace_back(item);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return read;
}

List plainly_split(std::string_view text) {
  text = plainly_trimmed(text);
  try {
    Value literal = PlainLiteral(std::string(text)).whole();
    if (literal.is_list()) return std::move(literal).as_list();
    throw std::invalid_argument("object");
  } catch (const NoLiteral&) {
  }
  if (text.starts_with('[') && text.ends_with(']')) {
    const Items inside = plain_items(text.substr(1, text.size() - 2));
    if (!inside.has_lone_closer && inside.is_doubtful) throw std::invalid_argument("doubtful");
    if (!inside.has_lone_closer) return inside.items;
  }
  if (text.starts_with('[') && enclosed(text) == 0) throw std::invalid_argument("unclosed");
  return plain_items(text).items;
}

template <class Split>
std::string shown(const Split& split, std::string_view text) {
  try {
    return display_form(split(text));
  } catch (const std::invalid_argument&) {
    return "refused";
  }
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  const std::string_view text = Bytes(data, size).take_rest();
  if (text.size() > 400) return 0;  // the plain reading takes cubic time
  const std::string ours = shown(split_csv, text);
  const std::string expected = shown(plainly_split, text);
  check(ours == expected, "list", text, ours, expected);
  return 0;
}
