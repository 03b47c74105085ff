#ifndef TOOL_BINDING_SRC_TEXT_LINES_HPP_
#define TOOL_BINDING_SRC_TEXT_LINES_HPP_

// Putting messages together: one allocation each, linear in their size.

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tool_binding {

using Pieces = std::initializer_list<std::string_view>;

inline void append(std::string& text, Pieces pieces) {
  std::size_t end = text.size();
  std::size_t size = end;
  for (const std::string_view piece : pieces) size += piece.size();
  text.resize(size);
  for (const std::string_view piece : pieces) end += piece.copy(text.data() + end, piece.size());
}

[[nodiscard]] inline std::string line_of(Pieces pieces) {
  std::string line;
  append(line, pieces);
  return line;
}

// Adds a line to those in `lines`, separated by "; ".
inline void add_line(std::string& lines, Pieces pieces) {
  constexpr std::size_t usual_size = 400;
  if (lines.empty()) {
    lines.reserve(usual_size);
  } else {
    lines += "; ";
  }
  append(lines, pieces);
}

[[nodiscard]] inline std::string joined(const std::vector<std::string>& texts,
                                        std::string_view separator) {
  std::size_t size = 0;
  for (const std::string& text : texts) size += text.size() + separator.size();
  std::string all;
  all.reserve(size);
  for (const std::string& text : texts) {
    if (&text != &texts.front()) all += separator;
    all += text;
  }
  return all;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_LINES_HPP_
