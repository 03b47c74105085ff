#include "limit.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "limit_names.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/utils/text_values.hpp"

namespace tool_binding::bench {
namespace {

constexpr std::int64_t unbounded = std::numeric_limits<std::int64_t>::max();

// Reading what was sent.

bool is_space(char c) noexcept {
  return c == ' ' || (c >= '\t' && c <= '\r') || (c >= '\x1c' && c <= '\x1f');
}

std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

bool is_blank(std::string_view text) noexcept {
  for (const char c : text) {
    if (!is_space(c)) return false;
  }
  return true;
}

// Whether the text is the word; its size is known to be the word's.
template <std::size_t size>
bool is(std::string_view text, const char (&word)[size]) noexcept {
  return std::memcmp(text.data(), word, size - 1) == 0;
}

// A short text stripped and in lower case; empty when it is longer than any word.
class Word {
 public:
  explicit Word(std::string_view text) noexcept {
    text = trimmed(text);
    if (text.size() > bytes_.size()) return;
    for (const char c : text) {
      bytes_[size_++] = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
  }
  operator std::string_view() const noexcept { return {bytes_.data(), size_}; }

 private:
  std::array<char, 8> bytes_;
  std::size_t size_ = 0;
};

// The whole text as a number. std::from_chars takes no plus sign.
template <class Number>
std::optional<Number> number_in(std::string_view text) noexcept {
  text = trimmed(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  Number number{};
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

std::optional<std::int64_t> integer_of(const Value& value) noexcept {
  if (value.is_int64()) return value.get_int64();
  if (value.is_text()) return number_in<std::int64_t>(value.get_text());
  if (value.is_float() && std::fabs(value.get_float()) < 9e18 &&
      std::trunc(value.get_float()) == value.get_float()) {
    return static_cast<std::int64_t>(value.get_float());
  }
  return std::nullopt;
}

std::optional<double> number_of(const Value& value) noexcept {
  if (value.is_float()) return value.get_float();
  if (value.is_int64()) return static_cast<double>(value.get_int64());
  if (value.is_text()) return number_in<double>(value.get_text());
  return std::nullopt;
}

std::optional<bool> boolean_in(std::string_view word) noexcept {
  switch (word.size()) {
    case 1:
      if (is(word, "1") || is(word, "y") || is(word, "t")) return true;
      if (is(word, "0") || is(word, "n") || is(word, "f")) return false;
      break;
    case 2:
      if (is(word, "on")) return true;
      if (is(word, "no")) return false;
      break;
    case 3:
      if (is(word, "yes")) return true;
      if (is(word, "off")) return false;
      break;
    case 4:
      if (is(word, "true")) return true;
      break;
    case 5:
      if (is(word, "false")) return false;
      break;
  }
  return std::nullopt;
}

std::optional<bool> boolean_of(const Value& value) noexcept {
  if (value.is_boolean()) return value.get_boolean();
  if (value.is_text()) return boolean_in(Word(value.get_text()));
  if (value.is_int64() && (value.get_int64() | 1) == 1) return value.get_int64() == 1;
  return std::nullopt;
}

// Quoted items and JSON arrays are left to the library.
List items_in(std::string_view text) {
  std::size_t most = 1;
  for (const char c : text) {
    if (c == '[' || c == '"' || c == '\'') return split_csv(text);
    most += c == ',' ? 1 : 0;
  }
  List items;
  items.reserve(most);
  for (const char *start = text.data(), *end = start + text.size(); start <= end;) {
    const char* comma = std::find(start, end, ',');
    const std::string_view item = trimmed({start, comma});
    if (!item.empty()) items.emplace_back(item);
    start = comma + 1;
  }
  return items;
}

// Writing messages.

// Appends to a text that is grown once.
void append(std::string& text, std::initializer_list<std::string_view> pieces) {
  std::size_t end = text.size();
  std::size_t size = end;
  for (const std::string_view piece : pieces) size += piece.size();
  text.resize(size);
  for (const std::string_view piece : pieces) {
    std::memcpy(text.data() + end, piece.data(), piece.size());
    end += piece.size();
  }
}

// display_form, at once for ordinary text.
std::string shown(const Value& value) {
  if (!value.is_text()) return display_form(value);
  const std::string_view text = value.get_text();
  const bool is_ordinary = std::all_of(text.begin(), text.end(), [](char c) {
    return c >= ' ' && c <= '~' && c != '\'' && c != '\\';
  });
  if (!is_ordinary) return display_form(value);
  std::string quoted;
  append(quoted, {"'", text, "'"});
  return quoted;
}

// display_form of a number.
class Digits {
 public:
  explicit Digits(std::int64_t number) noexcept
      : size_(static_cast<std::size_t>(
            std::to_chars(bytes_.data(), bytes_.data() + bytes_.size(), number).ptr -
            bytes_.data())) {}
  explicit Digits(double number) {
    const std::string text = display_form(number);
    size_ = text.copy(bytes_.data(), bytes_.size());
  }
  operator std::string_view() const noexcept { return {bytes_.data(), size_}; }

 private:
  std::array<char, 32> bytes_;
  std::size_t size_;
};

// What is known of one request.
struct Pass {
  Answer& answer;
  std::string problems = {};
  // Bit sets of parameters: those that have a value, those given under their own names.
  unsigned stored = 0;
  unsigned named = 0;
  unsigned action = 0;
  bool action_refused = false;

  void note(std::initializer_list<std::string_view> pieces);
  void problem(std::initializer_list<std::string_view> pieces);
};

void Pass::note(std::initializer_list<std::string_view> pieces) {
  if (answer.notes.empty()) answer.notes.reserve(4);
  append(answer.notes.emplace_back(), pieces);
}

void Pass::problem(std::initializer_list<std::string_view> pieces) {
  if (problems.empty()) {
    problems.reserve(400);
  } else {
    problems += "; ";
  }
  append(problems, pieces);
}

// What a name stands for: the number of a parameter, with `synonym` if it is another name for it,
// or one of the others.
using Meaning = unsigned;
constexpr Meaning synonym = 32;
constexpr Meaning routing = 64;
constexpr Meaning action_name = 65;
constexpr Meaning unknown = 66;

// Putting values into their places. `V` is a const Value to copy or a Value to move from.
template <class Tool>
class Taking {
 public:
  Taking(Pass& pass, Meaning param, Value& place) noexcept
      : pass_(pass), param_(param), place_(place) {}

  template <class V>
  bool string(V& value) {
    if (value.is_text()) {
      place_ = std::move(value);
      return true;
    }
    if (!value.is_integer() && !value.is_float()) return refused(value, "text");
    place_ = text_form(value);
    return true;
  }

  bool integer(const Value& value, std::int64_t minimum, std::int64_t maximum) {
    const auto number = integer_of(value);
    if (!number) return refused(value, "a whole number");
    return bounded(*number, minimum, maximum);
  }

  bool number(const Value& value, double minimum, double maximum) {
    const auto number = number_of(value);
    if (!number) return refused(value, "a number");
    return bounded(*number, minimum, maximum);
  }

  bool boolean(const Value& value) {
    const auto truth = boolean_of(value);
    if (!truth) return refused(value, "true or false");
    place_ = *truth;
    return true;
  }

  template <class V>
  bool strings(V& value) {
    if (value.is_text()) {
      place_ = Value(items_in(value.get_text()));
    } else if (value.is_list()) {
      place_ = std::move(value);
    } else {
      return refused(value, "a list (or comma-separated text)");
    }
    for (Value& item : place_.get_list()) {
      if (!item.is_text()) item = text_form(item);
    }
    return true;
  }

  bool one_of(const Value& value, std::string_view (*entry)(std::string_view),
              std::string_view entries) {
    if (!value.is_text() && !value.is_integer() && !value.is_float()) return refused(value, "text");
    const std::string_view found = value.is_text() ? entry(Word(value.get_text())) : "";
    if (found.empty()) {
      pass_.problem({"Parameter '", Tool::names[param_], "' of ", Tool::name,
                     " must be one of: ", entries, "; not ", shown(text_form(value))});
      return false;
    }
    place_ = found;
    return true;
  }

 private:
  bool refused(const Value& value, std::string_view wanted) {
    pass_.problem({"Parameter '", Tool::names[param_], "' of ", Tool::name, " must be ", wanted,
                   ", not ", shown(value)});
    return false;
  }

  template <class Number>
  bool bounded(Number number, Number minimum, Number maximum) {
    if (number < minimum) {
      moved_to(minimum, number, " is below the minimum: ");
    } else if (number > maximum) {
      moved_to(maximum, number, " is above the maximum: ");
    } else {
      place_ = number;
    }
    return true;
  }

  template <class Number>
  void moved_to(Number bound, Number number, std::string_view side) {
    pass_.note({"'", Tool::names[param_], "' ", Digits(number), side, Digits(bound), " was used"});
    place_ = bound;
  }

  Pass& pass_;
  Meaning param_;
  Value& place_;
};

// The tools.

struct CodeSearch {
  enum : Meaning {
    query,
    path,
    limit,
    offset,
    context,
    case_sensitive,
    regex,
    kind,
    languages,
    since
  };
  static constexpr std::string_view name = "code_search";
  static constexpr std::array<std::string_view, 10> names = {
      "query",          "path",  "limit", "offset",    "context",
      "case_sensitive", "regex", "kind",  "languages", "since"};
  static constexpr std::string_view takes =
      " It takes: query, path, limit, offset, context, case_sensitive, regex, kind, languages, "
      "since.";
  static constexpr std::array<Candidate, 13> candidates = {{{"query", "query"},
                                                            {"path", "path"},
                                                            {"limit", "limit"},
                                                            {"offset", "offset"},
                                                            {"context", "context"},
                                                            {"case_sensitive", "case_sensitive"},
                                                            {"regex", "regex"},
                                                            {"kind", "kind"},
                                                            {"languages", "languages"},
                                                            {"since", "since"},
                                                            {"q", "query"},
                                                            {"pattern", "query"},
                                                            {"file", "path"}}};
  static const Mapping defaults;
  static constexpr std::size_t first_param = 0;

  static Meaning meaning(std::string_view text) noexcept {
    switch (text.size()) {
      case 1:
        return is(text, "q") ? synonym | query : unknown;
      case 4:
        if (is(text, "path")) return path;
        if (is(text, "kind")) return kind;
        if (is(text, "file")) return synonym | path;
        return is(text, "repo") ? routing : unknown;
      case 5:
        if (is(text, "query")) return query;
        if (is(text, "limit")) return limit;
        if (is(text, "regex")) return regex;
        return is(text, "since") ? Meaning{since} : unknown;
      case 6:
        if (is(text, "offset")) return offset;
        return is(text, "action") ? action_name : unknown;
      case 7:
        if (is(text, "context")) return context;
        return is(text, "pattern") ? synonym | query : unknown;
      case 9:
        if (is(text, "languages")) return languages;
        return is(text, "repo_root") ? routing : unknown;
      case 14:
        return is(text, "case_sensitive") ? Meaning{case_sensitive} : unknown;
      default:
        return unknown;
    }
  }

  template <class V>
  static bool take(Taking<CodeSearch> taking, Meaning param, V& value) {
    switch (param) {
      case limit:
        return taking.integer(value, 1, 1000);
      case offset:
        return taking.integer(value, 0, unbounded);
      case context:
        return taking.number(value, 0, 10);
      case case_sensitive:
      case regex:
        return taking.boolean(value);
      case kind:
        return taking.one_of(value, kind_named, "any, function, class, variable, file, comment");
      case languages:
        return taking.strings(value);
      default:
        return taking.string(value);
    }
  }

  static std::string_view kind_named(std::string_view word) noexcept {
    switch (word.size()) {
      case 3:
        return is(word, "any") ? "any" : "";
      case 4:
        return is(word, "file") ? "file" : "";
      case 5:
        return is(word, "class") ? "class" : "";
      case 7:
        return is(word, "comment") ? "comment" : "";
      case 8:
        return is(word, "function") ? "function" : is(word, "variable") ? "variable" : "";
      default:
        return "";
    }
  }

  static void take_action(Pass& pass, const Value&) {
    pass.problem({"code_search takes no 'action'"});
  }

  static void finish(Pass& pass) {
    if ((pass.stored & (1U << query)) == 0) pass.problem({"code_search needs 'query'"});
  }
};

const Mapping CodeSearch::defaults = {{"query", {}},  {"path", {}},    {"limit", 50},
                                      {"offset", {}}, {"context", 2},  {"case_sensitive", true},
                                      {"regex", {}},  {"kind", "any"}, {"languages", {}},
                                      {"since", {}}};

struct Branches {
  enum : Meaning { name_, new_name, base, force, limit };
  enum Action : unsigned { list, create, delete_, rename, no_action };
  static constexpr std::string_view name = "branches";
  static constexpr std::array<std::string_view, 5> names = {"name", "new_name", "base", "force",
                                                            "limit"};
  static constexpr std::string_view takes = " It takes: name, new_name, base, force, limit.";
  static constexpr std::array<Candidate, 7> candidates = {{{"name", "name"},
                                                           {"new_name", "new_name"},
                                                           {"base", "base"},
                                                           {"force", "force"},
                                                           {"limit", "limit"},
                                                           {"to", "new_name"},
                                                           {"from", "base"}}};
  static constexpr std::array<Candidate, 4> actions = {
      {{"list", "list"}, {"create", "create"}, {"delete", "delete"}, {"rename", "rename"}}};
  static constexpr std::array<unsigned, 4> needs = {0, 1U << name_, 1U << name_,
                                                    1U << name_ | 1U << new_name};
  static const Mapping defaults;
  static constexpr std::size_t first_param = 1;

  static Meaning meaning(std::string_view text) noexcept {
    switch (text.size()) {
      case 2:
        return is(text, "to") ? synonym | new_name : unknown;
      case 4:
        if (is(text, "name")) return name_;
        if (is(text, "base")) return base;
        if (is(text, "from")) return synonym | base;
        return is(text, "repo") ? routing : unknown;
      case 5:
        if (is(text, "force")) return force;
        return is(text, "limit") ? Meaning{limit} : unknown;
      case 6:
        return is(text, "action") ? action_name : unknown;
      case 8:
        return is(text, "new_name") ? Meaning{new_name} : unknown;
      case 9:
        return is(text, "repo_root") ? routing : unknown;
      default:
        return unknown;
    }
  }

  template <class V>
  static bool take(Taking<Branches> taking, Meaning param, V& value) {
    switch (param) {
      case force:
        return taking.boolean(value);
      case limit:
        return taking.integer(value, 1, 500);
      default:
        return taking.string(value);
    }
  }

  static Action action_named(std::string_view text) noexcept {
    switch (text.size()) {
      case 2:
        return is(text, "ls") ? list : no_action;
      case 3:
        return is(text, "new") || is(text, "add") ? create : no_action;
      case 4:
        return is(text, "list") ? list : is(text, "move") ? rename : no_action;
      case 6:
        if (is(text, "create")) return create;
        if (is(text, "delete") || is(text, "remove")) return delete_;
        return is(text, "rename") ? rename : no_action;
      default:
        return no_action;
    }
  }

  static void take_action(Pass& pass, const Value& value) {
    const std::string_view text = value.is_text() ? value.get_text() : "";
    Action action = action_named(text);
    if (action == no_action) action = action_named(Word(text));
    if (action == no_action) return refuse_action(pass, value);
    pass.action = action;
    if (text == actions[action].name) return;
    pass.answer.alias_hit = true;
    pass.note({"the action '", text, "' was read as '", actions[action].name, "'"});
  }

  static void refuse_action(Pass& pass, const Value& value) {
    pass.action_refused = true;
    pass.problem(
        {"branches has no action ", shown(value), ": it has list, create, delete, rename"});
    const std::string_view near = nearest(text_form(value), actions);
    if (!near.empty()) append(pass.problems, {". Did you mean '", near, "'?"});
  }

  static void finish(Pass& pass) {
    if (pass.action_refused) return;
    const std::string_view action = actions[pass.action].name;
    const unsigned missing = needs[pass.action] & ~pass.stored;
    for (unsigned param = 0; missing >> param != 0; ++param) {
      if ((missing >> param & 1U) == 0) continue;
      pass.problem({"branches '", action, "' needs '", names[param], "'"});
    }
    pass.answer.bound.begin()->value = action;
  }
};

const Mapping Branches::defaults = {{"action", "list"}, {"name", {}},     {"new_name", {}},
                                    {"base", "HEAD"},   {"force", false}, {"limit", {}}};

// One argument that has a name of the tool's own.
template <class Tool, class V>
void take_named(Pass& pass, Meaning meaning, std::string_view name, V& value, Value& place) {
  const Meaning param = meaning % synonym;
  const unsigned bit = 1U << param;
  if ((meaning & synonym) == 0) {
    pass.named |= bit;
  } else {
    pass.answer.alias_hit = true;
    if (((pass.named | pass.stored) & bit) != 0) {
      pass.note({"'", name, "' was left out: '", Tool::names[param], "' was given too"});
      return;
    }
    pass.note({"'", name, "' was read as '", Tool::names[param], "'"});
  }
  if (Tool::take(Taking<Tool>(pass, param, place), param, value)) pass.stored |= bit;
}

template <class Tool>
void refuse_name(Pass& pass, std::string_view name) {
  const std::string_view near = nearest(name, Tool::candidates);
  const std::string_view before = near.empty() ? "" : " Did you mean '";
  const std::string_view after = near.empty() ? "" : "'?";
  pass.problem(
      {"Unknown parameter '", name, "' for ", Tool::name, ".", before, near, after, Tool::takes});
}

// The answer starts as a copy of all defaults, so that names and places need no look-up. In line,
// so that a refusal passes one frame less.
template <class Tool, class Arguments>
[[gnu::always_inline]] inline Answer answered(Arguments& request) {
  Answer answer{Tool::defaults};
  Pass pass{answer};
  const auto places = answer.bound.begin() + Tool::first_param;
  for (auto& entry : request) {
    auto& value = entry.value;
    const std::string_view name = entry.name();
    const Meaning meaning = Tool::meaning(name);
    if (value.is_none() || meaning == routing) continue;
    if (meaning == unknown) {
      refuse_name<Tool>(pass, name);
    } else if (value.is_text() && is_blank(value.get_text())) {
      continue;
    } else if (meaning == action_name) {
      Tool::take_action(pass, value);
    } else {
      take_named<Tool>(pass, meaning, name, value, places[meaning % synonym].value);
    }
  }
  Tool::finish(pass);
  if (!pass.problems.empty()) throw ArgumentError(pass.problems);
  return answer;
}

// The wide tools: a name tells its place.

Mapping wide_defaults(std::size_t params) {
  Mapping defaults;
  for (std::size_t i = 0; i < params; ++i) defaults.set("p" + std::to_string(i), {});
  return defaults;
}

Answer wide_answered(const Mapping& defaults, const Mapping& request) {
  Answer answer{defaults};
  const auto places = answer.bound.begin();
  for (const auto& entry : request) {
    const auto place = number_in<std::uint32_t>(entry.name().substr(1));
    const auto number = integer_of(entry.value);
    if (!place || *place >= defaults.size() || !number) throw ArgumentError("");
    places[*place].value = *number;
  }
  return answer;
}

Answer wide(std::string_view tool, const Mapping& request) {
  static const Mapping ten = wide_defaults(10);
  static const Mapping hundred = wide_defaults(100);
  static const Mapping thousand = wide_defaults(1000);
  if (tool == "wide_10") return wide_answered(ten, request);
  if (tool == "wide_100") return wide_answered(hundred, request);
  if (tool == "wide_1000") return wide_answered(thousand, request);
  throw std::out_of_range("there is no such tool");
}

template <class Arguments>
Answer dispatched(std::string_view tool, Arguments& request) {
  switch (tool.size()) {
    case 8:
      if (is(tool, "branches")) return answered<Branches>(request);
      break;
    case 11:
      if (is(tool, "code_search")) return answered<CodeSearch>(request);
      break;
  }
  return wide(tool, request);
}

}  // namespace

Answer limit(std::string_view tool, const Mapping& request) { return dispatched(tool, request); }
Answer limit(std::string_view tool, Mapping&& request) { return dispatched(tool, request); }

}  // namespace tool_binding::bench
