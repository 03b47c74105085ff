#ifndef TOOL_BINDING_VALUE_EVENTS_HPP_
#define TOOL_BINDING_VALUE_EVENTS_HPP_

// A Value as a sequence of events, and back: what a reader or writer of a data format needs.
//
//   ValueBuilder builder;
//   visit_events(value, builder);   // the events of a value build an equal value
//   builder.take() == value
//
// Neither direction recurses, however deep a value is nested. Both take linear time, and memory of
// their own only for the lists and mappings around the current value.
//
// Threads: a builder is used by one thread at a time; a value may be walked by several at once.

#include <cstddef>
#include <vector>

#include "tool_binding/export.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// What visit_events calls; what the calls return is ignored.
//
//   begin_list(const List&), its items, end_list()
//   begin_mapping(const Mapping&), key(const Value&) before each value, end_mapping()
//   leaf(const Value&) for every other kind
//
// The references are to what is walked, and valid as long as it is. A class that lacks a call does
// not compile where it is used, with the call that is missing in the compiler's message.
template <class Events>
concept ValueEvents = requires(Events& events, const List& list, const Mapping& mapping,
                               const Value& value) {
  events.begin_list(list);
  events.end_list();
  events.begin_mapping(mapping);
  events.key(value);
  events.end_mapping();
  events.leaf(value);
};

// Calls `events` for `root` (a Value, a List or a Mapping) and all that it holds, in order. An
// exception from a call ends the walk and passes through. Nothing may change `root` meanwhile.
//
//   struct CountTexts {
//     void begin_list(const List&) {}
//     void end_list() {}
//     void begin_mapping(const Mapping&) {}
//     void key(const Value&) {}
//     void end_mapping() {}
//     void leaf(const Value& value) { texts += value.is_text() ? 1 : 0; }
//     int texts = 0;
//   };
//   CountTexts count;
//   visit_events(List{"a", 1, Mapping{{"k", "b"}}}, count);
//   count.texts == 2
template <class Root, ValueEvents Events>
void visit_events(const Root& root, Events& events);

// Builds one value from events in their order. A repeated key takes the later value and keeps its
// first position. Cost: linear in the events; what is built is never copied.
//
//   ValueBuilder builder;
//   builder.begin_mapping();
//   builder.key("ids");
//   builder.begin_list();
//   builder.leaf(1);
//   builder.end_list();
//   builder.end_mapping();
//   display_form(builder.take()) == "{'ids': [1]}"
//
// Preconditions, asserted in debug builds: in a mapping each value has a key before it, and nothing
// else has; what ends is what was begun last; there is one value until take().
// After a call that throws std::bad_alloc the builder can only be destroyed.
class TOOL_BINDING_EXPORT ValueBuilder {
 public:
  ValueBuilder() noexcept = default;
  // Not copied or moved: it points into the value that it builds.
  ValueBuilder(const ValueBuilder&) = delete;
  ValueBuilder& operator=(const ValueBuilder&) = delete;

  void begin_list();
  void end_list();
  void begin_mapping();
  // Throws TypeError when the key is a list or a mapping; the builder goes on as if it had not been
  // called.
  void key(Value key);
  void end_mapping();
  void leaf(Value value);

  // The forms that visit_events calls: they make room for as many items or names, and copy none.
  void begin_list(const List& list);
  void begin_mapping(const Mapping& mapping);

  // How many lists and mappings are open.
  [[nodiscard]] std::size_t depth() const noexcept { return open_.size(); }
  // The built value, none before any event; whatever is open ends here. The builder is then as new.
  // Cost: constant.
  //
  //   builder.begin_list();
  //   builder.leaf(1);
  //   builder.take() == Value(List{1})   // although end_list() never came
  //   builder.take().is_none()
  [[nodiscard]] Value take() noexcept;

 private:
  Value& place(Value value);
  void open(Value container);

  Value root_;
  // Only the innermost container grows, so the addresses of those around it hold.
  std::vector<Value*> open_;
  Value* slot_ = nullptr;  // where the value of the last key belongs
  bool has_root_ = false;
};

}  // namespace tool_binding

#include "tool_binding/detail/value_events.hpp"

#endif  // TOOL_BINDING_VALUE_EVENTS_HPP_
