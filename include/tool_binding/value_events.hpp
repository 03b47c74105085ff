#ifndef TOOL_BINDING_VALUE_EVENTS_HPP_
#define TOOL_BINDING_VALUE_EVENTS_HPP_

// A Value as a sequence of events, and back: what a reader or writer of a data format needs.
//
//   ValueBuilder builder;
//   visit_events(value, builder);   // the events that visit_events makes build an equal value
//   builder.take() == value
//
// Neither direction uses the stack, however deep a value is nested. Both take linear time.

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Calls `events` for `root` and all that stands in it, in order:
//   begin_list(const List&), its items, end_list();
//   begin_mapping(const Mapping&), key(const Value&) before each value, end_mapping();
//   leaf(const Value&) for every other kind.
template <class Events>
void visit_events(const Value& root, Events& events) {
  struct Open {
    const Value* container;
    std::size_t next;
  };
  std::vector<Open> open;
  const auto enter = [&](const Value& value) {
    if (const List* list = value.if_list()) {
      events.begin_list(*list);
    } else if (const Mapping* mapping = value.if_mapping()) {
      events.begin_mapping(*mapping);
    } else {
      return events.leaf(value);
    }
    open.push_back({&value, 0});
  };
  enter(root);
  while (!open.empty()) {
    const Value& container = *open.back().container;
    const std::size_t next = open.back().next++;
    if (const List* list = container.if_list()) {
      if (next < list->size()) {
        enter((*list)[next]);
      } else {
        open.pop_back();
        events.end_list();
      }
      continue;
    }
    const Mapping& mapping = container.get_mapping();
    if (next < mapping.size()) {
      const Mapping::Entry& entry = *(mapping.begin() + static_cast<std::ptrdiff_t>(next));
      events.key(entry.key());
      enter(entry.value);
    } else {
      open.pop_back();
      events.end_mapping();
    }
  }
}

// Builds one value from events in their order. In a mapping, each value is preceded by its key; a
// repeated key takes the later value and keeps its first position.
class TOOL_BINDING_EXPORT ValueBuilder {
 public:
  void begin_list() { open(Value(List())); }
  void begin_mapping();
  void key(Value key);
  void leaf(Value value) { place(std::move(value)); }
  void end_list() { open_.pop_back(); }
  void end_mapping() { open_.pop_back(); }

  // The forms that visit_events calls.
  void begin_list(const List& list);
  void begin_mapping(const Mapping& mapping);

  // How many lists and mappings are open.
  [[nodiscard]] std::size_t depth() const noexcept { return open_.size(); }
  // The built value, none before any event. The builder is then as new.
  [[nodiscard]] Value take() noexcept;

 private:
  Value& place(Value value);
  void open(Value container) { open_.push_back(&place(std::move(container))); }

  Value root_;
  // Only the innermost container grows, so the addresses of those around it hold.
  std::vector<Value*> open_;
  Value* slot_ = nullptr;  // where the value of the last key belongs
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_VALUE_EVENTS_HPP_
