#include "unicode/tables.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tool_binding {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

struct LowerRange {
  char32_t first;
  char32_t last;
  char32_t step;
  std::int32_t delta;
};

#include "unicode/tables.inc"

constexpr Range white_space[] = {
    {0x0085, 0x0085}, {0x00A0, 0x00A0}, {0x1680, 0x1680}, {0x2000, 0x200A},
    {0x2028, 0x2029}, {0x202F, 0x202F}, {0x205F, 0x205F}, {0x3000, 0x3000},
};

// The row whose range holds the code point, or null.
template <typename Row, std::size_t size>
const Row* find_row(const Row (&rows)[size], char32_t code_point) noexcept {
  const Row* end = rows + size;
  const Row* row = std::lower_bound(
      rows, end, code_point, [](const Row& each, char32_t wanted) { return each.last < wanted; });
  return row != end && row->first <= code_point ? row : nullptr;
}

}  // namespace

std::string_view unicode_version() noexcept { return data_version; }

namespace beyond_ascii {

bool is_white_space(char32_t code_point) noexcept {
  return find_row(white_space, code_point) != nullptr;
}

bool is_printable(char32_t code_point) noexcept {
  return find_row(printable, code_point) != nullptr;
}

int decimal_digit_value(char32_t code_point) noexcept {
  const Range* row = find_row(decimal_digits, code_point);
  return row == nullptr ? -1 : static_cast<int>((code_point - row->first) % 10);
}

char32_t lower_case_of(char32_t code_point) noexcept {
  const LowerRange* row = find_row(lower_case, code_point);
  if (row == nullptr || (code_point - row->first) % row->step != 0) return code_point;
  return code_point + static_cast<char32_t>(row->delta);
}

bool is_cased(char32_t code_point) noexcept { return find_row(cased, code_point) != nullptr; }

bool is_case_ignorable(char32_t code_point) noexcept {
  return find_row(case_ignorable, code_point) != nullptr;
}

}  // namespace beyond_ascii
}  // namespace tool_binding
