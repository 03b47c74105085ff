#include "tool_binding/value.hpp"

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <new>

#include "tool_binding/value_events.hpp"
#include "unicode/tables.hpp"
#include "unicode/utf8.hpp"
#include "value/mapping_access.hpp"
#include "value/name_hash.hpp"
#include "value/numbers.hpp"

namespace tool_binding {

// What a value points to when its content does not stand in it.

// A text or the digits of an integer, the bytes right behind the header.
struct HeapText {
  std::size_t size;

  [[nodiscard]] char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
};

// Containers that wait for their destruction are strung together by `next`, so that destroying
// needs neither stack nor memory.
struct Value::Container {
  Container* next = nullptr;
  bool is_list;
};
struct Value::ListNode : Container {
  explicit ListNode(List list) noexcept : Container{nullptr, true}, items(std::move(list)) {}
  List items;
};
struct Value::MappingNode : Container {
  explicit MappingNode(Mapping m) noexcept : Container{nullptr, false}, mapping(std::move(m)) {}
  Mapping mapping;
};

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

const List& Value::get_list() const noexcept { return payload<ListNode*>()->items; }
List& Value::get_list() noexcept { return payload<ListNode*>()->items; }
const Mapping& Value::get_mapping() const noexcept { return payload<MappingNode*>()->mapping; }
Mapping& Value::get_mapping() noexcept { return payload<MappingNode*>()->mapping; }

const std::shared_ptr<Object>& Value::get_object() const noexcept {
  return *payload<std::shared_ptr<Object>*>();
}

// Copying: what is still to be copied waits in a list of its own, not on the stack.

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
  // Should memory run out, `root` takes down what stands so far.
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

// Comparison.

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

// Mapping.

Mapping::Mapping(std::initializer_list<std::pair<std::string_view, Value>> entries) {
  reserve(entries.size());
  for (const auto& [name, value] : entries) set(name, value);
}

template <class Hash, class Matches>
const Value* Mapping::find_if(const Hash& hash, const Matches& matches) const noexcept {
  if (index_.empty()) {
    for (const Entry& entry : entries_) {
      if (matches(entry.key_)) return &entry.value;
    }
    return nullptr;
  }
  const std::size_t mask = index_.size() - 1;
  for (std::size_t slot = hash() & mask; index_[slot] != 0; slot = (slot + 1) & mask) {
    const Entry& entry = entries_[index_[slot] - 1];
    if (matches(entry.key_)) return &entry.value;
  }
  return nullptr;
}

void Mapping::reserve(std::size_t count) {
  entries_.reserve(count);
  if (count > scan_limit && count * 2 > index_.size()) rebuild_index(count);
}

const Value* Mapping::find(std::string_view name) const noexcept {
  if (name.size() <= Value::inline_capacity) return MappingAccess::find(*this, Value(name));
  return find_if([name] { return name_hash(name); },
                 [name](const Value& key) { return key.if_text() == name; });
}

const Value* Mapping::find_key(const Value& key) const noexcept {
  if (key.tag() >= Value::Tag::inline_text) {
    return find_if([&key] { return MappingAccess::hash_of(key); },
                   [&key](const Value& other) { return Value::same_bytes(other, key); });
  }
  if (key.is_text()) return find(key.get_text());
  const auto found =
      std::find_if(begin(), end(), [&key](const Entry& entry) { return entry.key_ == key; });
  return found == end() ? nullptr : &found->value;
}

const Value& Mapping::at(std::string_view name) const {
  if (const Value* value = find(name)) return *value;
  throw std::out_of_range("the mapping has no " + display_form(name));
}

Value& Mapping::set(Value key, Value value) {
  if (key.container() != nullptr) throw TypeError("a list or a mapping cannot be a key");
  if (const Value* present = find_key(key)) {
    return const_cast<Value&>(*present) = std::move(value);
  }
  MappingAccess::append(*this, std::move(key), std::move(value));
  return entries_.back().value;
}

// Only text keys are indexed. The index is kept at most half full.
void Mapping::index_last() {
  if (entries_.size() * 2 <= index_.size()) return insert_in_index(entries_.size() - 1);
  try {
    rebuild_index(entries_.size() * 2);
  } catch (...) {
    entries_.pop_back();
    throw;
  }
}

void Mapping::rebuild_index(std::size_t capacity) {
  if (capacity > std::numeric_limits<std::uint32_t>::max() / 2) {
    throw std::length_error("a mapping holds at most a billion names");
  }
  index_.assign(std::bit_ceil(capacity * 2), 0);
  for (std::size_t i = 0; i < entries_.size(); ++i) insert_in_index(i);
}

void Mapping::insert_in_index(std::size_t position) noexcept {
  if (!entries_[position].key_.is_text()) return;
  const std::size_t mask = index_.size() - 1;
  std::size_t slot = MappingAccess::hash_of(entries_[position].key_) & mask;
  while (index_[slot] != 0) slot = (slot + 1) & mask;
  index_[slot] = static_cast<std::uint32_t>(position + 1);
}

// Events.

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
  slot_ = &open_.back()->get_mapping().set(std::move(key), Value());
}

Value& ValueBuilder::place(Value value) {
  if (open_.empty()) return root_ = std::move(value);
  if (List* items = open_.back()->if_list()) return items->emplace_back(std::move(value));
  return *slot_ = std::move(value);
}

Value ValueBuilder::take() noexcept {
  open_.clear();
  return std::exchange(root_, Value());
}

// Showing.

std::string text_form(const Value& value) {
  if (const auto text = value.if_text()) return std::string(*text);
  return display_form(value);
}

namespace {

void append_escape(std::string& out, char32_t code_point) {
  static constexpr char digits[] = "0123456789abcdef";
  const bool is_byte = code_point < 0x100;
  const bool is_short = code_point < 0x10000;
  out += is_byte ? "\\x" : is_short ? "\\u" : "\\U";
  for (int shift = is_byte ? 4 : is_short ? 12 : 28; shift >= 0; shift -= 4) {
    out += digits[(code_point >> shift) & 0xF];
  }
}

void append_quoted(std::string& out, std::string_view text) {
  const bool in_double = text.find('\'') != text.npos && text.find('"') == text.npos;
  const char quote = in_double ? '"' : '\'';
  out += quote;
  while (!text.empty()) {
    const CodePoint head = first_code_point(text);
    switch (head.value) {
      case '\t':
        out += "\\t";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      default:
        if (head.value == U'\\' || head.value == static_cast<unsigned char>(quote)) out += '\\';
        if (is_printable(head.value)) {
          out += text.substr(0, head.size);
        } else {
          append_escape(out, head.value);
        }
    }
    text.remove_prefix(head.size);
  }
  out += quote;
}

void append_leaf(std::string& out, const Value& value) {
  switch (value.kind()) {
    case Kind::none:
      out += "None";
      break;
    case Kind::boolean:
      out += value.get_boolean() ? "True" : "False";
      break;
    case Kind::integer:
      append_integer(out, value.get_integer());
      break;
    case Kind::float_:
      append_float(out, value.get_float());
      break;
    case Kind::text:
      append_quoted(out, value.get_text());
      break;
    default:
      out += '<' + value.get_object()->type_name() + '>';
  }
}

class Display {
 public:
  explicit Display(std::string& out) : out_(out) {}

  void begin_list(const List&) { open('['); }
  void begin_mapping(const Mapping&) { open('{'); }
  void end_list() { close(']'); }
  void end_mapping() { close('}'); }
  void leaf(const Value& value) {
    separate();
    append_leaf(out_, value);
  }
  void key(const Value& key) {
    leaf(key);
    out_ += ": ";
    at_start_ = true;
  }

 private:
  void separate() {
    if (!at_start_) out_ += ", ";
    at_start_ = false;
  }
  void open(char bracket) {
    separate();
    out_ += bracket;
    at_start_ = true;
  }
  void close(char bracket) {
    out_ += bracket;
    at_start_ = false;
  }

  std::string& out_;
  bool at_start_ = true;
};

}  // namespace

std::string display_form(const Value& value) {
  std::string shown;
  Display display(shown);
  visit_events(value, display);
  return shown;
}

}  // namespace tool_binding
