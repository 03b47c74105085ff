#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "text/lower_case.hpp"
#include "text/trim.hpp"
#include "tool_binding/utils/text_values.hpp"

namespace tool_binding {
namespace {

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

}  // namespace tool_binding
