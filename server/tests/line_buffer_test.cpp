#include "line_buffer.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace tool_binding {
namespace {

// However the bytes arrive, the lines are the same.
TEST(LineBuffer, CutsLinesWhateverTheReadsAre) {
  const std::string input = "one\n\ntoo long for it\r\n12345678\n123456789\nlast";
  const std::vector<std::string> lines = {"one", "", "TOO LONG", "12345678", "TOO LONG", "last"};
  for (std::size_t step = 1; step <= input.size(); ++step) {
    LineBuffer buffer(8);
    std::vector<std::string> found;
    const auto take = [&](const LineBuffer::Line& line) {
      found.emplace_back(line.is_too_long ? "TOO LONG" : line.text);
    };
    for (std::size_t i = 0; i < input.size(); i += step) {
      buffer.append(std::string_view(input).substr(i, step));
      while (const auto line = buffer.next()) take(*line);
    }
    if (const auto line = buffer.rest()) take(*line);
    EXPECT_EQ(found, lines) << "read by " << step;
  }
}

}  // namespace
}  // namespace tool_binding
