#ifndef TOOL_BINDING_VALUE_HPP_
#define TOOL_BINDING_VALUE_HPP_

// Value: the dynamically typed value that every argument, default and context entry is, and
// Mapping: values by name, in the order in which the names were first set.
//
//   Mapping request{{"query", "main"}, {"limit", "5"}};
//   request.set("paths", List{"src", "include"});
//   display_form(request) == "{'query': 'main', 'limit': '5', 'paths': ['src', 'include']}"
//   request.at("paths").as_list().size() == 2
//   request.at("limit").if_int64() == std::nullopt   // text, not an integer
//   for (const auto& [name, value] : request) log(name, value.kind());
//
// Text is UTF-8 and any bytes can be read: a surrogate encoded in three bytes is that code point,
// and any other byte that is not part of well-formed UTF-8 counts as one code point, U+DC00 + byte.
// Bytes are kept unchanged; equality compares bytes. No locale is ever consulted.
//
// Nesting is limited by memory only: building, copying, comparing, showing and destroying a value
// take linear time and do not recurse, however deep its lists and mappings are nested.
//
// Threads: const calls on one object are safe from many threads; others need a lock outside. Values
// share nothing but objects (see Object), so copies can go to different threads.
//
// Failure: whatever allocates may throw std::bad_alloc; a call that throws changes nothing, unless
// it says otherwise.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "tool_binding/detail/value_storage.hpp"
#include "tool_binding/export.hpp"

namespace tool_binding {

class List;
class Mapping;
class Value;

// What a value can be. Integers of any size are of one kind; a whole float is a float.
//
//   Value(7).kind() == Kind::integer
//   Value(7.0).kind() == Kind::float_
//   Value("7").kind() == Kind::text
enum class Kind : std::uint8_t { none, boolean, integer, float_, text, list, mapping, object };

// "none", "boolean", "integer", "float", "text", "list", "mapping" or "object". Valid forever.
[[nodiscard]] TOOL_BINDING_EXPORT std::string_view kind_name(Kind kind) noexcept;

// A value of one kind where another is needed. What the accessors of Value say has both kinds and
// never the content.
//
//   Value(List{1}).as_text()   throws it: "expected a value of kind text, not list"
class TOOL_BINDING_EXPORT TypeError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
  ~TypeError() override;
};

// Base of what a daemon passes through to its handlers (a repository, an engine) and the library
// never looks into. Shown as `<NAME>`, NAME being the type name given here. Values that hold an
// object share it; two of them are equal when they hold the same one. The last of them destroys it,
// on whichever thread that is. Const values give it out as non-const: what several threads change
// in it must lock by itself.
//
//   struct Repository : Object {
//     explicit Repository(std::string path) : Object("Repository"), root(std::move(path)) {}
//     std::string root;
//   };
//   const Value repository = std::make_shared<Repository>("/srv/code");
//   display_form(repository) == "<Repository>"
//   repository.object_as<Repository>()->root == "/srv/code"
class TOOL_BINDING_EXPORT Object {
 public:
  explicit Object(std::string type_name) : type_name_(std::move(type_name)) {}
  virtual ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  [[nodiscard]] const std::string& type_name() const noexcept { return type_name_; }

 private:
  std::string type_name_;
};

// A whole number of any size, as an integer value holds it: 64 bits, or beyond them the exact
// decimal digits, without leading zeros and with a "-" before a negative one. A number that fits 64
// bits is never held as digits. A view: valid as long as its Value is unchanged.
//
//   const Value small = 7;
//   small.as_integer().int64() == 7
//   const Value large = Value::integer_of("-9223372036854775809");
//   large.as_integer().fits_int64() == false
//   large.as_integer().digits() == "-9223372036854775809"
class Integer {
 public:
  constexpr explicit Integer(std::int64_t small) noexcept : small_(small) {}

  [[nodiscard]] constexpr bool fits_int64() const noexcept { return digits_.empty(); }
  // Precondition: fits_int64().
  [[nodiscard]] constexpr std::int64_t int64() const noexcept { return small_; }
  // The decimal digits of a number beyond 64 bits; empty for any other.
  [[nodiscard]] constexpr std::string_view digits() const noexcept { return digits_; }

 private:
  friend class Value;
  constexpr explicit Integer(std::string_view digits) noexcept : digits_(digits) {}

  std::int64_t small_ = 0;
  std::string_view digits_;
};

// One value. A boolean is never an integer or a number.
//
// It is built implicitly from its exact kinds and from nothing else: a pointer is not a boolean, a
// character not an integer. Every kind K has four accessors: is_K() tests; if_K() is the content,
// or nothing (null, or an empty optional) for another kind; as_K() throws TypeError for another
// kind; get_K() requires the kind, which debug builds assert.
//
//   K         as_K(), get_K()                   if_K()
//   boolean   bool                              std::optional
//   integer   Integer, of any size              std::optional
//   int64     std::int64_t                      std::optional
//   float     double                            std::optional
//   text      std::string_view                  std::optional
//   list      List&                             List*
//   mapping   Mapping&                          Mapping*
//   object    const std::shared_ptr<Object>&    std::shared_ptr<Object>
//
//   const Value value = List{1, 2.5, "text", true, Value()};
//   value.as_list()[0].as_int64() == 1
//   value.as_list()[2].if_int64() == std::nullopt
//   value.as_list()[2].as_int64()   throws TypeError: "expected a value of kind integer, not text"
//   value.as_list()[1].is_integer() == false   // nor is 2.0: no accessor converts
//
// Views, references and pointers from accessors are valid until the Value is changed, moved or
// destroyed: short text and small numbers are stored in the Value itself. Of a temporary,
// as_text(), as_list(), as_mapping() and as_object() return the content by value, so that it can be
// kept and iterated over, and if_text(), if_list() and if_mapping() do not compile. A moved-from
// Value is none.
//
// Equality: same kind and same content, so that 1 and 1.0 differ; floats compare as numbers do
// (NaN equals nothing, 0.0 equals -0.0), mappings with their order, objects by identity. There is
// no order: values of different kinds have none. Cost: linear in the smaller value.
//
//   Value(1) != Value(1.0)
//   Value(true) != Value(1)
//   Value(Mapping{{"a", 1}, {"b", 2}}) != Value(Mapping{{"b", 2}, {"a", 1}})
//
// Cost: 16 bytes. None, booleans, 64-bit integers, floats and text of up to 15 bytes need no
// allocation; copying anything else copies all that it holds.
class TOOL_BINDING_EXPORT Value : private detail::ValueStorage {
 public:
  // None.
  constexpr Value() noexcept = default;
  template <std::same_as<bool> T>
  Value(T boolean) noexcept;
  // Any integer type except the character types. An unsigned integer beyond std::int64_t allocates,
  // and is_int64() is false of it.
  template <detail::IntegerType T>
  Value(T integer);
  // Copies the digits, so that the value may outlive the one that `integer` is a view of.
  Value(const Integer& integer);
  // float or double, infinities and NaN included. A long double does not compile.
  template <std::floating_point T>
  requires(sizeof(T) <= sizeof(double)) Value(T number)
  noexcept;
  // Copies the text: any bytes, zeros included; they need not be UTF-8. Of a const char*, which
  // must not be null, what is before its first zero byte. Another pointer does not compile.
  Value(std::string_view text);
  Value(const std::string& text) : Value(std::string_view(text)) {}
  Value(const char* text) : Value(std::string_view(text)) {}
  Value(std::nullptr_t) = delete;
  template <class T>
  requires(!std::same_as<std::remove_const_t<T>, char>) Value(T*)
  = delete;
  // Moves the content, in one allocation whatever its size.
  Value(List items);
  Value(Mapping mapping);
  // The object is shared, never copied. A null pointer throws std::invalid_argument.
  Value(std::shared_ptr<Object> object);
  template <std::derived_from<Object> T>
  Value(std::shared_ptr<T> object) : Value(std::shared_ptr<Object>(std::move(object))) {}

  Value(const Value& other);
  // Cost: constant, and `other` is none afterwards.
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other);
  // A value may be replaced by one inside it.
  Value& operator=(Value&& other) noexcept;
  ~Value();

  // The integer that `decimal` writes: an optional "-" and decimal digits, leading zeros allowed.
  // Throws std::invalid_argument for any other text, also for "+1", "1_0" and " 1". Cost: linear in
  // the digits.
  //
  //   Value::integer_of("-007") == Value(-7)
  //   Value::integer_of("-0") == Value(0)
  //   display_form(Value::integer_of("18446744073709551616")) == "18446744073709551616"
  [[nodiscard]] static Value integer_of(std::string_view decimal);

  [[nodiscard]] Kind kind() const noexcept;

  [[nodiscard]] bool is_none() const noexcept;

  [[nodiscard]] bool is_boolean() const noexcept;
  [[nodiscard]] std::optional<bool> if_boolean() const noexcept;
  [[nodiscard]] bool as_boolean() const;
  [[nodiscard]] bool get_boolean() const noexcept;

  [[nodiscard]] bool is_integer() const noexcept;
  [[nodiscard]] std::optional<Integer> if_integer() const noexcept;
  [[nodiscard]] Integer as_integer() const;
  [[nodiscard]] Integer get_integer() const noexcept;

  // An integer of 64 bits, signed. Of a larger one is_int64() is false, if_int64() is nothing and
  // as_int64() throws std::overflow_error, "the integer needs more than 64 bits", where a value of
  // another kind throws TypeError.
  [[nodiscard]] bool is_int64() const noexcept;
  [[nodiscard]] std::optional<std::int64_t> if_int64() const noexcept;
  [[nodiscard]] std::int64_t as_int64() const;
  [[nodiscard]] std::int64_t get_int64() const noexcept;

  [[nodiscard]] bool is_float() const noexcept;
  [[nodiscard]] std::optional<double> if_float() const noexcept;
  [[nodiscard]] double as_float() const;
  [[nodiscard]] double get_float() const noexcept;

  [[nodiscard]] bool is_text() const noexcept;
  [[nodiscard]] std::optional<std::string_view> if_text() const& noexcept;
  void if_text() && = delete;  // it would point into a value that no longer exists
  [[nodiscard]] std::string_view as_text() const&;
  // Of a temporary, a copy: `const auto name = parse_json(text).as_text();` is safe.
  [[nodiscard]] std::string as_text() &&;
  [[nodiscard]] std::string_view get_text() const noexcept;

  [[nodiscard]] bool is_list() const noexcept;
  [[nodiscard]] const List* if_list() const& noexcept;
  [[nodiscard]] List* if_list() & noexcept;
  void if_list() && = delete;  // it would point into a value that no longer exists
  [[nodiscard]] const List& as_list() const&;
  [[nodiscard]] List& as_list() &;
  // Of a temporary, the items themselves: `for (Value& v : parse_json(text).as_list())` is safe.
  // A value that was moved from so is left an empty list.
  [[nodiscard]] List as_list() &&;
  [[nodiscard]] const List& get_list() const& noexcept;
  [[nodiscard]] List& get_list() & noexcept;
  [[nodiscard]] List get_list() && noexcept;

  [[nodiscard]] bool is_mapping() const noexcept;
  [[nodiscard]] const Mapping* if_mapping() const& noexcept;
  [[nodiscard]] Mapping* if_mapping() & noexcept;
  void if_mapping() && = delete;  // it would point into a value that no longer exists
  [[nodiscard]] const Mapping& as_mapping() const&;
  [[nodiscard]] Mapping& as_mapping() &;
  // Of a temporary, the entries themselves. A value that was moved from so is left an empty
  // mapping.
  [[nodiscard]] Mapping as_mapping() &&;
  [[nodiscard]] const Mapping& get_mapping() const& noexcept;
  [[nodiscard]] Mapping& get_mapping() & noexcept;
  [[nodiscard]] Mapping get_mapping() && noexcept;

  [[nodiscard]] bool is_object() const noexcept;
  // Null for another kind, never for an object.
  [[nodiscard]] std::shared_ptr<Object> if_object() const noexcept;
  [[nodiscard]] const std::shared_ptr<Object>& as_object() const&;
  [[nodiscard]] std::shared_ptr<Object> as_object() &&;
  [[nodiscard]] const std::shared_ptr<Object>& get_object() const noexcept;
  // The object as its class or a base of that. Null for another kind and for an object of another
  // class. Cost: a dynamic_cast.
  //
  //   const Value repository = std::make_shared<Repository>("/srv/code");
  //   repository.object_as<Repository>()->root == "/srv/code"
  //   repository.object_as<Engine>() == nullptr
  template <std::derived_from<Object> T>
  [[nodiscard]] std::shared_ptr<T> object_as() const noexcept;

  friend bool operator==(const Value& left, const Value& right) {
    return left.is_plain() || right.is_plain() ? same_bytes(left, right) : equal(left, right);
  }

 private:
  friend class Mapping;
  friend struct MappingAccess;

  struct Container;
  struct ListNode;
  struct MappingNode;

  const Value& require(bool is_kind, Kind kind) const;
  [[noreturn]] void throw_wrong_kind(Kind wanted) const;
  void set_heap_text(Tag tag, std::string_view text);
  [[nodiscard]] std::string_view heap_text() const noexcept;
  [[nodiscard]] Container* container() const noexcept;
  void copy_heap(const Value& other);
  void copy_leaf(const Value& other);
  void release_heap() noexcept;
  static void release_containers(Container* first) noexcept;
  static bool equal(const Value& left, const Value& right);
  static bool equal_leaves(const Value& left, const Value& right) noexcept;
};

// The items of a list value, in contiguous memory: a std::vector with a different rule for braces.
//
//   List{1, "a", true}         three items
//   List(3)                    three times none
//   List{List{1}}              [1]: a copy of the inner list, as Value{x} is x
//   List{Value(List{1}), 2}    [[1], 2]
//
// A list among the items is written as a Value: compilers disagree on what List{List{1}} would mean
// otherwise. List{List{1}, 2} does not compile.
//
//   List items{1, 2};
//   items.push_back(List{3});                                       // [1, 2, [3]]
//   items.insert(items.end(), {"a", "b"});                          // [1, 2, [3], 'a', 'b']
//   std::erase_if(items, [](const Value& v) { return v.is_text(); });   // [1, 2, [3]]
//
// References, pointers and iterators are valid as a vector's are. at() throws std::out_of_range,
// operator[] checks nothing. Moving takes constant time and leaves the list empty. Destroying and
// copying do not recurse.
class List : public std::vector<Value> {
 public:
  // What braces take: anything a Value is made of, but a List. It is moved from once.
  class Item {
   public:
    template <class T>
    requires(std::convertible_to<T, Value> &&
             !std::derived_from<std::remove_cvref_t<T>, std::vector<Value>>) Item(T&& content)
        : value_(std::forward<T>(content)) {}

   private:
    friend class List;
    mutable Value value_;  // elements of a std::initializer_list are const
  };

  List() noexcept = default;
  explicit List(size_type count) : vector(count) {}
  List(std::vector<Value> items) noexcept : vector(std::move(items)) {}
  List(std::initializer_list<Item> items);
  template <std::input_iterator Iterator>
  List(Iterator first, Iterator last) : vector(first, last) {}
};

// Values by name, in the order in which the names were first set: setting a name that is present
// replaces its value and keeps its position.
//
//   Mapping request{{"b", 1}, {"a", 2}, {"b", 3}};                  // {'b': 3, 'a': 2}
//   request.set("c", List{});                                       // {'b': 3, 'a': 2, 'c': []}
//   request.at("a") = "x";                                          // {'b': 3, 'a': 'x', 'c': []}
//   request.erase("b");                                             // {'a': 'x', 'c': []}
//   request.find("b") == nullptr
//   request.at("b")   throws std::out_of_range
//   for (auto& [name, value] : request) value = text_form(value);   // {'a': 'x', 'c': '[]'}
//
// Keys are Values of any kind but list and mapping. Requests, and all that the library builds, have
// only text keys, and only text is looked up in constant time; for a key of another kind all keys
// are searched. Keys of different kinds are different:
//
//   Mapping mixed{{"1", "text"}};
//   mixed.set(1, "integer");                                        // {'1': 'text', 1: 'integer'}
//   mixed.at("1").as_text() == "text"
//   mixed.find_key(1)->as_text() == "integer"
//
// References, views and iterators are valid until the next set(), erase(), reserve() or assignment;
// moving the mapping keeps them valid, for the mapping that it was moved to. A moved-from mapping
// is empty.
//
// Equality: the same keys in the same order, with equal values.
//
// Cost: one allocation for up to some sixteen names, then an index beside them. The index hashes
// with a key of its own process, so that no client can choose names that collide. More than a
// billion names throw std::length_error.
class TOOL_BINDING_EXPORT Mapping {
 public:
  // A name and its value. The value can be changed in place, the name cannot: an entry cannot be
  // assigned, so that no algorithm (std::sort, say) can reorder entries behind the index.
  class Entry {
   public:
    template <class Key, class Content>
    Entry(Key&& key, Content&& content)
        : value(std::forward<Content>(content)), key_(std::forward<Key>(key)) {}
    Entry(const Entry& other) = default;
    Entry(Entry&& other) noexcept = default;
    Entry& operator=(const Entry&) = delete;
    Entry& operator=(Entry&&) = delete;
    ~Entry() = default;

    [[nodiscard]] const Value& key() const noexcept { return key_; }
    // The key's text, a view into the entry. Precondition, asserted in debug builds: the key is
    // text.
    [[nodiscard]] std::string_view name() const noexcept { return key_.get_text(); }

    // For structured bindings: the name, then the value. Throws TypeError when the key is not text.
    template <std::size_t index>
    [[nodiscard]] decltype(auto) get() const;
    template <std::size_t index>
    [[nodiscard]] decltype(auto) get();

    friend bool operator==(const Entry& left, const Entry& right) {
      return left.key_ == right.key_ && left.value == right.value;
    }

    Value value;

   private:
    friend class Mapping;
    friend class Value;
    friend struct MappingAccess;
    Value key_;
  };
  using iterator = std::vector<Entry>::iterator;
  using const_iterator = std::vector<Entry>::const_iterator;

  constexpr Mapping() noexcept = default;
  // Copying copies all that the entries hold; like Value's, it does not recurse.
  Mapping(const Mapping& other) = default;
  Mapping(Mapping&& other) noexcept = default;
  // A mapping may be replaced by one inside it.
  Mapping& operator=(const Mapping& other) { return *this = Mapping(other); }
  Mapping& operator=(Mapping&& other) noexcept;
  ~Mapping() = default;
  // A repeated name keeps its first position and takes the later value. The values are copied, as
  // they are from any std::initializer_list: move what is large in with set().
  Mapping(std::initializer_list<std::pair<std::string_view, Value>> entries);

  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
  // Makes room for so many names in all, so that adding them allocates nothing but what keys and
  // values need themselves. Never makes it smaller.
  void reserve(std::size_t count);

  // Entries in order, at random access.
  [[nodiscard]] const_iterator begin() const noexcept { return entries_.begin(); }
  [[nodiscard]] const_iterator end() const noexcept { return entries_.end(); }
  [[nodiscard]] iterator begin() noexcept { return entries_.begin(); }
  [[nodiscard]] iterator end() noexcept { return entries_.end(); }

  // The value under a text key, exact bytes, or null. Cost: constant.
  [[nodiscard]] const Value* find(std::string_view name) const& noexcept;
  [[nodiscard]] Value* find(std::string_view name) & noexcept;
  void find(std::string_view name) && = delete;  // it would point into what no longer exists
  // The value under a key of any kind, or null. Cost: constant for text, else linear.
  [[nodiscard]] const Value* find_key(const Value& key) const& noexcept;
  [[nodiscard]] Value* find_key(const Value& key) & noexcept;
  void find_key(const Value& key) && = delete;
  [[nodiscard]] bool contains(std::string_view name) const noexcept {
    return std::as_const(*this).find(name) != nullptr;
  }
  // Throws std::out_of_range when the name is absent: "the mapping has no 'b'", with what is not
  // printable in the name escaped. Of a temporary, the value itself, moved out.
  [[nodiscard]] const Value& at(std::string_view name) const&;
  [[nodiscard]] Value& at(std::string_view name) &;
  [[nodiscard]] Value at(std::string_view name) && { return std::move(at(name)); }

  // Adds an entry at the end, or replaces the value of the one with that key. Returns the value in
  // the mapping. Throws TypeError when the key is a list or a mapping. Cost: constant, amortised;
  // for a key that is not text, linear in the number of entries.
  //
  //   mapping.set("paths", List{}).as_list().push_back("src")
  //   mapping.set("copy", mapping.at("paths"))   // safe: the value is copied first
  Value& set(Value key, Value value);

  // Removes the entry of a text key; those behind it move up. Returns whether there was one. Throws
  // std::bad_alloc, with nothing changed. Cost: linear in the number of entries.
  bool erase(std::string_view name);

  friend bool operator==(const Mapping& left, const Mapping& right) {
    return left.entries_ == right.entries_;
  }

 private:
  friend class Value;
  friend struct MappingAccess;

  // Up to so many names a scan is as fast as an index.
  static constexpr std::size_t scan_limit = 16;

  // The value whose key matches, among those of that hash where there is an index.
  template <class Hash, class Matches>
  const Value* find_if(const Hash& hash, const Matches& matches) const noexcept;
  // Takes the last entry back if there is no memory for its place in the index.
  void index_last();
  void rebuild_index(std::size_t capacity);
  void insert_in_index(std::size_t position) noexcept;

  std::vector<Entry> entries_;
  // Open addressing over positions + 1; empty while a scan is as fast.
  std::vector<std::uint32_t> index_;
};

// The text that a value reads as: text itself, unchanged; any other kind its display_form.
//
//   text_form("it's") == "it's"
//   text_form(List{1, "a"}) == "[1, 'a']"
//   text_form(2.0) == "2.0"
//   text_form(Value()) == "None"
[[nodiscard]] TOOL_BINDING_EXPORT std::string text_form(const Value& value);

// How a message shows a value: None, True, -7, 2.5, 1e+16, 'text', [1, 'a'], {'a': 1}, <NAME>.
// Text is shown in single quotes, or in double quotes when it holds a single and no double one;
// in it, what is not printable is escaped (\t \n \r \xhh \uhhhh \Uhhhhhhhh), so that the result is
// one line and cannot turn the direction of text around it. A stray byte is shown as its code
// point, so that the result is always valid UTF-8. Nothing is shortened: bound what you log.
// Floats: the shortest digits that read back as the same float, from 1e16 on and below 1e-4 with an
// exponent; inf, -inf, nan. Cost: linear in what is shown.
//
//   display_form("it's") == "\"it's\""
//   display_form(Mapping{{"n", 5.0}, {"paths", List{"a\n"}}}) == "{'n': 5.0, 'paths': ['a\\n']}"
//   display_form("\x80") == "'\\udc80'"
//   display_form(0.00001) == "1e-05"
[[nodiscard]] TOOL_BINDING_EXPORT std::string display_form(const Value& value);

// The same of a mapping or a list that is not in a Value, without a copy of it.
[[nodiscard]] TOOL_BINDING_EXPORT std::string display_form(const Mapping& mapping);
[[nodiscard]] TOOL_BINDING_EXPORT std::string display_form(const List& list);

// Writes the display_form: for logs, and for what a test prints. The stream's width and fill apply
// to the whole of it, and no other format does.
TOOL_BINDING_EXPORT std::ostream& operator<<(std::ostream& out, const Value& value);
TOOL_BINDING_EXPORT std::ostream& operator<<(std::ostream& out, const Mapping& mapping);
TOOL_BINDING_EXPORT std::ostream& operator<<(std::ostream& out, const List& list);

// The version of the Unicode Character Database that white space, digits, letter case and
// printability are taken from, for instance "15.0.0".
[[nodiscard]] TOOL_BINDING_EXPORT std::string_view unicode_version() noexcept;

}  // namespace tool_binding

#include "tool_binding/detail/value.hpp"

#endif  // TOOL_BINDING_VALUE_HPP_
