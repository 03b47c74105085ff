#ifndef TOOL_BINDING_FUZZ_CHECK_HPP_
#define TOOL_BINDING_FUZZ_CHECK_HPP_

// What the fuzz targets share: ending at a difference, and the plainest text reading.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tool_binding/value.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tool_binding {

// Ends the process, showing what it is about, unless the condition holds.
template <class... About>
void check(bool holds, const char* what, const About&... about) {
  if (holds) return;
  std::fprintf(stderr, "fuzz check failed: %s\n", what);
  (std::fprintf(stderr, "  %s\n", text_form(about).c_str()), ...);
  std::abort();
}

// The text without white space at its ends: the 29 characters, one by one.
inline std::string_view plainly_trimmed(std::string_view text) {
  constexpr std::string_view spaces[] = {"\x09",   "\x0a",   "\x0b",   "\x0c",   "\x0d",   "\x1c",
                                         "\x1d",   "\x1e",   "\x1f",   " ",      "\u0085", "\u00a0",
                                         "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
                                         "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200a",
                                         "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"};
  for (bool found = true; found;) {
    found = false;
    for (const std::string_view space : spaces) {
      const bool before = text.starts_with(space);
      if (before) text.remove_prefix(space.size());
      const bool behind = text.ends_with(space);
      if (behind) text.remove_suffix(space.size());
      found = found || before || behind;
    }
  }
  return text;
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_FUZZ_CHECK_HPP_
