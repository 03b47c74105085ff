// Lists in text against a plain splitter, JSON arrays in text against the JSON adapter.

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/utils/text_values.hpp"

namespace tool_binding {
namespace {

// The item that opens with a quote at the front, which is then removed together with it.
std::optional<std::string> take_quoted(std::string_view& text) {
  const char quote = text.front();
  std::string item;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == quote && text.substr(i + 1).starts_with(quote)) {
      ++i;
    } else if (text[i] == quote) {
      const std::string_view behind = plainly_trimmed(text.substr(i + 1));
      if (behind.empty() || behind.front() == ',') {
        text = behind;
        return item;
      }
    }
    item += text[i];
  }
  return std::nullopt;
}

List plain_items(std::string_view text) {
  List items;
  while (!(text = plainly_trimmed(text)).empty()) {
    const bool opens = text.front() == '"' || text.front() == '\'';
    if (const auto quoted = opens ? take_quoted(text) : std::nullopt) {
      items.emplace_back(*quoted);
    } else {
      const std::size_t comma = std::min(text.find(','), text.size());
      const std::string_view item = plainly_trimmed(text.substr(0, comma));
      if (!item.empty()) items.emplace_back(item);
      text.remove_prefix(comma);
    }
    if (!text.empty()) text.remove_prefix(1);
  }
  return items;
}

// Empty for what the adapter does not read: a number beyond the floats.
std::string plainly_split(std::string_view text) {
  text = plainly_trimmed(text);
  if (text.size() < 2 || text.front() != '[' || text.back() != ']') {
    return display_form(plain_items(text));
  }
  try {
    return display_form(parse_json(text));
  } catch (const JsonError& error) {
    if (std::string(error.what()).find("beyond the range") != std::string::npos) return "";
    return display_form(plain_items(text.substr(1, text.size() - 2)));
  }
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  const std::string_view text = Bytes(data, size).take_rest();
  try {
    const std::string shown = display_form(split_csv(text));
    const std::string expected = plainly_split(text);
    check(expected.empty() || shown == expected, "list", text, shown, expected);
  } catch (const std::invalid_argument&) {
    const auto opened =
        std::count(text.begin(), text.end(), '[') + std::count(text.begin(), text.end(), '{');
    check(opened > 128, "nested too deep", text);
  }
  return 0;
}
