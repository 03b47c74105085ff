#include "tool_binding/value.hpp"

#include <algorithm>
#include <string>

#include "tool_binding/value_events.hpp"

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

#ifdef LISTS_IN_BRACES  // no matching
const List list{List{1}, List{2}};
#endif

#ifdef SORTED_MAPPING  // deleted
void sort(Mapping& mapping) {
  std::sort(mapping.begin(), mapping.end(),
            [](const Mapping::Entry&, const Mapping::Entry&) { return false; });
}
#endif

#ifdef RENAMED_ENTRY  // discards qualifiers|no viable overloaded '='
void rename(Mapping& mapping) {
  for (auto& [name, value] : mapping) name = "renamed";
}
#endif

#ifdef EVENTS_WITHOUT_LEAF  // ValueEvents
struct Events {
  void begin_list(const List&) {}
};
void visit(const Value& value, Events& events) { visit_events(value, events); }
#endif
