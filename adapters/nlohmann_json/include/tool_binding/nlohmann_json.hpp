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

#include <concepts>
#include <nlohmann/json.hpp>

#include "tool_binding/value.hpp"

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

}  // namespace tool_binding

#include "tool_binding/detail/nlohmann_json.hpp"

#endif  // TOOL_BINDING_NLOHMANN_JSON_HPP_
