#ifndef TOOL_BINDING_BENCH_RAPIDJSON_PEER_HPP_
#define TOOL_BINDING_BENCH_RAPIDJSON_PEER_HPP_

// RapidJSON's SchemaValidator on the search tool, and the cases as JSON for peers elsewhere.

#include <iosfwd>
#include <memory>

#include "cases.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding::bench {

// Works on the request as a document that is parsed already, without conversions, synonyms or
// suggestions: a request that needs any is refused, at its first fault.
class RapidJsonPeer {
 public:
  explicit RapidJsonPeer(const Case& c);
  ~RapidJsonPeer();

  [[nodiscard]] bool validate();
  // Precondition: the request is valid. What binding it gives, as the layer's mapping.
  [[nodiscard]] Mapping bound() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The cases of the search tool: {"schema": ..., "requests": {CASE: arguments}, "lines": {CASE:
// line}, "answers": {CASE: {"bound": ..., "notes": [...]} or {"problems": message}}}.
void write_cases(std::ostream& out);

}  // namespace tool_binding::bench

#endif  // TOOL_BINDING_BENCH_RAPIDJSON_PEER_HPP_
