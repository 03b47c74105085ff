#include "tool_binding/tool_binding.hpp"

#include <algorithm>
#include <memory>

#include "registry/tool_index.hpp"
#include "schemas/effective_action.hpp"
#include "text/lines.hpp"
#include "text/lower_case.hpp"
#include "text/similarity.hpp"
#include "text/trim.hpp"
#include "tool_binding/utils/text_values.hpp"
#include "tool_binding_private.hpp"
#include "value/mapping_access.hpp"
#include "value/numbers.hpp"

namespace tool_binding {
namespace {

// A value's text_form, without a copy of text.
class TextForm {
 public:
  explicit TextForm(const Value& value) : value_(value) {
    if (!value.is_text()) shown_ = display_form(value);
  }
  operator std::string_view() const noexcept {
    return value_.is_text() ? value_.get_text() : shown_;
  }

 private:
  const Value& value_;
  std::string shown_;
};

inline bool is_blank_text(const Value& value) noexcept {
  return value.is_text() && is_blank(value.get_text());
}

}  // namespace

// A request is admitted: each argument is taken in the request's order, then the result is drawn.

ArgumentError::ArgumentError(std::string message)
    : std::invalid_argument(message),
      message_(std::make_shared<const std::string>(std::move(message))) {}
ArgumentError::~ArgumentError() = default;

namespace {

// `Arguments` are read, or moved from when they are not const.
template <class Arguments>
Normalizing_ taken(const ToolSpec& spec, Arguments& arguments) {
  Normalizing_ state(spec);
  state.arguments.reserve(ToolIndex::of(spec).room_for(arguments.size()));
  for (auto& entry : arguments) state.take(entry.key(), std::move(entry.value));
  return state;
}

}  // namespace

NormalizedArguments normalize_arguments(ToolRef tool, const Mapping& arguments) {
  return taken(tool.spec(), arguments).result();
}

NormalizedArguments normalize_arguments(ToolRef tool, Mapping&& arguments) {
  return taken(tool.spec(), arguments).result();
}

Admission try_normalize_arguments(ToolRef tool, const Mapping& arguments) {
  return taken(tool.spec(), arguments).outcome();
}

Admission try_normalize_arguments(ToolRef tool, Mapping&& arguments) {
  return taken(tool.spec(), arguments).outcome();
}

Admission Admission::refused(std::string message) noexcept { return Admission(std::move(message)); }

const NormalizedArguments& Admission::value() const& {
  if (!has_value()) throw ArgumentError(error());
  return *checked();
}

NormalizedArguments& Admission::value() & {
  static_cast<void>(std::as_const(*this).value());
  return *checked();
}

NormalizedArguments Admission::value() && {
  if (!has_value()) throw ArgumentError(std::move(*this).error());
  return std::move(*checked());
}

const std::string& Admission::error() const& noexcept {
  assert(!has_value());
  return *std::get_if<std::string>(&outcome_);
}

std::string Admission::error() && noexcept {
  assert(!has_value());
  return std::move(*std::get_if<std::string>(&outcome_));
}

void Normalizing_::take(const Value& key, Argument_ argument) {
  if (!key.is_text()) {
    throw TypeError(line_of(
        {"an argument of ", spec.name(), " must be named by text, not by ", display_form(key)}));
  }
  const std::string_view name = key.get_text();
  const Value& value = argument.value();
  if (value.is_none()) return;
  const auto& [_, index, meaning, is_declared] = index_.names.find(key);
  if (meaning == NameMeaning::unknown) return _unknown_parameter(name);
  if (meaning == NameMeaning::routing) return;
  if (meaning == NameMeaning::action) {
    if (!is_blank_text(value)) _take_action(value);
    return;
  }
  const ParamIndex& param = *index;
  if (!param.blank_is_value && is_blank_text(value)) return;
  if (!is_declared && !_read_synonym(param, name)) return;
  Value coerced = param.admits(value) ? argument.take() : _coerced(param, argument);
  if (coerced.is_none()) {
    if (is_declared) _refused(param);
  } else if (alias_hit) {
    MappingAccess::set(arguments, param.key, std::move(coerced));
  } else {  // a declared name, as all before it, and none comes twice
    MappingAccess::append(arguments, param.key, std::move(coerced));
  }
}

[[gnu::cold]] void Normalizing_::_refused(const ParamIndex& param) {
  _named.insert(param.spec.name);
}

void Normalizing_::_note(Pieces pieces) {
  if (notes.empty()) notes.reserve(4);
  append(notes.emplace_back(), pieces);
}

void Normalizing_::_problem(Pieces pieces) { add_line(problems, pieces); }

// Whether the synonym is read as its parameter's name; it is left out when that was given too.
bool Normalizing_::_read_synonym(const ParamIndex& param, std::string_view name) {
  const std::string& declared = param.spec.name;
  alias_hit = true;
  if (MappingAccess::find(arguments, param.key) != nullptr || _named.contains(declared)) {
    _note({"'", name, "' was left out: '", declared, "' was given too"});
    return false;
  }
  _note({"'", name, "' was read as '", declared, "'"});
  return true;
}

void Normalizing_::_take_action(const Value& value) {
  const ActionSpec* action = spec.action(value);
  if (action == nullptr) {
    _action_refused = true;
    if (spec.actions().empty()) return _problem({spec.name(), " takes no 'action'"});
    return _problem({_unknown_action(spec, value)});
  }
  if (value.if_text() != action->name) {
    alias_hit = true;
    _note({"the action '", TextForm(value), "' was read as '", action->name, "'"});
  }
  MappingAccess::set(arguments, index_.action_key, action->name);
}

void Normalizing_::_unknown_parameter(std::string_view name) {
  const auto near = _nearest(name, index_.name_candidates);
  if (!near || near->empty()) {
    return _problem({"Unknown parameter '", name, "' for ", spec.name(), ".", index_.takes});
  }
  _problem({"Unknown parameter '", name, "' for ", spec.name(), ". Did you mean '", *near, "'?",
            index_.takes});
}

// Only what is coerced is matched or bounded: an enumeration's text is never bounded, and a list is
// bounded by nothing.
Value Normalizing_::_coerced(const ParamIndex& param, Argument_ argument) {
  auto [value, failure] = _converted(param, argument);
  if (failure != Coercion_::Failure::none) {
    _problem({"Parameter '", param.spec.name, "' of ", spec.name(), " must be ", _words(param),
              ", not ", display_form(argument.value())});
    return {};
  }
  return param.admits(value) ? std::move(value) : _within(param, std::move(value));
}

// An integer too large for a float is the one value that ends the admission of a request.
Coercion_ Normalizing_::_converted(const ParamIndex& param, const Argument_& argument) const {
  if (param.spec.custom != nullptr) return _custom(*param.spec.custom, argument.value());
  try {
    return COERCIONS_.at(param)(argument);
  } catch (const std::overflow_error&) {
    const std::string_view digits = argument.value().as_integer().digits();
    const std::string size = std::to_string(digits.size() - (digits.starts_with('-') ? 1 : 0));
    throw std::overflow_error(
        line_of({"Parameter '", param.spec.name, "' of ", spec.name(),
                 " must be within the range of floats, not an integer of ", size, " digits"}));
  } catch (const std::out_of_range& error) {
    throw std::out_of_range(line_of({"Parameter '", param.spec.name, "' of ", spec.name(),
                                     " cannot be admitted: ", error.what()}));
  }
}

// The value of the declared type within the enumeration or the bounds. A list without an
// enumeration is looked into only for its items to be made text.
Value Normalizing_::_within(const ParamIndex& param, Value&& value) {
  List* items = param.spec.custom == nullptr ? value.if_list() : nullptr;
  if (param.has_enum) {
    if (items != nullptr) return _enum_items(param, *items);
    const std::string* entry = _enum_value(param, TextForm(value));
    return entry != nullptr ? Value(*entry) : Value();
  }
  if (items == nullptr) return _bounded(param.spec, std::move(value));
  for (Value& item : *items) {
    if (!item.is_text()) item = text_form(item);
  }
  return std::move(value);
}

Value Normalizing_::_enum_items(const ParamIndex& index, const List& items) {
  List entries;
  entries.reserve(items.size());
  for (const Value& item : items) {
    if (const std::string* entry = _enum_value(index, TextForm(item))) entries.emplace_back(*entry);
  }
  return entries.size() == items.size() ? Value(std::move(entries)) : Value();
}

// Most requests write an entry as it is found in the index, and need no lower case made.
const std::string* Normalizing_::_enum_value(const ParamIndex& index, std::string_view value) {
  const ParamSpec& param = index.spec;
  const Value* position = index.enum_positions.find(value);
  if (position == nullptr) position = index.enum_positions.find(lower_cased(trimmed(value)));
  if (position != nullptr) return &param.enum_[static_cast<std::size_t>(position->get_int64())];
  _problem({"Parameter '", param.name, "' of ", spec.name(), " must",
            param.type == "array" ? " each" : "", " be one of: ", joined(param.enum_, ", "),
            "; not ", display_form(value)});
  return nullptr;
}

Value Normalizing_::_bounded(const ParamSpec& param, Value&& value) {
  if (!value.is_integer() && !value.is_float()) return std::move(value);
  const auto is_beyond = [&](const Value& bound, std::string_view which,
                             std::partial_ordering side) {
    if (bound.is_none()) return false;
    if (!bound.is_integer() && !bound.is_float()) {
      throw TypeError(line_of({"the ", which, " of parameter '", param.name, "' of ", spec.name(),
                               " must be a number, not ", kind_name(bound.kind())}));
    }
    return compare_numbers(value, bound) == side;
  };
  const bool below = is_beyond(param.minimum, "minimum", std::partial_ordering::less);
  if (!below && !is_beyond(param.maximum, "maximum", std::partial_ordering::greater)) {
    return std::move(value);
  }
  Value used = _used_bound(param, below ? param.minimum : param.maximum);
  _note({"'", param.name, "' ", display_form(value), " is ",
         below ? "below the minimum" : "above the maximum", ": ", display_form(used), " was used"});
  return used;
}

// The bound in the parameter's type.
Value Normalizing_::_used_bound(const ParamSpec& param, const Value& bound) const {
  try {
    return param.type == "integer" ? to_integer(bound) : Value(to_float(bound));
  } catch (const std::overflow_error& error) {
    throw std::overflow_error(
        line_of({"the bound ", display_form(bound), " of parameter '", param.name, "' of ",
                 spec.name(), " cannot be a value of its type: ", error.what()}));
  }
}

const Value* Normalizing_::_action() {
  const Value* named =
      index_.has_action ? MappingAccess::find(arguments, index_.action_key) : nullptr;
  if (named != nullptr || _action_refused) return named;
  const std::string* action = effective_action_(spec, nullptr);
  if (action != nullptr) return &arguments.set(index_.action_key, *action);
  if (!spec.actions().empty()) {
    _problem({spec.name(), " needs an 'action': one of ", joined(spec.action_names(), ", ")});
  }
  return nullptr;
}

void Normalizing_::_settle() {
  if (const Value* action = _action()) {
    _missing(spec, TextForm(*action), arguments, problems);
  } else if (spec.actions().empty()) {
    _missing(spec, std::nullopt, arguments, problems);
  }
}

// Where this throws nothing waits to be destroyed, since each frame with something to destroy makes
// the throw a third slower.
NormalizedArguments Normalizing_::result() {
  _settle();
  if (!problems.empty()) throw ArgumentError(std::move(problems));
  return NormalizedArguments(std::move(arguments), std::move(notes), alias_hit);
}

Admission Normalizing_::outcome() {
  _settle();
  if (!problems.empty()) return Admission::refused(std::move(problems));
  return NormalizedArguments(std::move(arguments), std::move(notes), alias_hit);
}

std::string _unknown_action(const ToolSpec& spec, const Value& action) {
  std::string error = spec.unknown_action_error(action);
  if (const auto near = _nearest(TextForm(action), ToolIndex::of(spec).action_candidates)) {
    error += line_of({". Did you mean '", *near, "'?"});
  }
  return error;
}

std::optional<std::string_view> _nearest(std::string_view name,
                                         std::span<const NameCandidate> candidates) {
  NearestName nearest(name, NEAR_NAME_CUTOFF_);
  std::optional<std::string_view> declared;
  for (const NameCandidate& candidate : candidates) {
    if (nearest.offer(candidate)) declared = candidate.declared;
  }
  return declared;
}

std::optional<std::string> missing_arguments(ToolRef tool, std::optional<std::string_view> action,
                                             const Mapping& arguments) {
  std::string problems;
  _missing(tool.spec(), action, arguments, problems);
  if (problems.empty()) return std::nullopt;
  return problems;
}

void _missing(const ToolSpec& spec, const std::optional<std::string_view>& action,
              const Mapping& arguments, std::string& problems) {
  const bool is_named = action && !action->empty();
  for (const ParamIndex* index : ToolIndex::of(spec).needed) {
    const ParamSpec& param = index->spec;
    const Value* value = MappingAccess::find(arguments, index->key);
    if (value != nullptr && _given(param, *value)) continue;
    if (!param.required_by(action)) continue;
    if (is_named) {
      add_line(problems, {spec.name(), " '", *action, "' needs '", param.name, "'"});
    } else {
      add_line(problems, {spec.name(), " needs '", param.name, "'"});
    }
  }
}

bool _given(const ParamSpec& param, const Value& value) noexcept {
  if (value.is_none()) return false;
  if (param.blank_is_value) return true;
  if (const List* items = value.if_list()) return !items->empty();
  return !is_blank_text(value);
}

// The coercers: each reads the kinds of value that its type can be sent as.

namespace {

using Failure = Coercion_::Failure;

Coercion_ failed(Failure failure) noexcept { return {{}, failure}; }

}  // namespace

std::string_view _words(const ParamIndex& param) {
  return param.spec.custom != nullptr ? param.spec.custom->words : TYPE_WORDS_.at(param);
}

// What the accessors of a Value and the standard's readers of numbers throw.
bool _refuses(const std::exception& thrown) noexcept {
  return dynamic_cast<const std::invalid_argument*>(&thrown) != nullptr ||
         dynamic_cast<const std::out_of_range*>(&thrown) != nullptr ||
         dynamic_cast<const std::overflow_error*>(&thrown) != nullptr ||
         dynamic_cast<const TypeError*>(&thrown) != nullptr;
}

Coercion_ _custom(const CustomType& type, const Value& value) {
  try {
    std::optional<Value> taken = type.read(value);
    if (taken && !taken->is_none()) return {*std::move(taken)};
    return failed(Failure::value_error);
  } catch (const std::exception& thrown) {
    if (!_refuses(thrown)) throw;
    return failed(Failure::value_error);
  }
}

Coercion_ _integer(Argument_ argument) {
  const Value& value = argument.value();
  switch (value.kind()) {
    case Kind::boolean:
      return failed(Failure::type_error);
    case Kind::float_:
      if (!is_whole(value.get_float())) return failed(Failure::value_error);
      return {to_integer(value)};
    case Kind::text:
      if (auto integer = read_integer(value.get_text())) return {*std::move(integer)};
      return failed(Failure::value_error);
    case Kind::integer:
      return {argument.take()};
    default:
      return failed(Failure::type_error);
  }
}

Coercion_ _number(Argument_ argument) {
  const Value& value = argument.value();
  switch (value.kind()) {
    case Kind::integer:
    case Kind::float_:
      return {to_float(value)};
    case Kind::text:
      if (const auto number = read_float(value.get_text())) return {*number};
      return failed(Failure::value_error);
    default:
      return failed(Failure::type_error);
  }
}

Coercion_ _boolean(Argument_ argument) {
  const Value& value = argument.value();
  if (value.is_boolean()) return {value};
  if (const auto bit = value.if_int64(); bit && (*bit == 0 || *bit == 1)) return {*bit == 1};
  if (!value.is_text()) return failed(Failure::type_error);
  try {
    return {parse_bool(value.get_text())};
  } catch (const std::invalid_argument&) {
    return failed(Failure::value_error);
  }
}

Coercion_ _string(Argument_ argument) {
  const Value& value = argument.value();
  switch (value.kind()) {
    case Kind::text:
      return {argument.take()};
    case Kind::integer:
    case Kind::float_:
      return {text_form(value)};
    default:
      return failed(Failure::type_error);
  }
}

Coercion_ _array(Argument_ argument) {
  const Value& value = argument.value();
  if (value.is_list()) return {argument.take()};
  if (!value.is_text()) return failed(Failure::type_error);
  try {
    return {split_csv(value.get_text())};
  } catch (const std::invalid_argument&) {
    return failed(Failure::value_error);
  }
}

constinit const TypeTable_<Coercion_ (*)(Argument_)> COERCIONS_ = {{{
    {"integer", _integer},
    {"number", _number},
    {"boolean", _boolean},
    {"string", _string},
    {"array", _array},
}}};

constinit const TypeTable_<std::string_view> TYPE_WORDS_ = {{{
    {"integer", "a whole number"},
    {"number", "a number"},
    {"boolean", "true or false"},
    {"string", "text"},
    {"array", "a list (or comma-separated text)"},
}}};

// The admitted arguments are bound: every declared parameter gets its value.

namespace {

// The defaults, with what the arguments hold in their places. `Arguments` are read, or moved from
// when they are not const.
template <class Arguments>
Mapping bound_from(const ToolSpec& spec, Arguments& arguments) {
  const ToolIndex& index = ToolIndex::of(spec);
  Mapping bound = index.defaults;
  if (index.binds_action) {
    const Value* given = MappingAccess::find(arguments, index.action_key);
    const std::string* action = effective_action_(spec, given);
    if (action != nullptr) bound.begin()->value = *action;
  }
  Mapping::Entry* const places = std::to_address(bound.begin());
  for (auto& entry : arguments) {
    const NameTable::Entry& name = index.names.find(entry.key());
    if (name.is_declared) places[name.param->place].value = std::move(entry.value);
  }
  return bound;
}

// Binds arguments in the order of declaration, as clients tend to send them, in place: each
// moves up to its place, and defaults take the others. Of any other arguments it answers no.
bool bound_in_place(const ToolIndex& index, Mapping& arguments) {
  const bool is_whole = arguments.size() == index.defaults.size();
  const bool can_grow = index.binds_in_place && !MappingAccess::is_indexed(arguments);
  if (!is_whole && !can_grow) return false;
  if (!MappingAccess::is_part_of(arguments, index.defaults)) return false;
  if (!is_whole) MappingAccess::complete(arguments, index.defaults);
  return true;
}

}  // namespace

Mapping bind_arguments(ToolRef tool, const Mapping& arguments) {
  return bound_from(tool.spec(), arguments);
}

Mapping bind_arguments(ToolRef tool, Mapping&& arguments) {
  const ToolSpec& spec = tool.spec();
  const ToolIndex& index = ToolIndex::of(spec);
  if (!bound_in_place(index, arguments)) return bound_from(spec, arguments);
  if (index.binds_action) {
    Value& action = arguments.begin()->value;
    const std::string* name = effective_action_(spec, &action);
    action = name != nullptr ? Value(*name) : Value();
  }
  return std::move(arguments);
}

Value action_default(ToolRef tool, std::string_view name, std::string_view action) {
  const ParamSpec* param = tool.spec().param(name);
  if (param == nullptr) {
    throw std::out_of_range(
        line_of({"the registry's ", tool.spec().name(), " tool declares no ", display_form(name)}));
  }
  const auto& defaults = param->action_defaults;
  const auto last = std::find_if(defaults.rbegin(), defaults.rend(),
                                 [action](const auto& row) { return row.first == action; });
  return last != defaults.rend() ? last->second : param->default_;
}

// The handler is called with what is bound, and with the context that it takes.

Mapping handler_kwargs(const Handler& handler, Mapping bound, const Mapping& context) {
  const auto takes = _parameter_names(handler);
  for (const Mapping::Entry& entry : context) {
    if (!takes || takes->contains(entry.key().as_text())) bound.set(entry.key(), entry.value);
  }
  return bound;
}

std::optional<ParameterNames_> _parameter_names(const Handler& handler) noexcept {
  const auto& signature = handler.signature;
  const bool takes_any =
      std::any_of(signature.begin(), signature.end(), [](const HandlerParameter& parameter) {
        return parameter.kind == ParameterKind::VAR_KEYWORD;
      });
  if (takes_any) return std::nullopt;
  return ParameterNames_(signature);
}

bool ParameterNames_::contains(std::string_view name) const noexcept {
  return std::any_of(signature_.begin(), signature_.end(), [name](const HandlerParameter& each) {
    return each.kind != ParameterKind::VAR_POSITIONAL && each.name == name;
  });
}

}  // namespace tool_binding
