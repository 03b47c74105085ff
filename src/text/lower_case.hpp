#ifndef TOOL_BINDING_SRC_TEXT_LOWER_CASE_HPP_
#define TOOL_BINDING_SRC_TEXT_LOWER_CASE_HPP_

// The lower case of a text, the same in every language and locale.

#include <string>
#include <string_view>

namespace tool_binding {

// The default full lower-case mapping of Unicode. U+0130 becomes "i" and U+0307. A capital sigma
// becomes the final one (U+03C2) when, case-ignorable characters passed over, the character before
// it is cased and the one after it is not. This is not case folding: the sharp s stays as it is.
// Stray bytes stay as they are, and end a word.
//   lower_cased("\u039f\u03a3 A") == "\u03bf\u03c2 a"
//
// Cost: linear in the bytes, whatever is around sigmas; the result may be longer than the text.
[[nodiscard]] std::string lower_cased(std::string_view text);

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_TEXT_LOWER_CASE_HPP_
