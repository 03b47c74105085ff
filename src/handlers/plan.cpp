#include <algorithm>
#include <set>

#include "handlers/binding.hpp"
#include "handlers/match_type.hpp"
#include "registry/tool_index.hpp"
#include "text/lines.hpp"
#include "text/similarity.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding::detail {
namespace {

std::string taken_context_name(const TakenParameter& taken) {
  const std::string name = line_of({taken.is_const ? "const " : "", taken.context_name});
  if (taken.role == Role::shared) return line_of({"std::shared_ptr<", name, ">"});
  return name + (taken.role == Role::pointer ? "*" : "&");
}

std::string provided_name(const Context::Entry& entry) {
  return line_of({entry.is_const ? "const " : "", entry.type_name});
}

bool has_name(const std::vector<std::string>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

class Planning {
 public:
  Planning(const ToolSpec& spec, const Callable& callable, const Context& context,
           std::vector<std::string>& problems)
      : spec_(spec), callable_(callable), context_(context), problems_(problems) {}

  Plan plan() {
    match_definition();
    Plan plan{spec_, {}};
    for (const NamedParameter& parameter : callable_.parameters) {
      plan.slots.push_back(slot_of(parameter));
    }
    match_taken();
    match_ignored();
    match_context();
    return plan;
  }

 private:
  void add(std::string_view parameter, Pieces pieces) {
    problems_.push_back(problem_of(spec_, parameter, line_of(pieces)));
  }

  void match_definition() {
    for (const SchemaProblem& problem : check_tool(spec_.definition()).errors) {
      problems_.push_back(problem_line(problem));
    }
  }

  // Parameters of the request.

  // The parameter of that declared name; a synonym is none.
  [[nodiscard]] const ParamSpec* declared(std::string_view name) const {
    const ParamSpec* param = spec_.param(name);
    return param != nullptr && param->name == name ? param : nullptr;
  }
  [[nodiscard]] bool is_action(std::string_view name) const {
    return name == ACTION_PARAM && !spec_.actions().empty();
  }

  Slot slot_of(const NamedParameter& parameter) {
    if (!is_named(parameter.taken.role)) return {};
    if (!parameter.name.empty() && !taken_.insert(parameter.name).second) {
      add(parameter.name, {"is named twice; name each parameter once"});
      return {};
    }
    if (parameter.taken.role != Role::parameter) return context_slot(parameter);
    const CppType& type = *parameter.taken.type;
    if (is_action(parameter.name)) return action_slot(type);
    if (const ParamSpec* param = declared(parameter.name)) return param_slot(*param, type);
    add(parameter.name, {unknown_reason(parameter.name)});
    return {};
  }

  Slot action_slot(const CppType& type) {
    for (const std::string& reason : action_mismatches(spec_, type)) add(ACTION_PARAM, {reason});
    return {.type = &type};
  }

  Slot param_slot(const ParamSpec& param, const CppType& type) {
    for (const std::string& reason : type_mismatches(spec_, param, type)) add(param.name, {reason});
    const auto place = static_cast<std::size_t>(&param - spec_.params().data());
    Slot slot{
        .place = ToolIndex::of(spec_).param_index[place].place, .param = &param, .type = &type};
    if (!param.action_defaults.empty()) slot.action_defaults = defaults_by_action(param);
    return slot;
  }

  [[nodiscard]] std::vector<std::pair<Value, Value>> defaults_by_action(
      const ParamSpec& param) const {
    std::vector<std::pair<Value, Value>> defaults;
    for (const std::string& action : spec_.action_names()) {
      defaults.emplace_back(action, action_default(spec_, param.name, action));
    }
    defaults.emplace_back(Value(), param.default_);
    return defaults;
  }

  [[nodiscard]] std::string unknown_reason(std::string_view name) const {
    if (const ParamSpec* param = spec_.param(name)) {
      return line_of({"is a synonym of '", param->name, "'; write '", param->name, "'"});
    }
    for (const Context::Entry& entry : context_.entries()) {
      if (entry.name == name) {
        return line_of({"is in the context; take ", provided_name(entry), "& or std::shared_ptr<",
                        provided_name(entry), ">"});
      }
    }
    return line_of({"is neither a parameter of ", spec_.name(),
                    spec_.actions().empty() ? "" : ", nor the action", ", nor in the context",
                    nearest(name), "; ", takes()});
  }
  [[nodiscard]] std::string takes() const {
    if (spec_.param_names().empty()) return spec_.name() + " takes no parameters";
    return line_of({spec_.name(), " takes ", joined(spec_.param_names(), ", ")});
  }
  [[nodiscard]] std::string nearest(std::string_view name) const {
    NearestName nearest(name, NEAR_NAME_CUTOFF_);
    for (const std::string& param : spec_.param_names()) nearest.offer(param);
    if (!spec_.actions().empty()) nearest.offer(ACTION_PARAM);
    for (const Context::Entry& entry : context_.entries()) nearest.offer(entry.name);
    const auto best = nearest.best();
    if (!best) return {};
    return line_of({": did you mean '", *best, "'?"});
  }

  void match_taken() {
    for (const std::string& name : spec_.param_names()) match_declared(name);
    if (spec_.actions().size() > 1) match_declared(ACTION_PARAM);
  }
  void match_declared(std::string_view name) {
    const bool is_ignored = has_name(callable_.ignored, name);
    if (taken_.contains(name) != is_ignored) return;
    if (is_ignored) return add(name, {"is ignored, and the handler takes it; do one of both"});
    add(name, {name == ACTION_PARAM ? "is the action" : "is declared",
               ", and the handler does not take it; take it, or add ignored(\"", name, "\")"});
  }
  void match_ignored() {
    for (const std::string& name : callable_.ignored) {
      if (declared(name) != nullptr || is_action(name)) continue;
      add(name,
          {"is ignored, and is not a parameter of ", spec_.name(), nearest(name), "; ", takes()});
    }
  }

  // Context.

  void match_context() {
    for (const Context::Entry& entry : context_.entries()) {
      if (declared(entry.name) == nullptr && !is_action(entry.name)) continue;
      add(entry.name, {"is a parameter of ", spec_.name(),
                       " and an entry of the context; give one of them another name"});
    }
  }

  Slot context_slot(const NamedParameter& parameter) {
    if (declared(parameter.name) != nullptr || is_action(parameter.name)) {
      add(parameter.name,
          {"is a parameter of ", spec_.name(), ", and the handler takes ",
           taken_context_name(parameter.taken),
           ", which only the context can give; take the parameter by value or const reference"});
      return {};
    }
    const Context::Entry* entry = entry_for(parameter);
    return entry != nullptr ? Slot{.context = entry->object} : Slot{};
  }

  // Null, with a problem unless the handler takes a pointer and there is no such entry.
  [[nodiscard]] const Context::Entry* entry_for(const NamedParameter& parameter) {
    for (const Context::Entry& entry : context_.entries()) {
      if (entry.name != parameter.name || parameter.name.empty()) continue;
      if (fits(entry, parameter.taken)) return &entry;
      add(parameter.name,
          {"is ", provided_name(entry), " in the context, and the handler takes ",
           taken_context_name(parameter.taken), "; take ", provided_name(entry), "&"});
      return nullptr;
    }
    return entry_by_type(parameter);
  }
  static bool fits(const Context::Entry& entry, const TakenParameter& taken) {
    return entry.type == *taken.context && (taken.is_const || !entry.is_const);
  }
  [[nodiscard]] const Context::Entry* entry_by_type(const NamedParameter& parameter) {
    const TakenParameter& taken = parameter.taken;
    std::vector<std::string> names;
    const Context::Entry* found = nullptr;
    for (const Context::Entry& entry : context_.entries()) {
      if (entry.type != *taken.context) continue;
      names.push_back(entry.name);
      found = &entry;
    }
    if (names.size() > 1) return many_entries(parameter, names);
    if (found == nullptr) return no_entry(parameter);
    if (fits(*found, taken)) return found;
    add(parameter.name,
        {"the handler takes ", taken_context_name(taken), ", and the context's '", found->name,
         "' is ", provided_name(*found), "; take ", provided_name(*found), "&"});
    return nullptr;
  }
  const Context::Entry* many_entries(const NamedParameter& parameter,
                                     const std::vector<std::string>& names) {
    add(parameter.name,
        {"the handler takes ", taken_context_name(parameter.taken),
         ", and several entries of the context are of that type; ",
         parameter.name.empty() ? "give types of their own to " : "name one of ",
         joined(names, ", "), parameter.name.empty() ? "" : ", or give them types of their own"});
    return nullptr;
  }
  const Context::Entry* no_entry(const NamedParameter& parameter) {
    if (parameter.taken.role == Role::pointer) return nullptr;
    const std::string_view type = parameter.taken.context_name;
    const std::string name = parameter.name.empty() ? "NAME" : parameter.name;
    add(parameter.name,
        {"the handler takes ", taken_context_name(parameter.taken),
         ", and the context has no entry of exactly that type; provide(\"", name,
         "\", std::shared_ptr<", type, ">), or take ", type, "*, which may be null"});
    return nullptr;
  }

  const ToolSpec& spec_;
  const Callable& callable_;
  const Context& context_;
  std::vector<std::string>& problems_;
  std::set<std::string, std::less<>> taken_;
};

}  // namespace

std::string problem_of(const ToolSpec& spec, std::string_view parameter, std::string_view reason) {
  return problem_line({spec.name(), std::string(parameter), std::string(reason)});
}

Plan plan_of(const ToolSpec& spec, const Callable& callable, const Context& context,
             std::vector<std::string>& problems) {
  return Planning(spec, callable, context, problems).plan();
}

}  // namespace tool_binding::detail
