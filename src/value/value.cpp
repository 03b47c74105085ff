#include "tool_binding/value.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <new>

#include "value/nodes.hpp"

namespace tool_binding {

TypeError::~TypeError() = default;
Object::~Object() = default;

std::string_view kind_name(Kind kind) noexcept {
  constexpr std::array<std::string_view, 8> names = {"none", "boolean", "integer", "float",
                                                     "text", "list",    "mapping", "object"};
  return names[static_cast<std::size_t>(kind)];
}

// Construction.

Value::Value(const Integer& integer) {
  if (integer.fits_int64()) {
    set_payload(Tag::small_integer, integer.int64());
  } else {
    set_heap_text(Tag::big_integer, integer.digits());
  }
}

Value::Value(List items) { set_payload(Tag::list, new ListNode(std::move(items))); }

Value::Value(Mapping mapping) { set_payload(Tag::mapping, new MappingNode(std::move(mapping))); }

Value::Value(std::shared_ptr<Object> object) {
  if (object == nullptr) throw std::invalid_argument("a value cannot hold a null object");
  set_payload(Tag::object, new std::shared_ptr<Object>(std::move(object)));
}

Value Value::integer_of(std::string_view decimal) {
  const bool negative = decimal.starts_with('-');
  std::string_view digits = decimal.substr(negative ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) {
    throw std::invalid_argument("not a decimal integer");
  }
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
  if (digits.size() < std::numeric_limits<std::int64_t>::digits10 + 2) {
    const std::string text = (negative ? "-" : "") + std::string(digits);
    std::int64_t small = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), small).ec == std::errc()) {
      return small;
    }
  }
  Value value;
  const std::size_t sign = negative ? 1 : 0;
  if (sign == 1 && digits.data() - decimal.data() > 1) {
    value.set_heap_text(Tag::big_integer, "-" + std::string(digits));
  } else {
    value.set_heap_text(Tag::big_integer, {digits.data() - sign, digits.size() + sign});
  }
  return value;
}

void Value::set_heap_text(Tag tag, std::string_view text) {
  auto* heap = new (::operator new(sizeof(HeapText) + text.size())) HeapText{text.size()};
  std::memcpy(heap->bytes(), text.data(), text.size());
  set_payload(tag, heap);
}

// Access.

void Value::throw_wrong_kind(Kind wanted) const {
  throw TypeError("expected a value of kind " + std::string(kind_name(wanted)) + ", not " +
                  std::string(kind_name(kind())));
}

std::int64_t Value::as_int64() const {
  if (!as_integer().fits_int64()) throw std::overflow_error("the integer needs more than 64 bits");
  return get_int64();
}

std::string_view Value::heap_text() const noexcept {
  auto* heap = payload<HeapText*>();
  return {heap->bytes(), heap->size};
}

Value::Container* Value::container() const noexcept {
  if (tag() == Tag::list) return payload<ListNode*>();
  if (tag() == Tag::mapping) return payload<MappingNode*>();
  return nullptr;
}

const List& Value::get_list() const& noexcept {
  assert(is_list());
  return payload<ListNode*>()->items;
}
List& Value::get_list() & noexcept {
  assert(is_list());
  return payload<ListNode*>()->items;
}
List Value::get_list() && noexcept { return std::move(get_list()); }
List Value::as_list() && { return std::move(as_list()); }

const Mapping& Value::get_mapping() const& noexcept {
  assert(is_mapping());
  return payload<MappingNode*>()->mapping;
}
Mapping& Value::get_mapping() & noexcept {
  assert(is_mapping());
  return payload<MappingNode*>()->mapping;
}
Mapping Value::get_mapping() && noexcept { return std::move(get_mapping()); }
Mapping Value::as_mapping() && { return std::move(as_mapping()); }

const std::shared_ptr<Object>& Value::get_object() const noexcept {
  assert(is_object());
  return *payload<std::shared_ptr<Object>*>();
}

}  // namespace tool_binding
