#ifndef TOOL_BINDING_TESTS_PRINT_VALUES_HPP_
#define TOOL_BINDING_TESTS_PRINT_VALUES_HPP_

// How a failing test shows a value.

#include <ostream>

#include "tool_binding/value.hpp"

namespace tool_binding {

inline void PrintTo(const Value& value, std::ostream* out) { *out << display_form(value); }
inline void PrintTo(const Mapping& mapping, std::ostream* out) { *out << display_form(mapping); }

}  // namespace tool_binding

#endif  // TOOL_BINDING_TESTS_PRINT_VALUES_HPP_
