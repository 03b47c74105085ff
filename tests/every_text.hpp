#ifndef TOOL_BINDING_TESTS_EVERY_TEXT_HPP_
#define TOOL_BINDING_TESTS_EVERY_TEXT_HPP_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace tool_binding {

// Calls `visit` with every text of up to `length` of the pieces, shorter ones first, until a test
// fails.
template <class Pieces, class Visit>
void for_every_text(const Pieces& pieces, int length, const Visit& visit) {
  std::vector<std::string> texts = {""};
  std::size_t begin = 0;
  for (int of = 0; of <= length; ++of) {
    const std::size_t end = texts.size();
    for (std::size_t i = begin; i < end && !testing::Test::HasFailure(); ++i) {
      visit(texts[i]);
      for (std::size_t j = 0; of < length && j < std::size(pieces); ++j) {
        texts.push_back(texts[i]);
        texts.back() += pieces[j];
      }
    }
    begin = end;
  }
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_EVERY_TEXT_HPP_
