#include "terminal.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <utility>

#include "counting.hpp"
#include "printable.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::tool_admit {
namespace {

// Text with an emphasis of the terminal's, if there is one.
class Style {
 public:
  explicit Style(bool colored) noexcept : colored_(colored) {}

  [[nodiscard]] std::string strong(std::string_view text) const { return in("1", text); }
  [[nodiscard]] std::string good(std::string_view text) const { return in("32", text); }
  [[nodiscard]] std::string bad(std::string_view text) const { return in("31", text); }
  [[nodiscard]] std::string note(std::string_view text) const { return in("33", text); }
  [[nodiscard]] std::string soft(std::string_view text) const { return in("2", text); }

 private:
  [[nodiscard]] std::string in(std::string_view code, std::string_view text) const {
    if (!colored_) return std::string(text);
    return "\x1b[" + std::string(code) + 'm' + std::string(text) + "\x1b[0m";
  }

  bool colored_;
};

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
  std::string out;
  for (const std::string& text : texts) {
    if (!out.empty()) out += separator;
    out += printable(text);
  }
  return out;
}

Value json_word(const std::string& word, std::string_view text) {
  try {
    return parse_json(text);
  } catch (const JsonError& error) {
    throw std::runtime_error("'" + printable(word) + "': " + error.what());
  }
}

void read_word(const std::string& word, Mapping& arguments) {
  const std::size_t equals = word.find('=');
  if (equals == word.npos || equals == 0) {
    throw std::runtime_error("'" + printable(word) +
                             "' is not an argument: give NAME=TEXT, or NAME:=JSON");
  }
  const std::string_view name = std::string_view(word).substr(0, equals);
  const std::string_view text = std::string_view(word).substr(equals + 1);
  const bool is_json = name.size() > 1 && name.ends_with(':');
  const std::string_view parameter = is_json ? name.substr(0, name.size() - 1) : name;
  if (arguments.contains(parameter)) {
    throw std::runtime_error("'" + printable(parameter) +
                             "' is given twice; a list is NAME=A,B or NAME:=[\"A\", \"B\"]");
  }
  arguments.set(parameter, is_json ? json_word(word, text) : Value(text));
}

void add_values(std::string& page, const Mapping& values) {
  std::size_t width = 0;
  for (const auto& entry : values) width = std::max(width, printable(entry.name()).size());
  for (const auto& entry : values) {
    const std::string name = printable(entry.name());
    page += "  " + name + std::string(width - name.size(), ' ') + "  " +
            printable(display_form(entry.value)) + '\n';
  }
  if (values.empty()) page += "  nothing\n";
}

std::string_view declared_name(const ToolSpec& spec, std::string_view name) {
  const ParamSpec* param = name == ACTION_PARAM ? nullptr : spec.param(name);
  return param != nullptr ? std::string_view(param->name) : name;
}

bool says_something(const ToolSpec& spec, std::string_view name, const Value& value) {
  const ParamSpec* param = name == ACTION_PARAM ? nullptr : spec.param(name);
  const bool keeps_blank = param != nullptr && param->blank_is_value;
  return !value.is_none() && (keeps_blank || !value.is_text() || !is_blank(value));
}

// The names that were sent by the declared ones that they stand for: of several for one parameter
// its own name, else the first.
std::map<std::string_view, std::string_view> sources(const ToolSpec& spec, const Mapping& sent) {
  std::map<std::string_view, std::string_view> sources;
  for (const auto& entry : sent) {
    if (!says_something(spec, entry.name(), entry.value)) continue;
    const std::string_view name = declared_name(spec, entry.name());
    if (name == entry.name()) sources[name] = name;
    sources.emplace(name, entry.name());
  }
  return sources;
}

// What was sent, and what it was read as, where that differs.
void add_readings(std::string& page, const Style& style, const ToolSpec& spec, const Mapping& sent,
                  const Mapping& admitted) {
  const auto read = sources(spec, sent);
  for (const auto& entry : sent) {
    const std::string_view name = declared_name(spec, entry.name());
    const auto source = read.find(name);
    const Value* value = admitted.find(name);
    page += "  " + printable(entry.name()) + ' ' + printable(display_form(entry.value));
    if (value == nullptr || source == read.end() || source->second != entry.name()) {
      page += style.soft("  left out");
    } else if (name != entry.name() || *value != entry.value) {
      page += style.soft("  read as  ") + printable(name) + ' ' + printable(display_form(*value));
    }
    page += '\n';
  }
}

std::string type_text(const ParamSpec& param) {
  std::string type = param.custom != nullptr ? param.custom->words : param.type;
  if (param.custom == nullptr && param.type == "array" && !param.items_type.empty()) {
    type += " of " + param.items_type;
  }
  if (!param.enum_.empty()) type += ": " + joined(param.enum_, ", ");
  if (!param.minimum.is_none()) type += ", from " + display_form(param.minimum);
  if (!param.maximum.is_none()) {
    type += std::string(param.minimum.is_none() ? "," : "") + " to " + display_form(param.maximum);
  }
  return type;
}

std::string need_text(const ParamSpec& param) {
  if (param.required) return "required";
  if (!param.required_for.empty()) return "required for " + joined(param.required_for, ", ");
  if (!param.action_defaults.empty()) return "default by action";
  return param.default_.is_none() ? "" : "default " + display_form(param.default_);
}

void add_param(std::string& page, const Style& style, const ParamSpec& param) {
  page += "    " + style.good(printable(param.name)) + "  " + type_text(param);
  if (const std::string need = need_text(param); !need.empty()) page += "; " + need;
  if (!param.synonyms.empty()) page += style.soft("; also " + joined(param.synonyms, ", "));
  page += '\n';
  if (!param.description.empty()) page += "        " + printable(param.description) + '\n';
}

void add_actions(std::string& page, const Style& style, const ToolSpec& spec) {
  if (spec.actions().empty()) return;
  page += "    " + style.good(ACTION_PARAM) + "  ";
  std::string_view separator = "";
  for (const ActionSpec& action : spec.actions()) {
    page += std::string(std::exchange(separator, ", ")) + printable(action.name);
    if (!action.synonyms.empty()) page += style.soft(" (" + joined(action.synonyms, ", ") + ')');
  }
  if (spec.default_action()) page += "; default " + printable(*spec.default_action());
  page += '\n';
}

}  // namespace

bool is_colored() {
  const char* no_color = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (no_color == nullptr || *no_color == '\0');
}

TypedAnswer typed_call(const std::vector<std::string>& words, bool colored) {
  const ToolRef tool(words.at(0));
  Mapping sent;
  for (std::size_t i = 1; i < words.size(); ++i) read_word(words[i], sent);
  const Style style(colored);
  std::string page = style.strong(printable(words[0]));
  const Admission admission = try_normalize_arguments(tool, sent);
  if (!admission) {
    page += ": " + style.bad("refused") + "\nsent\n";
    add_values(page, sent);
    return {page + "problems\n  " + style.bad(printable(admission.error())) + '\n', false};
  }
  page += ": " + style.good("admitted") + "\nsent\n";
  add_readings(page, style, tool.spec(), sent, admission->arguments());
  if (sent.empty()) page += "  nothing\n";
  if (!admission->notes().empty()) page += "notes\n";
  for (const std::string& note : admission->notes())
    page += "  " + style.note(printable(note)) + '\n';
  page += "the handler gets\n";
  add_values(page, bind_arguments(tool, admission->arguments()));
  return {std::move(page), true};
}

std::string tool_list(const ToolTable& tools, bool colored) {
  const Style style(colored);
  std::string page;
  for (const ToolSpec& spec : tools) {
    if (!page.empty()) page += '\n';
    page += style.strong(printable(spec.name()));
    if (!spec.description().empty()) page += "  " + printable(spec.description());
    page += '\n';
    add_actions(page, style, spec);
    for (const ParamSpec& param : spec.params()) add_param(page, style, param);
  }
  return page;
}

std::string completions(const ToolTable& tools, const std::vector<std::string>& words) {
  std::string out;
  if (words.empty() || words[0].empty()) {
    for (const ToolSpec& spec : tools) out += spec.name() + '\n';
    return out;
  }
  const ToolSpec* spec = tools.find(words[0]);
  if (spec == nullptr) return out;
  if (!spec->actions().empty()) out += std::string(ACTION_PARAM) + "=\n";
  for (const std::string& name : spec->param_names()) out += name + "=\n";
  return out;
}

}  // namespace tool_binding::tool_admit
