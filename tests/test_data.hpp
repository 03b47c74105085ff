#ifndef TOOL_BINDING_TESTS_TEST_DATA_HPP_
#define TOOL_BINDING_TESTS_TEST_DATA_HPP_

// The files of test data in this directory: paragraphs of lines, where a # starts a comment.

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool_binding {

using Lines = std::vector<std::string>;

struct DataCase {
  // The lines from one on.
  [[nodiscard]] std::string text(std::size_t first = 0) const {
    std::string all;
    for (std::size_t i = first; i < lines.size(); ++i) all += (i > first ? "\n" : "") + lines[i];
    return all;
  }

  Lines section;  // the paragraph above that starts with ==, which is no case itself
  Lines lines;
};

// At least one. Throws std::ios::failure where there is no such file.
inline std::vector<DataCase> data_cases(const std::string& name) {
  std::ifstream in;
  in.exceptions(std::ios::failbit);
  in.open(TOOL_BINDING_TEST_DATA "/" + name);
  in.exceptions({});
  std::vector<DataCase> cases;
  DataCase next;
  for (std::string line; !in.eof(); line.clear()) {
    std::getline(in, line);
    if (line.starts_with('#')) continue;
    if (!line.empty()) {
      next.lines.push_back(line);
    } else if (!next.lines.empty()) {
      const bool is_section = next.lines[0].starts_with("==");
      if (is_section) next.section = next.lines;
      if (!is_section) cases.push_back(next);
      next.lines.clear();
    }
  }
  if (cases.empty()) throw std::length_error(name + " has no case");
  return cases;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_TEST_DATA_HPP_
