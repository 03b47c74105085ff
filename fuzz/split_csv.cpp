// Lists in text against a plain reading of their rules, which takes its time: a literal is
// translated to JSON, token by token, for RapidJSON to read.

#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <regex>
#include <stdexcept>

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tests/rapidjson_reading.hpp"
#include "tool_binding/utils/text_values.hpp"
#include "unicode/utf8.hpp"

namespace tool_binding {
namespace {

struct NoLiteral {};
struct NoOpinion {};

const std::string space = R"([ \t\r\n]*)";
const std::string word = R"([A-Za-z_]\w*)";
const std::string number = R"(-?(?:0|[1-9]\d*)(?:\.\d+)?(?:[eE][-+]?\d+)?)";
enum Token { bare_key = 1, constant, numeral, quotation, opener, comma, closer, mark };
const std::regex token_form(space + "(?:(" + word + "|" + number + ")(?=" + space + ":)|(" + word +
                            ")|(" + number + R"()|("(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'))" +
                            R"(|([\[{(])|(,?))" + space + R"(([\]})])|([,:])))");
const std::regex character_form(R"(\\x([0-9a-fA-F]{2})|\\U([0-9a-fA-F]{8})|\\.|[^\\])");

// What JSON, as RapidJSON reads it, has no number for: an infinity.
std::string json_number(const std::string& digits) {
  if (std::isinf(std::strtod(digits.c_str(), nullptr))) throw NoOpinion();
  return digits;
}

std::string json_constant(const std::string& word_of_any) {
  static const std::map<std::string, std::string> constants = {
      {"null", "null"}, {"None", "null"},   {"true", "true"},
      {"True", "true"}, {"false", "false"}, {"False", "false"}};
  const auto found = constants.find(word_of_any);
  if (found == constants.end()) throw NoLiteral();
  return found->second;
}

std::string json_string(const std::string& quotation) {
  static const std::map<std::string, std::string> others = {
      {"\"", "\\\""}, {"\\'", "'"}, {"\\a", "\\u0007"}, {"\\v", "\\u000b"}};
  std::string json = "\"";
  std::sregex_iterator each(quotation.begin() + 1, quotation.end() - 1, character_form);
  for (; each != std::sregex_iterator(); ++each) {
    const std::string hex = (*each)[1].str() + (*each)[2].str();
    const auto code = static_cast<char32_t>(hex.empty() ? 0 : std::stoul(hex, nullptr, 16));
    if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) throw NoLiteral();
    if (code > 0xFFFF) {
      append_utf8(json, code);
    } else if (!hex.empty()) {
      json += "\\u" + ("00" + hex).substr(hex.size() - 2);
    } else {
      const auto other = others.find(each->str());
      json += other == others.end() ? each->str() : other->second;
    }
  }
  return json + '"';
}

// A literal in JSON, and how deep it is nested.
class Translation {
 public:
  explicit Translation(const std::string& literal) {
    std::smatch token;
    for (auto at = literal.begin(); at != literal.end(); at = token[0].second) {
      const auto from_here = std::regex_constants::match_continuous;
      const bool is_token = std::regex_search(at, literal.end(), token, token_form, from_here);
      if (!is_token) throw NoLiteral();
      take(token);
      json += ' ';
    }
  }

  std::string json;
  std::size_t depth = 0;

 private:
  void take(const std::smatch& token) {
    if (token[bare_key].matched) json += '"' + token[bare_key].str() + '"';
    if (token[constant].matched) json += json_constant(token[constant]);
    if (token[numeral].matched) json += json_number(token[numeral]);
    if (token[quotation].matched) json += json_string(token[quotation]);
    if (token[opener].matched) open(token[opener].str()[0]);
    if (token[closer].matched) close(token[closer].str()[0], token[comma].length() > 0);
    json += token[mark].str();
  }

  void open(char bracket) {
    if (json.empty() && bracket == '(') throw NoLiteral();
    closers_ += bracket == '[' ? ']' : bracket == '{' ? '}' : ')';
    depth = std::max(depth, closers_.size());
    json += bracket == '{' ? '{' : '[';
  }
  void close(char bracket, bool behind_comma) {
    if (!closers_.ends_with(bracket)) throw NoLiteral();
    if (behind_comma && (json.ends_with("[ ") || json.ends_with("{ "))) throw NoLiteral();
    closers_.pop_back();
    json += bracket == '}' ? '}' : ']';
  }

  std::string closers_;
};

Value plain_literal(const std::string& text) {
  const Translation literal(text);
  const auto [is_known, value] = rapidjson_reading(literal.json);
  if (!is_known) throw NoOpinion();
  if (!value || !(value->is_list() || value->is_mapping())) throw NoLiteral();
  if (literal.depth > 128) throw std::invalid_argument("deep");
  return *value;
}

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
    Value literal = plain_literal(std::string(text));
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
  try {
    const std::string expected = shown(plainly_split, text);
    check(ours == expected, "list", text, ours, expected);
  } catch (const NoOpinion&) {
  }
  return 0;
}
