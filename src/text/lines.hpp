#ifndef TOOL_BINDING_SRC_TEXT_LINES_HPP_
#define TOOL_BINDING_SRC_TEXT_LINES_HPP_

// Putting messages together: one allocation each, linear in their size.

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tool_binding {

[[nodiscard]] inline std::string line_of(std::initializer_list<std::string_view> pieces) {
  std::size_t size = 0;
  for (const std::string_view piece : pieces) size += piece.size();
  std::string line;
  line.reserve(size);
  for (const std::string_view piece : pieces) line += piece;
  return line;
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
