#include "limit.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>

#include "limit_names.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

[[noreturn, gnu::cold]] void not_covered() { throw NotCovered(); }

// Reading what was sent.

bool is_printable(char c) noexcept { return c > ' ' && c <= '~'; }

// White space at the start is not covered, nor at the end by those who would have to trim it.
bool is_blank(std::string_view text) {
  if (text.empty()) return true;
  if (!is_printable(text.front())) not_covered();
  return false;
}

// Whether the text is the word; its size is known to be the word's.
template <std::size_t size>
bool is(std::string_view text, const char (&word)[size]) noexcept {
  return std::memcmp(text.data(), word, size - 1) == 0;
}

template <class Number>
std::optional<Number> number_in(std::string_view text) {
  if (text.front() == '+') not_covered();
  Number number{};
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec == std::errc() && read.ptr == end) return number;
  if (!is_printable(text.back())) not_covered();
  return std::nullopt;
}

bool truth_of(const Value& value) {
  if (value.is_boolean()) return value.get_boolean();
  const std::string_view word = value.is_text() ? value.get_text() : "";
  if (word == "true") return true;
  if (word == "false") return false;
  not_covered();
}

List items_in(std::string_view text) {
  std::size_t most = 1;
  for (const char c : text) {
    if (c == '[' || c == '"' || c == '\'') not_covered();
    most += c == ',' ? 1 : 0;
  }
  List items;
  items.reserve(most);
  for (const char *start = text.data(), *end = start + text.size(); start <= end;) {
    const char* comma = std::find(start, end, ',');
    const std::string_view item(start, comma);
    if (!is_blank(item)) {
      if (!is_printable(item.back())) not_covered();
      items.emplace_back(item);
    }
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

struct Pass {
  Answer& answer;
  // Bit sets of places: those that have a value, those given under their own names.
  unsigned stored = 0;
  unsigned named = 0;
  unsigned needed = 0;

  void note(std::initializer_list<std::string_view> pieces) {
    if (answer.notes.empty()) answer.notes.reserve(4);
    append(answer.notes.emplace_back(), pieces);
  }

  void problem(std::initializer_list<std::string_view> pieces) {
    if (answer.problems.empty()) {
      answer.problems.reserve(400);
    } else {
      answer.problems += "; ";
    }
    append(answer.problems, pieces);
  }
};

// What a name stands for: a place in the answer, with `synonym` if it is another name for it, or
// one of the others.
using Meaning = unsigned;
constexpr Meaning synonym = 32;
constexpr Meaning routing = 64;
constexpr Meaning unknown = 65;

// Puts values into their places, and returns whether it did. `V` is a const Value to copy or a
// Value to move from.
template <class Tool>
struct Taking {
  Pass& pass;
  std::string_view param;
  Value& place;

  template <class V>
  bool string(V& value) {
    if (!value.is_text()) not_covered();
    place = std::move(value);
    return true;
  }

  bool integer(const Value& value, std::int64_t minimum, std::int64_t maximum) {
    if (!value.is_int64() && !value.is_text()) not_covered();
    const auto number = value.is_int64() ? std::optional(value.get_int64())
                                         : number_in<std::int64_t>(value.get_text());
    if (!number) return refused(value.get_text(), "a whole number");
    const std::int64_t within = std::clamp(*number, minimum, maximum);
    if (within != *number) {
      pass.note({"'", param, "' ", std::to_string(*number), " is ",
                 within == minimum ? "below the minimum: " : "above the maximum: ",
                 std::to_string(within), " was used"});
    }
    place = within;
    return true;
  }

  bool number(const Value& value, double minimum, double maximum) {
    if (!value.is_float() && !value.is_text()) not_covered();
    const auto number =
        value.is_float() ? std::optional(value.get_float()) : number_in<double>(value.get_text());
    if (!number) return refused(value.get_text(), "a number");
    if (*number < minimum || *number > maximum) not_covered();
    place = *number;
    return true;
  }

  bool boolean(const Value& value) {
    place = truth_of(value);
    return true;
  }

  template <class V>
  bool strings(V& value) {
    if (value.is_text()) {
      place = Value(items_in(value.get_text()));
      return true;
    }
    if (!value.is_list()) not_covered();
    for (const Value& item : value.get_list()) {
      if (!item.is_text()) not_covered();
    }
    place = std::move(value);
    return true;
  }

  bool refused(std::string_view given, std::string_view wanted) {
    for (const char c : given) {
      if (!is_printable(c) || c == '\'' || c == '\\') not_covered();
    }
    pass.problem(
        {"Parameter '", param, "' of ", Tool::name, " must be ", wanted, ", not '", given, "'"});
    return false;
  }
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
        return is(text, "offset") ? Meaning{offset} : unknown;
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
        return taking.integer(value, 0, std::numeric_limits<std::int64_t>::max());
      case context:
        return taking.number(value, 0, 10);
      case case_sensitive:
      case regex:
        return taking.boolean(value);
      case kind:
        not_covered();
      case languages:
        return taking.strings(value);
      default:
        return taking.string(value);
    }
  }

  static void refuse_name(Pass& pass, std::string_view given) {
    if (given == "action") not_covered();
    const std::string_view near = nearest(given, candidates);
    const std::string_view before = near.empty() ? "" : " Did you mean '";
    const std::string_view after = near.empty() ? "" : "'?";
    pass.problem({"Unknown parameter '", given, "' for code_search.", before, near, after,
                  " It takes: query, path, limit, offset, context, case_sensitive, regex, kind, "
                  "languages, since."});
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
  enum : Meaning { action, name_, new_name, base, force, limit };
  static constexpr std::string_view name = "branches";
  static constexpr std::array<std::string_view, 6> names = {"action", "name",  "new_name",
                                                            "base",   "force", "limit"};
  static const Mapping defaults;

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
        return is(text, "action") ? Meaning{action} : unknown;
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
      case action:
        return take_action(taking, value.is_text() ? value.get_text() : "");
      case force:
        return taking.boolean(value);
      case limit:
        return taking.integer(value, 1, 500);
      default:
        return taking.string(value);
    }
  }

  static std::string_view action_named(std::string_view text) {
    switch (text.size()) {
      case 2:
        if (is(text, "ls")) return "list";
        break;
      case 3:
        if (is(text, "new") || is(text, "add")) return "create";
        break;
      case 4:
        if (is(text, "list")) return "list";
        if (is(text, "move")) return "rename";
        break;
      case 6:
        if (is(text, "create") || is(text, "delete") || is(text, "rename")) return text;
        if (is(text, "remove")) return "delete";
        break;
    }
    not_covered();
  }

  static bool take_action(Taking<Branches> taking, std::string_view text) {
    const std::string_view found = action_named(text);
    if (text != found) {
      taking.pass.answer.alias_hit = true;
      taking.pass.note({"the action '", text, "' was read as '", found, "'"});
    }
    taking.pass.needed = found == "list"     ? 0
                         : found == "rename" ? 1U << name_ | 1U << new_name
                                             : 1U << name_;
    taking.place = found;
    return true;
  }

  static void refuse_name(Pass&, std::string_view) { not_covered(); }

  static void finish(Pass& pass) {
    if ((pass.needed & ~pass.stored) != 0) not_covered();
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
  if (Tool::take(Taking<Tool>{pass, Tool::names[param], place}, param, value)) pass.stored |= bit;
}

// The answer starts as a copy of all defaults, so that names and places need no look-up.
template <class Tool, class Arguments>
[[gnu::always_inline]] inline Answer answered(Arguments& request) {
  Answer answer{Tool::defaults};
  Pass pass{answer};
  const auto places = answer.bound.begin();
  for (auto& entry : request) {
    auto& value = entry.value;
    const std::string_view name = entry.name();
    const Meaning meaning = Tool::meaning(name);
    if (value.is_none() || meaning == routing) continue;
    if (meaning == unknown) {
      Tool::refuse_name(pass, name);
    } else if (!value.is_text() || !is_blank(value.get_text())) {
      take_named<Tool>(pass, meaning, name, value, places[meaning % synonym].value);
    }
  }
  Tool::finish(pass);
  return answer;
}

template <class Arguments>
Answer dispatched(std::string_view tool, Arguments& request) {
  if (tool == "branches") return answered<Branches>(request);
  if (tool == "code_search") return answered<CodeSearch>(request);
  not_covered();
}

}  // namespace

Answer try_limit(std::string_view tool, const Mapping& request) {
  return dispatched(tool, request);
}
Answer try_limit(std::string_view tool, std::span<Field> request) {
  return dispatched(tool, request);
}

Answer limit(std::string_view tool, const Mapping& request) {
  Answer answer = dispatched(tool, request);
  if (!answer.problems.empty()) throw ArgumentError(std::move(answer.problems));
  return answer;
}

}  // namespace tool_binding::bench
