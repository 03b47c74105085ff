#ifndef TOOL_BINDING_NLOHMANN_JSON_HPP_
#define TOOL_BINDING_NLOHMANN_JSON_HPP_

// nlohmann::ordered_json and nlohmann::json to values and back.
//
//   value_from_json(nlohmann::ordered_json::parse("[1]")) == Value(List{1})
//   json_from_value(List{1}).dump() == "[1]"
//   json_from_value<nlohmann::json>(List{1}).dump() == "[1]"
//
// A daemon that reads and answers with nlohmann::ordered_json:
//
//   Mapping arguments = value_from_json(request.at("arguments")).as_mapping();
//   ToolAnswer answer = service.call("search", std::move(arguments));
//   reply["structured"] = json_from_value(answer.structured);
//
// A program that needs JSON for nothing else has it in json.hpp, with integers of any size and
// without another library.
//
// Nesting of any depth survives in both directions, without recursion. With ordered_json the order
// of members survives too, and both directions take linear time; json sorts members by name.
// Pure functions: safe from any thread, no locale.

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tool_binding/value.hpp"
#include "tool_binding/value_events.hpp"

namespace tool_binding {

// The two forms of the library's JSON type that are converted; a basic_json of your own is not.
template <class Json>
concept NlohmannJson =
    std::same_as<Json, nlohmann::ordered_json> || std::same_as<Json, nlohmann::json>;

// Copies. An unsigned integer beyond 63 bits is an integer all the same; a float stays one, NaN and
// infinities included. Text is taken over as it is, whether or not it is UTF-8.
//
//   value_from_json(nlohmann::json{{"b", 1}, {"a", 2.0}}) == Value(Mapping{{"a", 2.0}, {"b", 1}})
//
// Throws TypeError for binary or discarded content, which no value holds.
template <NlohmannJson Json>
[[nodiscard]] Value value_from_json(const Json& json);

// An object becomes its display_form, a key that is not text its text_form; where two keys look
// alike then, ordered_json holds both and json the later value. Text and floats are taken over as
// they are: dump() throws for text that is not UTF-8, unless given an error handler, and writes NaN
// and infinities as null. Moving or destroying the result is safe at any depth; its own copy,
// comparison and dump() use the stack.
//
//   json_from_value<nlohmann::json>(Mapping{{"b", 1}, {"a", List{}}}).dump() == R"({"a":[],"b":1})"
//
// Throws std::overflow_error for an integer that 64 bits, signed or unsigned, do not hold, and
// std::bad_alloc. What was built until then is destroyed without allocating; destroying a result,
// as nlohmann::basic_json does it, does allocate and ends the process when memory has run out.
template <NlohmannJson Json = nlohmann::ordered_json>
[[nodiscard]] Json json_from_value(const Value& value);

// What follows is how they do it.

namespace nlohmann_json_private {

template <class Json>
Value leaf_from_json(const Json& json) {
  using Type = typename Json::value_t;
  switch (json.type()) {
    case Type::null:
      return {};
    case Type::boolean:
      return json.template get<bool>();
    case Type::number_integer:
      return json.template get<std::int64_t>();
    case Type::number_unsigned:
      return json.template get<std::uint64_t>();
    case Type::number_float:
      return json.template get<double>();
    case Type::string:
      return json.template get_ref<const std::string&>();
    default:
      throw TypeError("a JSON value of type " + std::string(json.type_name()) +
                      " cannot become a value");
  }
}

template <class Json>
Json json_from_integer(Integer integer) {
  if (integer.fits_int64()) return integer.int64();
  const std::string_view digits = integer.digits();
  std::uint64_t number = 0;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc()) {
    return number;
  }
  throw std::overflow_error("an integer of " + std::to_string(digits.size()) +
                            " characters needs more than 64 bits: json_text writes it whole");
}

template <class Json>
Json json_from_leaf(const Value& value) {
  switch (value.kind()) {
    case Kind::none:
      return nullptr;
    case Kind::boolean:
      return value.get_boolean();
    case Kind::integer:
      return json_from_integer<Json>(value.get_integer());
    case Kind::float_:
      return value.get_float();
    default:
      return text_form(value);
  }
}

// Builds a Json from the outermost container inwards.
template <class Json>
class JsonBuilder {
 public:
  JsonBuilder() = default;
  JsonBuilder(const JsonBuilder&) = delete;
  JsonBuilder& operator=(const JsonBuilder&) = delete;
  // The destructor of a Json that holds something allocates, so the innermost are emptied first.
  ~JsonBuilder() {
    for (; !made_.empty(); made_.pop_back()) {
      if (auto* const list = made_.back()->template get_ptr<typename Json::array_t*>()) {
        list->clear();
      } else if (auto* const members = made_.back()->template get_ptr<typename Json::object_t*>()) {
        members->clear();
      }
    }
  }

  Json build(const Value& value) {
    waiting_.push_back({&value, &root_});
    while (!waiting_.empty()) {
      const auto [from, to] = waiting_.back();
      waiting_.pop_back();
      if (const List* list = from->if_list()) {
        made_.push_back(to);
        add_items(*list, *to);
      } else if (const Mapping* mapping = from->if_mapping()) {
        made_.push_back(to);
        add_members(*mapping, *to);
      } else {
        *to = json_from_leaf<Json>(*from);
      }
    }
    made_.clear();
    return std::move(root_);
  }

 private:
  struct Conversion {
    const Value* from;
    Json* to;
  };

  void add_items(const List& list, Json& to) {
    to = Json::array();
    auto& items = to.template get_ref<typename Json::array_t&>();
    items.resize(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) waiting_.push_back({&list[i], &items[i]});
  }

  void add_members(const Mapping& mapping, Json& to) {
    to = Json::object();
    add_members(mapping, to.template get_ref<typename Json::object_t&>());
  }
  // Json's own ways to add a member search all others for its name first.
  void add_members(const Mapping& mapping, nlohmann::ordered_json::object_t& members) {
    members.reserve(mapping.size());
    for (const Mapping::Entry& entry : mapping) {
      members.emplace_back(text_form(entry.key()), nullptr);
      waiting_.push_back({&entry.value, &members.back().second});
    }
  }
  // From the last on, since of names that look alike the last counts.
  void add_members(const Mapping& mapping, nlohmann::json::object_t& members) {
    for (auto next = mapping.end(); next != mapping.begin();) {
      const auto [member, is_new] = members.emplace(text_form((--next)->key()), nullptr);
      if (is_new) waiting_.push_back({&next->value, &member->second});
    }
  }

  Json root_;
  std::vector<Conversion> waiting_;
  std::vector<Json*> made_;  // its lists and objects, each before those inside it
};

}  // namespace nlohmann_json_private

template <NlohmannJson Json>
Value value_from_json(const Json& json) {
  struct Open {
    const Json* container;
    typename Json::const_iterator next;
  };
  std::vector<Open> open;
  ValueBuilder builder;
  const auto enter = [&](const Json& entered) {
    if (entered.is_object()) {
      builder.begin_mapping();
    } else if (entered.is_array()) {
      builder.begin_list();
    } else {
      return builder.leaf(nlohmann_json_private::leaf_from_json(entered));
    }
    open.push_back({&entered, entered.begin()});
  };
  enter(json);
  while (!open.empty()) {
    Open& innermost = open.back();
    const bool is_object = innermost.container->is_object();
    if (innermost.next == innermost.container->end()) {
      open.pop_back();
      is_object ? builder.end_mapping() : builder.end_list();
      continue;
    }
    const auto member = innermost.next++;
    if (is_object) builder.key(member.key());
    enter(*member);
  }
  return builder.take();
}

template <NlohmannJson Json>
Json json_from_value(const Value& value) {
  return nlohmann_json_private::JsonBuilder<Json>().build(value);
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_NLOHMANN_JSON_HPP_
