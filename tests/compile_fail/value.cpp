#include "tool_binding/value.hpp"

#include <string>

using namespace tool_binding;

#ifdef FROM_A_POINTER  // deleted
const int number = 1;
const Value value = &number;
#endif

#ifdef FROM_A_CHARACTER  // conversion from
const Value value = 'a';
#endif

#ifdef TO_TEXT  // conversion from
const std::string text = Value("a");
#endif
