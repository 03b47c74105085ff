#ifndef TOOL_BINDING_SRC_REGISTRY_NAME_TABLE_HPP_
#define TOOL_BINDING_SRC_REGISTRY_NAME_TABLE_HPP_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tool_binding/value.hpp"
#include "value/mapping_access.hpp"
#include "value/name_hash.hpp"

namespace tool_binding {

struct ParamIndex;

enum class NameMeaning : std::uint8_t { unknown, routing, action, param };

// What the names in a tool's requests stand for. It is made of the registry's names alone, so that
// its hash needs no key; open addressing, at most half full.
class NameTable {
 public:
  struct Entry {
    Value name;
    const ParamIndex* param = nullptr;
    NameMeaning meaning = NameMeaning::unknown;
    bool is_declared = false;  // the parameter's own name, no synonym
  };

  // Room for so many names.
  explicit NameTable(std::size_t count = 0)
      : slots_(std::bit_ceil(2 * count + 2)), shift_(64 - std::countr_zero(slots_.size())) {}

  // The entry of the name, which is unknown when there is none.
  [[nodiscard]] const Entry& find(const Value& name) const noexcept {
    std::size_t slot = MappingAccess::unkeyed_hash_of(name) >> shift_;
    while (slots_[slot].meaning != NameMeaning::unknown && !(slots_[slot].name == name)) {
      slot = (slot + 1) & (slots_.size() - 1);
    }
    return slots_[slot];
  }
  // As find(); a new entry, with the name alone, when there is none.
  [[nodiscard]] Entry& at(const Value& name) {
    auto& entry = const_cast<Entry&>(find(name));
    if (entry.meaning == NameMeaning::unknown) entry.name = name;
    return entry;
  }

 private:
  std::vector<Entry> slots_;
  int shift_;
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SRC_REGISTRY_NAME_TABLE_HPP_
