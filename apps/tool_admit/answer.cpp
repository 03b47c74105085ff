#include "answer.hpp"

#include <new>
#include <stdexcept>
#include <utility>

#include "tool_binding/tool_binding.hpp"

namespace tool_binding::tool_admit {
namespace {

struct ErrorType {
  bool (*is_type_of)(const std::exception& error);
  std::string_view name;
};

template <class Error>
bool is(const std::exception& error) {
  return dynamic_cast<const Error*>(&error) != nullptr;
}

// The first that fits counts; what fits none is a fault of the registry.
constexpr ErrorType error_types[] = {
    {is<ArgumentError>, "ArgumentError"},
    {is<UnknownToolError>, "KeyError"},
    {is<std::overflow_error>, "OverflowError"},
    {is<RequestError>, "RequestError"},
    {is<JsonError>, "RequestError"},
    {is<std::bad_alloc>, "RequestError"},
};

std::string_view type_of(const std::exception& error) {
  for (const ErrorType& type : error_types) {
    if (type.is_type_of(error)) return type.name;
  }
  return "RegistryError";
}

bool append_error(std::string& out, const Value& tool, std::string_view type,
                  std::string_view message) {
  append_json(out += R"({"tool": )", tool);
  append_json(out += R"(, "error": {"type": )", type);
  append_json(out += R"(, "message": )", message);
  out += "}}\n";
  return false;
}

void append_notes(std::string& out, const std::vector<std::string>& notes) {
  std::string_view separator = "";
  for (const std::string& note : notes) {
    append_json(out += std::exchange(separator, ", "), note);
  }
}

}  // namespace

AnswerError answer_error(const std::exception& error) {
  if (is<std::bad_alloc>(error)) {
    return {"RequestError", "the request needs more memory than there is"};
  }
  const auto* refusal = dynamic_cast<const ArgumentError*>(&error);
  return {type_of(error), std::string(refusal != nullptr ? refusal->message() : error.what())};
}

LineKind LineReader::read_line(std::string_view line, std::string& why) {
  try {
    return read_calls(reader_.read(line), calls_, why);
  } catch (const std::exception& error) {  // JsonError, or std::bad_alloc
    why = answer_error(error).message;
    // A log may hold lines of text beside its messages; one that begins as a message was meant so.
    return calls_only_ && line[line.find_first_not_of(" \t\r")] != '{' ? LineKind::other
                                                                       : LineKind::calls;
  }
}

std::vector<Call>& LineReader::read(std::string_view line) {
  calls_.clear();
  std::string why;
  const LineKind kind = read_line(line, why);
  if (calls_.empty() && (kind == LineKind::calls || !calls_only_)) {
    calls_.push_back({.error = std::move(why)});
  }
  return calls_;
}

bool Answerer::answer(std::string_view line, std::string& out) {
  bool are_admitted = true;
  for (Call& call : lines_.read(line)) are_admitted = answer_call(call, out) && are_admitted;
  return are_admitted;
}

bool Answerer::answer_call(Call& call, std::string& out) const {
  const Value tool = call.tool ? Value(*call.tool) : Value();
  if (call.error) return append_error(out, tool, "RequestError", *call.error);
  const std::size_t size = out.size();
  try {
    return admit(call, out);
  } catch (const std::exception& error) {
    out.resize(size);
    const AnswerError answer = answer_error(error);
    return append_error(out, tool, answer.type, answer.message);
  }
}

bool Answerer::admit(Call& call, std::string& out) const {
  const ToolRef tool(*call.tool);
  Admission admission = try_normalize_arguments(tool, std::move(call.arguments));
  if (!admission) return append_error(out, *call.tool, "ArgumentError", admission.error());
  NormalizedArguments admitted = *std::move(admission);
  append_json(out += R"({"tool": )", *call.tool);
  append_shown(out += R"(, "arguments": )", admitted.arguments());
  append_notes(out += R"(, "notes": [)", admitted.notes());
  out += admitted.alias_hit() ? R"(], "alias_hit": true, "bound": )"
                              : R"(], "alias_hit": false, "bound": )";
  append_shown(out, bind_arguments(tool, std::move(admitted).arguments()));
  out += "}\n";
  return true;
}

void Answerer::append_shown(std::string& out, const Mapping& mapping) const {
  if (display_) return append_json(out, display_form(mapping));
  append_json(out, mapping);
}

}  // namespace tool_binding::tool_admit
