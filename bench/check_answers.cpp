#include "check_answers.hpp"

#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <variant>

#include "cases.hpp"
#include "limit.hpp"
#include "roads.hpp"
#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

constexpr std::size_t least_compared = 20'000;

// An answer, or the message of a refusal.
using Outcome = std::variant<Answer, std::string>;

template <class Request>
Answer layer(const std::string& tool, Request&& request) {
  NormalizedArguments admitted = normalize_arguments(tool, std::forward<Request>(request));
  std::vector<std::string> notes = admitted.notes();
  const bool alias_hit = admitted.alias_hit();
  return {bind_arguments(tool, std::move(admitted).arguments()), std::move(notes), alias_hit};
}

// Without the throw of a refusal.
Outcome tried(const std::string& tool, const Mapping& request) {
  const Admission admitted = try_normalize_arguments(tool, request);
  if (!admitted) return admitted.error();
  return Answer{bind_arguments(tool, admitted->arguments()), admitted->notes(),
                admitted->alias_hit()};
}

template <class Answering>
Outcome outcome_of(const Answering& answering) {
  try {
    return answering();
  } catch (const ArgumentError& error) {
    return std::string(error.message());
  }
}

Answer limit_of_fields(const std::string& tool, const Mapping& request) {
  std::vector<Field> fields;
  for (const auto& entry : request) fields.push_back({entry.name(), entry.value});
  Answer answer = try_limit(tool, fields);
  if (!answer.problems.empty()) throw ArgumentError(answer.problems);
  return answer;
}

std::string shown(const Outcome& outcome) {
  if (const auto* message = std::get_if<std::string>(&outcome)) return "refused: " + *message;
  const auto& answer = std::get<Answer>(outcome);
  std::string text = display_form(answer.bound) + (answer.alias_hit ? ", by another name" : "");
  for (const std::string& note : answer.notes) text += "\n  " + note;
  return text;
}

enum class Agreement { agree, differ, not_covered };

Agreement agreement(const std::string& tool, const Mapping& request) {
  const Mapping before = request;
  const Outcome expected = outcome_of([&] { return layer(tool, request); });
  std::vector<Outcome> others = {outcome_of([&] { return layer(tool, Mapping(request)); }),
                                 tried(tool, request)};
  try {
    others.push_back(outcome_of([&] { return limit(tool, request); }));
    others.push_back(outcome_of([&] { return limit_of_fields(tool, request); }));
  } catch (const NotCovered&) {
    return Agreement::not_covered;
  }
  for (const Outcome& other : others) {
    if (other == expected && before == request) continue;
    std::cerr << tool << ' ' << display_form(request) << "\nlayer " << shown(expected) << "\nother "
              << shown(other) << '\n';
    return Agreement::differ;
  }
  return Agreement::agree;
}

// Every road's answer, as a value, is the layer's.
bool roads_agree(const Case& c) {
  const Outcome expected = outcome_of([&] { return layer(c.tool, c.request); });
  Mapping answer;
  if (const auto* message = std::get_if<std::string>(&expected)) {
    answer = {{"problems", *message}};
  } else {
    const auto& [bound, notes, alias_hit, problems] = std::get<Answer>(expected);
    answer = {{"bound", bound}, {"notes", Value(List(notes.begin(), notes.end()))}};
  }
  for (const RoadKind& kind : road_kinds()) {
    if (!kind.covers(c)) continue;
    std::string text = "the text of the request before";
    kind.make(line_of(c))->answer(&text);
    if (parse_json(text) == Value(answer)) continue;
    std::cerr << kind.name << "wire, " << c.name << ": " << text << '\n';
    return false;
  }
  return true;
}

class RandomRequests {
 public:
  Mapping next() {
    Mapping request;
    for (std::size_t count = below(5); count > 0; --count) {
      request.set(name(), values_[below(std::size(values_))]);
    }
    return request;
  }

 private:
  static constexpr std::string_view names_[] = {
      "query",   "q",     "pattern", "path",   "file", "limit",          "offset",
      "context", "regex", "since",   "action", "name", "new_name",       "to",
      "base",    "from",  "force",   "repo",   "q",    "case_sensitive", "languages"};
  inline static const Value values_[] = {
      "text",  "",       "5",           "-3",  "2.5",  "many",   "true",
      "false", "a,b,,c", "list",        "new", "move", "remove", "a text that is longer",
      {},      true,     false,         0,     5,      5000,     -1,
      2.5,     List{},   List{"a", "b"}};

  std::size_t below(std::size_t count) { return random_() % count; }

  // A third of the names are misspelt.
  std::string name() {
    std::string name(names_[below(std::size(names_))]);
    for (std::size_t edits = below(3) / 2 * below(6); edits > 0; --edits) {
      const std::size_t position = below(name.size() + 1);
      if (below(2) == 0) {
        name.insert(position, 1, "aeinmntQ_9"[below(10)]);
      } else {
        name.erase(position, 1 + below(3));
      }
    }
    return name;
  }

  std::mt19937 random_{1};
};

}  // namespace

bool answers_agree() {
  for (const Case& c : cases()) {
    set_tools(c.tools);
    if (!roads_agree(c)) return false;
    const Agreement found = agreement(c.tool, c.request);
    if (found == Agreement::differ) return false;
    if (c.has_limit && found == Agreement::not_covered) {
      std::cerr << "the limit does not cover " << c.name << '\n';
      return false;
    }
  }
  set_tools(cases().front().tools);
  RandomRequests requests;
  std::size_t compared = 0;
  for (int i = 0; i < 100'000; ++i) {
    const Mapping request = requests.next();
    for (const char* tool : {"code_search", "branches"}) {
      const Agreement found = agreement(tool, request);
      if (found == Agreement::differ) return false;
      compared += found == Agreement::agree ? 1 : 0;
    }
  }
  if (compared >= least_compared) return true;
  std::cerr << "the limit covers only " << compared << " of the random requests\n";
  return false;
}

}  // namespace tool_binding::bench
