#include "tool_binding/handlers.hpp"

#include <algorithm>

#include "handlers/binding.hpp"
#include "registry/tool_index.hpp"
#include "text/lines.hpp"
#include "tool_binding/tool_schemas.hpp"

namespace tool_binding {

HandlerError::HandlerError(std::vector<std::string> problems)
    : std::logic_error(joined(problems, "\n")),
      problems_(std::make_shared<const std::vector<std::string>>(std::move(problems))) {}

HandlerError::~HandlerError() = default;

void Context::add(Entry entry) {
  if (entry.object == nullptr) {
    throw std::invalid_argument("the context's '" + entry.name +
                                "' is null: leave out what is absent");
  }
  for (const Entry& other : entries_) {
    if (other.name == entry.name) {
      throw std::invalid_argument("the context has two entries '" + entry.name + "'");
    }
  }
  entries_.push_back(std::move(entry));
}

const ToolSpec& Tool::spec() const noexcept { return record_->spec; }
const ToolInfo& Tool::info() const noexcept { return record_->info; }

Tool Tool::with(ToolInfo info) const {
  detail::ToolRecord record = *record_;
  record.info = std::move(info);
  return Tool(std::make_shared<const detail::ToolRecord>(std::move(record)));
}

namespace detail {

std::vector<NamedParameter> named_parameters(std::span<const TakenParameter> parameters,
                                             std::span<const std::string_view> names) {
  std::vector<NamedParameter> named;
  std::size_t next = 0;
  for (const TakenParameter& taken : parameters) {
    const bool has_name = is_named(taken.role) && next < names.size();
    named.push_back({has_name ? std::string(names[next++]) : "", taken});
  }
  return named;
}

// A handler of the layer, called through it.

namespace {

// What a Handler gives for a function's result.
struct ResultValue {
  Value operator()(std::monostate) const { return {}; }
  Value operator()(const std::string& text) const { return text; }
  Value operator()(Value&& value) const { return std::move(value); }
  Value operator()(const Answer& answer) const { return answer_mapping(answer); }
};

// Whether arguments begin with all names, in the places where binding puts them.
bool is_bound(const ToolSpec& spec, const Mapping& arguments) noexcept {
  const Mapping& all = ToolIndex::of(spec).defaults;
  return arguments.size() >= all.size() &&
         std::equal(all.begin(), all.end(), arguments.begin(),
                    [](const auto& left, const auto& right) { return left.key() == right.key(); });
}

struct BoundCall {
  Value operator()(Mapping arguments) const {
    const ToolSpec& spec = tool->plan.spec;
    if (!is_bound(spec, arguments)) arguments = bind_arguments(spec, std::move(arguments));
    static const CallOptions& none = *new CallOptions;
    Call call(spec.name(), none);
    Frame frame(tool->plan, arguments, call);
    tool->function->call(frame);
    if (frame.is_refused()) throw ArgumentError(std::move(frame).refusal());
    return std::visit(ResultValue(), std::move(frame.result));
  }

  std::shared_ptr<const BoundTool> tool;
};

std::vector<HandlerParameter> signature_of_callable(const Callable& callable) {
  std::vector<HandlerParameter> signature;
  for (const NamedParameter& parameter : callable.parameters) {
    if (parameter.taken.role == Role::parameter) signature.push_back({parameter.name});
  }
  return signature;
}

Handler bound_handler(const ToolSpec& spec, const Context& context, const Callable& callable,
                      std::vector<std::string> problems) {
  Plan plan = plan_of(spec, callable, context, problems);
  if (!problems.empty()) throw HandlerError(std::move(problems));
  return {
      signature_of_callable(callable),
      BoundCall{std::make_shared<const BoundTool>(BoundTool{std::move(plan), callable.function})}};
}

}  // namespace

Handler make_handler(const ToolSpec& spec, const Context& context, Callable callable) {
  return bound_handler(spec, context, callable, {});
}

// A handler that is written by hand, called as a function.

namespace {

class ByHand final : public Function {
 public:
  explicit ByHand(Handler handler) : handler_(std::move(handler)) {}

  void call(Frame& frame) const override {
    try {
      frame.result = handler_.call(std::move(frame.bound()));
    } catch (const ArgumentError& error) {  // of a bound handler: it refuses what it cannot take
      frame.refuse(error.message());
    }
  }

 private:
  Handler handler_;
};

// It gets every declared parameter, whatever it names; it can name nothing else.
std::vector<std::string> handler_problems(const ToolSpec& spec, const Handler& handler) {
  std::vector<std::string> problems;
  if (handler.call == nullptr) problems.push_back(problem_of(spec, "", "the handler is empty"));
  for (const HandlerParameter& parameter : handler.signature) {
    const bool is_name = parameter.kind != ParameterKind::VAR_KEYWORD &&
                         parameter.kind != ParameterKind::VAR_POSITIONAL;
    if (!is_name || ToolIndex::of(spec).defaults.contains(parameter.name)) continue;
    problems.push_back(problem_of(spec, parameter.name,
                                  line_of({"is not a parameter of ", spec.name(),
                                           ", and a service gives a handler of this kind nothing "
                                           "else; capture it, or write a typed handler"})));
  }
  return problems;
}

Tool tool_of(ToolRecord record) {
  return Tool(std::make_shared<const ToolRecord>(std::move(record)));
}

// The declaration of a member: what its C++ type says, and the options.

ParamSpec declared(MemberDeclaration member) {
  const CppType& type = *member.type;
  ParamOptions& options = member.options;
  const bool is_one = !type.is_vector;
  ParamSpec param{.name = std::move(member.name),
                  .synonyms = std::move(options.synonyms),
                  .type = std::string(word_of(type)),
                  .items_type = type.is_vector ? std::string(item_word_of(type)) : "",
                  .enum_ = std::move(options.enum_),
                  .minimum = std::move(options.minimum),
                  .maximum = std::move(options.maximum),
                  .blank_is_value = options.blank_is_value,
                  .required_for = std::move(options.required_for),
                  .default_ = std::move(options.default_),
                  .action_defaults = std::move(options.action_defaults),
                  .description = std::move(options.description)};
  param.required = !type.is_optional && param.required_for.empty() && param.default_.is_none() &&
                   param.action_defaults.empty();
  if (type.kind == CppKind::enumeration && param.enum_.empty()) {
    for (const Enumerator& enumerator : type.enumerators()) {
      param.enum_.emplace_back(enumerator.name);
    }
  }
  if (type.kind == CppKind::custom) param.custom = type.param_custom();
  if (is_one && type.kind == CppKind::value) param.custom = any_type();
  if (is_one && type.kind == CppKind::mapping) param.custom = object_type();
  if (param.custom != nullptr) {
    param.type = "string";
    param.items_type.clear();
  }
  return param;
}

bool is_plain(const ParamOptions& options) { return options == ParamOptions(); }

// Puts the members before the definition's own parameters, and says which of them cannot be.
class Declaring {
 public:
  Declaring(ToolDefinition definition, Callable callable)
      : definition_(std::move(definition)), callable_(std::move(callable)) {}

  void add(MemberDeclaration member) {
    const bool is_action = member.name == ACTION_PARAM && !definition_.actions.empty();
    members_.push_back({member.name, {.type = member.type}});
    if (is_action && !is_plain(member.options)) {
      problem(member.name,
              "is the action, of which only the name is declared here; its default, "
              "names and synonyms are the definition's");
    }
    // One that comes twice is found when the handler is bound.
    if (!is_action) add_param(declared(std::move(member)));
  }

  Tool tool(bool takes_struct) && {
    if (takes_struct && members_.empty()) {
      problem("",
              "the handler takes a struct first, and no member of it is a parameter; name its "
              "members, or take a context entry as T& or std::shared_ptr<T>");
    }
    for (ParamSpec& param : definition_.params) {
      if (!add_param(param)) problem(param.name, "is declared twice; declare each parameter once");
    }
    definition_.params = std::move(params_);
    callable_.parameters.insert(callable_.parameters.begin(), members_.begin(), members_.end());
    return tool_of(
        {ToolSpec(std::move(definition_)), {}, std::move(callable_), std::move(problems_)});
  }

 private:
  // Whether it is the first of its name.
  bool add_param(ParamSpec param) {
    const bool is_first = std::none_of(params_.begin(), params_.end(), [&param](const auto& other) {
      return other.name == param.name;
    });
    if (is_first) params_.push_back(std::move(param));
    return is_first;
  }
  void problem(std::string_view parameter, std::string_view reason) {
    problems_.push_back(
        problem_line({definition_.name, std::string(parameter), std::string(reason)}));
  }

  ToolDefinition definition_;
  Callable callable_;
  std::vector<NamedParameter> members_;
  std::vector<ParamSpec> params_;
  std::vector<std::string> problems_;
};

}  // namespace

Tool make_tool(ToolSpec spec, Callable callable) {
  return tool_of({std::move(spec), {}, std::move(callable), {}});
}

Tool make_tool(ToolDefinition definition, std::vector<MemberDeclaration> members, bool takes_struct,
               Callable callable) {
  Declaring declaring(std::move(definition), std::move(callable));
  for (MemberDeclaration& member : members) declaring.add(std::move(member));
  return std::move(declaring).tool(takes_struct);
}

}  // namespace detail

Tool tool(ToolSpec spec, Handler handler) {
  std::vector<std::string> problems = detail::handler_problems(spec, handler);
  // Whatever it does not name it is given all the same.
  detail::Callable callable{
      std::make_shared<detail::ByHand>(std::move(handler)), {}, spec.param_names()};
  if (spec.actions().size() > 1) callable.ignored.emplace_back(ACTION_PARAM);
  return detail::tool_of({std::move(spec), {}, std::move(callable), std::move(problems)});
}

Handler bind_handler(const Tool& tool, const Context& context) {
  const detail::ToolRecord& record = tool.record();
  return detail::bound_handler(record.spec, context, record.callable, record.problems);
}

}  // namespace tool_binding
