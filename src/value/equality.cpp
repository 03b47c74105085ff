#include <algorithm>
#include <functional>

#include "value/nodes.hpp"

namespace tool_binding {

bool Value::equal_leaves(const Value& left, const Value& right) noexcept {
  if (left.tag() != right.tag()) return false;
  switch (left.tag()) {
    case Tag::float_:
      return left.get_float() == right.get_float();
    case Tag::big_integer:
    case Tag::heap_text:
      return left.heap_text() == right.heap_text();
    case Tag::object:
      return left.get_object() == right.get_object();
    default:
      return same_bytes(left, right);
  }
}

bool Value::equal(const Value& left, const Value& right) {
  struct Pair {
    const Value* left;
    const Value* right;
  };
  std::vector<Pair> waiting;
  const auto differ = [&waiting](const Value& a, const Value& b) {
    if (a.container() == nullptr || b.container() == nullptr) return !equal_leaves(a, b);
    waiting.push_back({&a, &b});
    return false;
  };
  if (differ(left, right)) return false;
  while (!waiting.empty()) {
    const auto [a, b] = waiting.back();
    waiting.pop_back();
    if (a->tag() != b->tag()) return false;
    if (const List* items = a->if_list()) {
      if (!std::equal(items->begin(), items->end(), b->get_list().begin(), b->get_list().end(),
                      std::not_fn(differ))) {
        return false;
      }
      continue;
    }
    const auto entries_agree = [&differ](const Mapping::Entry& x, const Mapping::Entry& y) {
      return equal_leaves(x.key_, y.key_) && !differ(x.value, y.value);
    };
    if (!std::equal(a->get_mapping().begin(), a->get_mapping().end(), b->get_mapping().begin(),
                    b->get_mapping().end(), entries_agree)) {
      return false;
    }
  }
  return true;
}

}  // namespace tool_binding
