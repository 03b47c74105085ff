#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/literal.hpp"
#include "text/trim.hpp"
#include "tool_binding/utils/text_values.hpp"

namespace tool_binding {
namespace {

constexpr std::size_t usual_items = 64;  // commas alone make no items
constexpr std::size_t none = std::string_view::npos;

// Objects, not functions, so that searches have them inline.
constexpr auto is_bracket = [](char c) noexcept {
  return c == '[' || c == ']' || c == '{' || c == '}';
};
constexpr auto is_bracket_or_comma = [](char c) noexcept { return c == ',' || is_bracket(c); };

// The first place from `start` on of a character of that kind, or the text's size.
template <class Predicate>
std::size_t find(std::string_view text, std::size_t start, Predicate belongs) noexcept {
  const auto* const found = std::find_if(text.begin() + start, text.end(), belongs);
  return static_cast<std::size_t>(found - text.begin());
}

// The square and curly brackets of a text. A closing one pairs with the innermost open one, if that
// is of its kind. Whether two pair depends on nothing but what is between them. Most texts have
// none: they are looked for when the first is met.
class Brackets {
 public:
  explicit Brackets(std::string_view text) noexcept : text_(text) {}

  // Where the bracket at that place has its partner, or `none`. Places must not decrease from call
  // to call.
  std::size_t partner_of(std::size_t at) {
    if (brackets_.empty()) pair_up();
    skip_to(at);
    return brackets_[next_].partner;
  }
  // Whether a ']' before that place, and from the last place asked for on, has no partner.
  bool has_lone_closer_before(std::size_t end) {
    bool found = false;
    for (; next_ < brackets_.size() && brackets_[next_].at < end; ++next_) {
      found = found || (brackets_[next_].partner == none && text_[brackets_[next_].at] == ']');
    }
    return found;
  }

 private:
  struct Bracket {
    std::size_t at;
    std::size_t partner;
  };

  void pair_up() {
    std::vector<std::size_t> open;
    for (std::size_t at = find(text_, 0, is_bracket); at < text_.size();
         at = find(text_, at + 1, is_bracket)) {
      const std::size_t index = brackets_.size();
      brackets_.push_back({at, none});
      if (text_[at] == '[' || text_[at] == '{') {
        open.push_back(index);
      } else if (!open.empty() &&
                 text_[brackets_[open.back()].at] == (text_[at] == ']' ? '[' : '{')) {
        brackets_[index].partner = brackets_[open.back()].at;
        brackets_[open.back()].partner = at;
        open.pop_back();
      }
    }
  }

  void skip_to(std::size_t at) noexcept {
    while (brackets_[next_].at < at) ++next_;
  }

  std::string_view text_;
  std::vector<Bracket> brackets_;
  std::size_t next_ = 0;
};

// Splits comma-separated text. A comma inside brackets that pair up does not divide it, and a quote
// means something only where an item begins. Quotes come in runs: in a run each pair is one quote
// of the item, so only the last quote of an odd run can close it.
class CsvReader {
 public:
  explicit CsvReader(std::string_view text) : text_(trimmed(text)), brackets_(text_) {}

  List read() {
    const auto commas = std::count(text_.begin(), text_.end(), ',');
    items_.reserve(std::min(static_cast<std::size_t>(commas) + 1, usual_items));
    for (skip_space(0); next_ < text_.size(); skip_space(next_ + 1)) {  // behind the comma
      if (!read_quoted()) read_plain();
    }
    return std::move(items_);
  }

  // What the text may not have where it is what a pair of brackets encloses: the reason, or null.
  [[nodiscard]] const char* doubt() const noexcept { return doubt_; }
  // Whether a ']' outside quoted items has no '['.
  [[nodiscard]] bool has_lone_closer() const noexcept { return has_lone_closer_; }

 private:
  bool read_quoted() {
    const char quote = text_[next_];
    if (quote != '"' && quote != '\'') return false;
    const std::size_t close = closing_quote(quote);
    if (close == none) {
      doubt_ = "an item's opening quote has no closing one";
      return false;
    }
    std::string item;
    for (std::size_t i = next_ + 1; i < close; ++i) {
      item += text_[i];
      if (text_[i] == quote && text_[i + 1] == quote) ++i;
    }
    items_.emplace_back(item);
    skip_space(close + 1);
    return true;
  }

  void read_plain() {
    const std::size_t start = next_;
    if (text_[start] == '[' || text_[start] == '{') doubt_ = "an item begins with a bracket";
    skip_to_comma();
    const std::string_view item = trimmed(text_.substr(start, next_ - start));
    if (!item.empty()) items_.emplace_back(item);
  }

  void skip_to_comma() {
    while ((next_ = find(text_, next_, is_bracket_or_comma)) < text_.size()) {
      if (text_[next_] == ',') return;
      skip_bracket();
    }
  }

  // A closing bracket that is met here has no partner, or one that is set aside in quotes.
  void skip_bracket() {
    const char bracket = text_[next_];
    const bool opens = bracket == '[' || bracket == '{';
    const std::size_t partner = opens ? brackets_.partner_of(next_) : none;
    if (partner != none) {
      has_lone_closer_ = brackets_.has_lone_closer_before(partner) || has_lone_closer_;
      next_ = partner;
    } else if (bracket == ']') {
      has_lone_closer_ = true;
    } else if (bracket == '[') {
      doubt_ = "a '[' has no ']'";
    }
    ++next_;
  }

  // The place of the quote that closes the item at hand. A search that finds none before the end
  // would do so for every later item, so it is made once for each kind of quote.
  std::size_t closing_quote(char quote) {
    std::size_t run = next_ + 1;  // what follows the opening quote
    bool& in_vain = quote == '"' ? no_double_closes_ : no_single_closes_;
    do {
      const std::size_t end = std::min(text_.find_first_not_of(quote, run), text_.size());
      if ((end - run) % 2 == 1 && ends_item(end)) return end - 1;
      if (in_vain) return none;
      run = text_.find(quote, end);
    } while (run != none);
    in_vain = true;
    return none;
  }

  [[nodiscard]] bool ends_item(std::size_t place) const noexcept {
    const std::string_view behind = trimmed(text_.substr(place));
    return behind.empty() || behind.front() == ',';
  }

  // Moves to the first visible character from that place on.
  void skip_space(std::size_t place) noexcept {
    next_ = text_.size();
    if (place < text_.size()) next_ -= trimmed(text_.substr(place)).size();
  }

  std::string_view text_;  // without white space at its end
  Brackets brackets_;
  std::size_t next_ = 0;
  List items_;
  const char* doubt_ = nullptr;
  bool has_lone_closer_ = false;
  bool no_double_closes_ = false;
  bool no_single_closes_ = false;
};

[[noreturn]] void refuse(std::string_view text, const char* reason) {
  throw std::invalid_argument(display_form(text) + " is not a list: " + reason);
}

}  // namespace

List split_csv(std::string_view text) {
  const std::string_view stripped = trimmed(text);
  if (auto literal = read_literal(stripped)) {
    if (literal->is_list()) return std::move(*literal).get_list();
    refuse(stripped, "it is an object");
  }
  if (!stripped.starts_with('[')) return CsvReader(stripped).read();
  if (stripped.ends_with(']')) {
    CsvReader reader(stripped.substr(1, stripped.size() - 2));
    List items = reader.read();
    if (!reader.has_lone_closer()) {
      if (reader.doubt() != nullptr) refuse(stripped, reader.doubt());
      return items;
    }
  }
  if (Brackets(stripped).partner_of(0) == none) refuse(stripped, "its first '[' has no ']'");
  return CsvReader(stripped).read();
}

}  // namespace tool_binding
