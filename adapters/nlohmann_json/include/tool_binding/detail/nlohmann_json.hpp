#ifndef TOOL_BINDING_DETAIL_NLOHMANN_JSON_HPP_
#define TOOL_BINDING_DETAIL_NLOHMANN_JSON_HPP_

// The bodies of nlohmann_json.hpp. Private: include that one.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tool_binding/nlohmann_json.hpp"
#include "tool_binding/value.hpp"
#include "tool_binding/value_events.hpp"

namespace tool_binding {

namespace detail {

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

}  // namespace detail

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
      return builder.leaf(detail::leaf_from_json(entered));
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
  return detail::JsonBuilder<Json>().build(value);
}

}  // namespace tool_binding

#endif  // TOOL_BINDING_DETAIL_NLOHMANN_JSON_HPP_
