#include <new>

#include "value/nodes.hpp"

namespace tool_binding {

// Copying and destroying values of any depth, without recursion.

// What is still to be copied waits in a list.

void Value::copy_leaf(const Value& other) {
  bytes_ = {};
  switch (other.tag()) {
    case Tag::big_integer:
    case Tag::heap_text:
      return set_heap_text(other.tag(), other.heap_text());
    case Tag::object:
      return set_payload(Tag::object, new std::shared_ptr<Object>(other.get_object()));
    default:
      bytes_ = other.bytes_;
  }
}

void Value::copy_heap(const Value& other) {
  struct Copy {
    const Value* from;
    Value* to;
  };
  bytes_ = {};
  if (other.container() == nullptr) return copy_leaf(other);
  // Should memory run out, `root` destroys what is there so far.
  Value root;
  std::vector<Copy> waiting;
  const auto copy = [&waiting](const Value& from, Value& to) {
    if (from.container() == nullptr) {
      to.copy_leaf(from);
    } else {
      waiting.push_back({&from, &to});
    }
  };
  Copy next = {&other, &root};
  for (;;) {
    if (const List* items = next.from->if_list()) {
      *next.to = Value(List(items->size()));
      List& copies = next.to->get_list();
      for (std::size_t i = 0; i < items->size(); ++i) copy((*items)[i], copies[i]);
    } else {
      const Mapping& mapping = next.from->get_mapping();
      *next.to = Value(Mapping());
      Mapping& copied = next.to->get_mapping();
      copied.index_ = mapping.index_;
      copied.entries_.reserve(mapping.size());
      for (const Mapping::Entry& entry : mapping) {
        copy(entry.value, copied.entries_.emplace_back(entry.key_, Value()).value);
      }
    }
    if (waiting.empty()) break;
    next = waiting.back();
    waiting.pop_back();
  }
  bytes_ = std::exchange(root.bytes_, {});
}

// Destruction.

void Value::release_heap() noexcept {
  switch (tag()) {
    case Tag::big_integer:
    case Tag::heap_text:
      ::operator delete(payload<HeapText*>());
      break;
    case Tag::object:
      delete payload<std::shared_ptr<Object>*>();
      break;
    default:
      release_containers(container());
  }
}

void Value::release_containers(Container* first) noexcept {
  Container* waiting = first;
  const auto detach = [&waiting](Value& value) {
    Container* inner = value.container();
    if (inner == nullptr) return;
    value.bytes_ = {};
    inner->next = waiting;
    waiting = inner;
  };
  while (waiting != nullptr) {
    Container* container = std::exchange(waiting, waiting->next);
    if (container->is_list) {
      auto* node = static_cast<ListNode*>(container);
      for (Value& item : node->items) detach(item);
      delete node;
    } else {
      auto* node = static_cast<MappingNode*>(container);
      for (Mapping::Entry& entry : node->mapping) detach(entry.value);
      delete node;
    }
  }
}

}  // namespace tool_binding
