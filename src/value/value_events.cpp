#include "tool_binding/value_events.hpp"

#include <cassert>

namespace tool_binding {

void ValueBuilder::begin_list() { open(Value(List())); }

void ValueBuilder::begin_mapping() { open(Value(Mapping())); }

void ValueBuilder::begin_list(const List& list) {
  begin_list();
  open_.back()->get_list().reserve(list.size());
}

void ValueBuilder::begin_mapping(const Mapping& mapping) {
  begin_mapping();
  open_.back()->get_mapping().reserve(mapping.size());
}

void ValueBuilder::key(Value key) {
  assert(!open_.empty() && open_.back()->is_mapping() && "a key belongs into a mapping");
  assert(slot_ == nullptr && "the last key has no value yet");
  slot_ = &open_.back()->get_mapping().set(std::move(key), Value());
}

void ValueBuilder::leaf(Value value) { place(std::move(value)); }

void ValueBuilder::end_list() {
  assert(!open_.empty() && open_.back()->is_list() && "no list was begun last");
  open_.pop_back();
}

void ValueBuilder::end_mapping() {
  assert(!open_.empty() && open_.back()->is_mapping() && "no mapping was begun last");
  assert(slot_ == nullptr && "the last key has no value");
  open_.pop_back();
}

void ValueBuilder::open(Value container) { open_.push_back(&place(std::move(container))); }

Value& ValueBuilder::place(Value value) {
  if (open_.empty()) {
    assert(!has_root_ && "a second value before take()");
    has_root_ = true;
    return root_ = std::move(value);
  }
  if (List* items = open_.back()->if_list()) return items->emplace_back(std::move(value));
  assert(slot_ != nullptr && "in a mapping a key comes before its value");
  return *std::exchange(slot_, nullptr) = std::move(value);
}

Value ValueBuilder::take() noexcept {
  open_.clear();
  slot_ = nullptr;
  has_root_ = false;
  return std::exchange(root_, Value());
}

}  // namespace tool_binding
