#include "handlers/binding.hpp"
#include "text/lines.hpp"

namespace tool_binding::detail {

Function::~Function() = default;

// The last row is for an action that no other names, and for none.
Value Frame::action_default(const Slot& slot) const {
  const Value& action = entries_[0].value;
  for (const auto& [name, value] : slot.action_defaults) {
    if (name == action) return value;
  }
  return slot.action_defaults.back().second;
}

namespace {

// The items that a vector cannot hold, each by its number.
void refuse_items(const CppType& type, const std::string& start, const List& items,
                  std::string& refusal) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (type.accepts_item(items[i])) continue;
    add_line(refusal, {start, ", item ", std::to_string(i + 1), ", must be ",
                       words_of(type, items[i], nullptr), ", not ", display_form(items[i])});
  }
}

}  // namespace

void Frame::refuse(const Slot& slot, const Value& value) {
  const std::string start =
      line_of({"Parameter '", slot.param != nullptr ? slot.param->name : ACTION_PARAM, "' of ",
               plan_.spec.name()});
  if (const List* items = value.if_list(); items != nullptr && slot.type->is_vector) {
    return refuse_items(*slot.type, start, *items, refusal_);
  }
  const std::string words =
      slot.type->is_vector ? std::string(list_words) : words_of(*slot.type, value, slot.param);
  add_line(refusal_, {start, " must be ", words, ", not ", display_form(value)});
}

}  // namespace tool_binding::detail
