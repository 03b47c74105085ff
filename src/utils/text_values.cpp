#include "tool_binding/utils/text_values.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <utility>

#include "text/json_array.hpp"
#include "text/lower_case.hpp"
#include "text/trim.hpp"

namespace tool_binding {
namespace {

constexpr std::size_t deepest_array = 128;
constexpr std::size_t usual_items = 64;  // commas alone make no items

constexpr std::array<std::pair<std::string_view, bool>, 12> boolean_words = {{
    {"true", true},
    {"yes", true},
    {"on", true},
    {"1", true},
    {"y", true},
    {"t", true},
    {"false", false},
    {"no", false},
    {"off", false},
    {"0", false},
    {"n", false},
    {"f", false},
}};

// Splits comma-separated text. Quotes come in runs: in a run each pair is one quote of the item, so
// only the last quote of an odd run can close it.
class CsvReader {
 public:
  explicit CsvReader(std::string_view text) noexcept : rest_(trimmed(text)) {}

  List read() {
    const auto commas = std::count(rest_.begin(), rest_.end(), ',');
    items_.reserve(std::min(static_cast<std::size_t>(commas) + 1, usual_items));
    while (!rest_.empty()) {
      if (!read_quoted()) read_plain();
      if (!rest_.empty()) rest_.remove_prefix(1);  // the comma
      rest_ = trimmed(rest_);
    }
    return std::move(items_);
  }

 private:
  bool read_quoted() {
    const char quote = rest_.front();
    if (quote != '"' && quote != '\'') return false;
    const std::size_t close = closing_quote(quote);
    if (close == rest_.npos) return false;
    std::string item;
    for (std::size_t i = 1; i < close; ++i) {
      item += rest_[i];
      if (rest_[i] == quote && rest_[i + 1] == quote) ++i;
    }
    items_.emplace_back(item);
    rest_ = trimmed(rest_.substr(close + 1));
    return true;
  }

  void read_plain() {
    const std::size_t comma = std::min(rest_.find(','), rest_.size());
    const std::string_view item = trimmed(rest_.substr(0, comma));
    if (!item.empty()) items_.emplace_back(item);
    rest_.remove_prefix(comma);
  }

  // The place of the quote that closes the item at hand. A search that reaches the end in vain
  // would do so for every later item, so it is made once for each kind of quote.
  std::size_t closing_quote(char quote) {
    std::size_t run = 1;  // what follows the opening quote
    bool& in_vain = quote == '"' ? no_double_closes_ : no_single_closes_;
    do {
      const std::size_t end = std::min(rest_.find_first_not_of(quote, run), rest_.size());
      if ((end - run) % 2 == 1 && ends_item(end)) return end - 1;
      if (in_vain) return rest_.npos;
      run = rest_.find(quote, end);
    } while (run != rest_.npos);
    in_vain = true;
    return rest_.npos;
  }

  [[nodiscard]] bool ends_item(std::size_t position) const noexcept {
    const std::string_view behind = trimmed(rest_.substr(position));
    return behind.empty() || behind.front() == ',';
  }

  std::string_view rest_;
  List items_;
  bool no_double_closes_ = false;
  bool no_single_closes_ = false;
};

}  // namespace

bool parse_bool(std::string_view text) {
  const auto row_of = [](std::string_view word) {
    return std::find_if(boolean_words.begin(), boolean_words.end(),
                        [word](const auto& known) { return known.first == word; });
  };
  auto row = row_of(text);  // as most write it
  if (row == boolean_words.end()) row = row_of(lower_cased(trimmed(text)));
  if (row == boolean_words.end()) {
    throw std::invalid_argument(display_form(text) + " is neither true nor false");
  }
  return row->second;
}

List split_csv(std::string_view text) {
  const std::string_view stripped = trimmed(text);
  if (stripped.size() < 2 || !stripped.starts_with('[') || !stripped.ends_with(']')) {
    return CsvReader(stripped).read();
  }
  if (auto array = read_json_array(stripped)) {
    if (array->depth <= deepest_array) return std::move(array->items);
    throw std::invalid_argument("a list is nested deeper than 128");
  }
  return CsvReader(stripped.substr(1, stripped.size() - 2)).read();
}

}  // namespace tool_binding
