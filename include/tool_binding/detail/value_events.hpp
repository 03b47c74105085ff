#ifndef TOOL_BINDING_DETAIL_VALUE_EVENTS_HPP_
#define TOOL_BINDING_DETAIL_VALUE_EVENTS_HPP_

// The bodies of value_events.hpp. Private: include that one.

#include <cstddef>
#include <vector>

#include "tool_binding/value_events.hpp"

namespace tool_binding {

namespace detail {

// The containers that are open, outermost first, each with the position of its next item. enter()
// calls `events` for a leaf at once and opens a container; finish() walks all that is open to its
// end.
template <ValueEvents Events>
class EventWalk {
 public:
  explicit EventWalk(Events& events) noexcept : events_(events) {}

  void enter(const Value& value) {
    if (const List* list = value.if_list()) {
      enter(*list);
    } else if (const Mapping* mapping = value.if_mapping()) {
      enter(*mapping);
    } else {
      static_cast<void>(events_.leaf(value));
    }
  }
  void enter(const List& list) {
    static_cast<void>(events_.begin_list(list));
    open({&list, nullptr});
  }
  void enter(const Mapping& mapping) {
    static_cast<void>(events_.begin_mapping(mapping));
    open({nullptr, &mapping});
  }
  void finish() {
    while (!open_.empty()) open_.back().list != nullptr ? step_in_list() : step_in_mapping();
  }

 private:
  struct Open {
    const List* list;
    const Mapping* mapping;
    std::size_t next = 0;
  };

  // Few values are nested deeper than this, and most that are not leaves need one allocation.
  static constexpr std::size_t usual_depth = 8;

  void open(Open container) {
    if (open_.empty()) open_.reserve(usual_depth);
    open_.push_back(container);
  }

  void step_in_list() {
    Open& open = open_.back();
    if (open.next < open.list->size()) return enter((*open.list)[open.next++]);
    open_.pop_back();
    static_cast<void>(events_.end_list());
  }
  void step_in_mapping() {
    Open& open = open_.back();
    if (open.next < open.mapping->size()) {
      const auto& entry = *(open.mapping->begin() + static_cast<std::ptrdiff_t>(open.next++));
      static_cast<void>(events_.key(entry.key()));
      return enter(entry.value);
    }
    open_.pop_back();
    static_cast<void>(events_.end_mapping());
  }

  Events& events_;
  std::vector<Open> open_;
};

}  // namespace detail

template <class Root, ValueEvents Events>
void visit_events(const Root& root, Events& events) {
  detail::EventWalk<Events> walk(events);
  walk.enter(root);
  walk.finish();
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_DETAIL_VALUE_EVENTS_HPP_
