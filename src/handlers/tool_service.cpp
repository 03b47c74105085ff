#include "tool_binding/tool_service.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <set>
#include <stdexcept>

#include "handlers/binding.hpp"
#include "text/lines.hpp"
#include "tool_binding/json.hpp"
#include "value/mapping_access.hpp"

namespace tool_binding {

struct ToolService::Record {
  ToolTable tools;
  std::vector<detail::BoundTool> bound;  // in the order of the table
  std::vector<ToolInfo> infos;
  ServiceOptions options;

  // Their number for an unknown name.
  [[nodiscard]] std::size_t position(std::string_view tool) const noexcept {
    const ToolSpec* spec = tools.find(tool);
    return spec != nullptr ? static_cast<std::size_t>(spec - &*tools.begin()) : tools.size();
  }
};

std::string_view ToolAnswer::text() const& noexcept {
  for (const Content& block : content) {
    if (const auto* text = std::get_if<TextContent>(&block)) return text->text;
  }
  return {};
}

namespace {

using detail::BoundTool;
using detail::ToolRecord;

// Two tools of one name cannot be in one table: the later one is a problem.
std::vector<ToolSpec> distinct_specs(const std::vector<Tool>& tools,
                                     std::vector<std::string>& problems) {
  std::vector<ToolSpec> specs;
  std::set<std::string_view> names;
  for (const Tool& tool : tools) {
    if (names.insert(tool.spec().name()).second) {
      specs.push_back(tool.spec());
    } else {
      problems.push_back(
          detail::problem_of(tool.spec(), "", "two tools have this name; rename one of them"));
    }
  }
  return specs;
}

// Results.

void add_text(ToolAnswer& answer, std::string text) {
  answer.content.emplace_back(TextContent{std::move(text)});
}

// A mapping or a list, and its JSON as text before all other blocks unless there is a text.
void add_structured(ToolAnswer& answer, Value structured) {
  if (answer.text().empty()) {
    answer.content.insert(answer.content.begin(), TextContent{json_text(structured)});
  }
  answer.structured = std::move(structured);
}

bool is_structured(const Value& value) noexcept { return value.is_mapping() || value.is_list(); }

struct TakeResult {
  void operator()(std::monostate) const {}
  void operator()(std::string&& text) const { add_text(answer, std::move(text)); }
  void operator()(Value&& value) const {
    if (is_structured(value)) return add_structured(answer, std::move(value));
    if (value.is_text()) return add_text(answer, std::string(value.get_text()));
    if (!value.is_none()) add_text(answer, json_text(value));
  }
  void operator()(Answer&& result) const {
    answer.content = std::move(result.content);
    if (is_structured(result.structured)) {
      add_structured(answer, std::move(result.structured));
    } else if (!result.structured.is_none()) {
      throw std::invalid_argument(
          line_of({"structured content is ", kind_name(result.structured.kind()),
                   ", and can be a mapping or a list"}));
    }
    if (result.is_error) answer.outcome = Outcome::failed;
  }

  ToolAnswer& answer;
};

// What a handler threw.

// The type of the exception that is being handled.
std::string exception_kind() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type == nullptr) return "unknown";
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &std::free);
  return name != nullptr ? name.get() : type->name();
}

// Precondition: an exception is being handled.
std::string exception_text() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return {};
  }
}

}  // namespace

ToolService::ToolService(std::vector<Tool> tools, const Context& context, ServiceOptions options) {
  std::vector<std::string> problems;
  auto record = std::make_shared<Record>();
  record->options = std::move(options);
  for (const Tool& tool : tools) {
    const ToolRecord& parts = tool.record();
    problems.insert(problems.end(), parts.problems.begin(), parts.problems.end());
    record->bound.push_back(
        {plan_of(parts.spec, parts.callable, context, problems), parts.callable.function});
    record->infos.push_back(parts.info);
  }
  record->tools = ToolTable(distinct_specs(tools, problems));
  if (!problems.empty()) throw HandlerError(std::move(problems));
  record_ = std::move(record);
}

const ToolTable& ToolService::tools() const noexcept { return record_->tools; }

const ToolInfo* ToolService::info(std::string_view tool) const noexcept {
  const std::size_t position = record_->position(tool);
  return position < record_->infos.size() ? &record_->infos[position] : nullptr;
}

// A call: the answer is filled as far as it came when something is thrown.

namespace {

class Calling {
 public:
  Calling(const BoundTool& tool, const CallOptions& options)
      : tool_(tool), options_(options), call_(tool.plan.spec.name(), options) {}

  template <class Arguments>
  ToolAnswer answer(Arguments&& arguments, const ServiceOptions& service) && {
    try {
      if (auto bound = admitted(std::forward<Arguments>(arguments))) run(*bound);
    } catch (const ToolError& error) {
      fail(std::string(error.message()));
    } catch (...) {
      log(service);
      fail(spec().name() + " failed with an internal error");
    }
    for (std::string& note : std::move(call_).notes()) answer_.notes.push_back(std::move(note));
    return std::move(answer_);
  }

 private:
  [[nodiscard]] const ToolSpec& spec() const noexcept { return tool_.plan.spec; }

  // What is bound, or nothing where the arguments are refused.
  template <class Arguments>
  std::optional<Mapping> admitted(Arguments&& arguments) {
    try {
      Admission admission = try_normalize_arguments(spec(), std::forward<Arguments>(arguments));
      if (!admission) {
        refuse(std::move(admission).error());
        return std::nullopt;
      }
      NormalizedArguments request = *std::move(admission);
      answer_.notes = std::move(request).notes();
      return bind_arguments(spec(), std::move(request).arguments());
    } catch (const std::overflow_error& error) {
      refuse(error.what());
    } catch (const TypeError&) {  // bounds were looked at when the service was made
      refuse(line_of({"The arguments of ", spec().name(), " must be named by texts"}));
    }
    return std::nullopt;
  }

  void run(Mapping& bound) {
    detail::Frame frame(tool_.plan, bound, call_);
    tool_.function->call(frame);
    if (frame.is_refused()) return refuse(std::move(frame).refusal());
    std::visit(TakeResult{answer_}, std::move(frame.result));
  }

  void refuse(std::string text) {
    answer_.outcome = Outcome::refused;
    add_text(answer_, std::move(text));
  }
  void fail(std::string text) {
    answer_.outcome = Outcome::failed;
    answer_.content.clear();
    answer_.structured = {};
    add_text(answer_, std::move(text));
  }
  void log(const ServiceOptions& service) const noexcept {
    const auto& log = service.log ? service.log : options_.log;
    if (!log) return;
    try {
      const std::string kind = exception_kind();
      const std::string text = exception_text();
      log({spec().name(), kind, text});
    } catch (...) {
      // Nobody is left to hear of it, and the client's answer matters more.
    }
  }

  const BoundTool& tool_;
  const CallOptions& options_;
  Call call_;
  ToolAnswer answer_;
};

ToolAnswer no_such_tool(const ToolTable& tools, std::string_view name) {
  ToolAnswer answer{.outcome = Outcome::no_such_tool};
  try {
    static_cast<void>(tools.at(name));
  } catch (const UnknownToolError& error) {
    add_text(answer, error.what());
  }
  return answer;
}

}  // namespace

ToolAnswer ToolService::call(std::string_view tool, const Mapping& arguments,
                             const CallOptions& options) const {
  const std::size_t position = record_->position(tool);
  if (position == record_->bound.size()) return no_such_tool(record_->tools, tool);
  return Calling(record_->bound[position], options).answer(arguments, record_->options);
}

ToolAnswer ToolService::call(std::string_view tool, Mapping&& arguments,
                             const CallOptions& options) const {
  const std::size_t position = record_->position(tool);
  if (position == record_->bound.size()) return no_such_tool(record_->tools, tool);
  return Calling(record_->bound[position], options).answer(std::move(arguments), record_->options);
}

// What is published.

namespace {

void set_hint(Mapping& hints, std::string_view name, const std::optional<bool>& hint) {
  if (hint) hints.set(name, *hint);
}

Mapping annotations_mapping(const ToolAnnotations& annotations) {
  Mapping hints;
  set_hint(hints, "readOnlyHint", annotations.read_only);
  set_hint(hints, "destructiveHint", annotations.destructive);
  set_hint(hints, "idempotentHint", annotations.idempotent);
  set_hint(hints, "openWorldHint", annotations.open_world);
  return hints;
}

Mapping icon_mapping(const ToolIcon& icon) {
  Mapping mapping{{"src", icon.src}};
  if (!icon.mime_type.empty()) mapping.set("mimeType", icon.mime_type);
  if (!icon.sizes.empty()) mapping.set("sizes", List(icon.sizes.begin(), icon.sizes.end()));
  if (!icon.theme.empty()) mapping.set("theme", icon.theme);
  return mapping;
}

// The record of one tool in a tools/list answer, from its name, description and input schema.
Mapping wire_tool(Mapping tool, const ToolInfo& info) {
  if (!info.title.empty()) tool.set("title", info.title);
  if (!info.output_schema.empty()) tool.set("outputSchema", info.output_schema);
  Mapping annotations = annotations_mapping(info.annotations);
  if (!annotations.empty()) tool.set("annotations", std::move(annotations));
  List icons;
  for (const ToolIcon& icon : info.icons) icons.emplace_back(icon_mapping(icon));
  if (!icons.empty()) tool.set("icons", std::move(icons));
  return tool;
}

}  // namespace

std::vector<SchemaProblem> ToolService::warnings() const {
  std::vector<SchemaProblem> all;
  for (const ToolSpec& tool : tools()) {
    std::vector<SchemaProblem> found = check_tool(tool.definition()).warnings;
    std::move(found.begin(), found.end(), std::back_inserter(all));
  }
  return all;
}

Value ToolService::tools_file() const { return publish_tools(record_->tools); }

List ToolService::wire_tools(const WireOptions& options) const {
  List tools = tool_binding::wire_tools(record_->tools, options);
  for (std::size_t i = 0; i < tools.size(); ++i) {
    tools[i] = wire_tool(std::move(tools[i].as_mapping()), record_->infos[i]);
  }
  return tools;
}

}  // namespace tool_binding
