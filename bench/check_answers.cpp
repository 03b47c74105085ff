#include "check_answers.hpp"

#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <variant>

#include "cases.hpp"
#include "limit.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

// An answer, or the message of a refusal.
using Outcome = std::variant<Answer, std::string>;

template <class Request>
Answer layer(const std::string& tool, Request&& request) {
  NormalizedArguments admitted = normalize_arguments(tool, std::forward<Request>(request));
  std::vector<std::string> notes = admitted.notes();
  const bool alias_hit = admitted.alias_hit();
  return {bind_arguments(tool, std::move(admitted).arguments()), std::move(notes), alias_hit};
}

template <class Answering>
Outcome outcome_of(const Answering& answering) {
  try {
    return answering();
  } catch (const ArgumentError& error) {
    return std::string(error.message());
  }
}

std::string shown(const Outcome& outcome) {
  if (const auto* message = std::get_if<std::string>(&outcome)) return "refused: " + *message;
  const auto& answer = std::get<Answer>(outcome);
  std::string text = display_form(answer.bound) + (answer.alias_hit ? ", by another name" : "");
  for (const std::string& note : answer.notes) text += "\n  " + note;
  return text;
}

bool agree(const std::string& tool, const Mapping& request) {
  const Mapping before = request;
  const auto moved = [&request] { return Mapping(request); };
  const Outcome expected = outcome_of([&] { return layer(tool, request); });
  const Outcome others[] = {outcome_of([&] { return layer(tool, moved()); }),
                            outcome_of([&] { return limit(tool, request); }),
                            outcome_of([&] { return limit(tool, moved()); })};
  for (const Outcome& other : others) {
    if (other == expected) continue;
    std::cerr << tool << ' ' << display_form(request) << "\nlayer " << shown(expected) << "\nother "
              << shown(other) << '\n';
    return false;
  }
  return before == request;
}

class RandomRequests {
 public:
  Mapping next() {
    Mapping request;
    for (std::size_t count = below(7); count > 0; --count) {
      request.set(name(), values_[below(std::size(values_))]);
    }
    return request;
  }

 private:
  static constexpr std::string_view names_[] = {
      "query", "q",     "pattern", "path",   "file",           "limit",    "offset", "context",
      "regex", "kind",  "since",   "action", "name",           "new_name", "to",     "base",
      "from",  "force", "repo",    "q",      "case_sensitive", "languages"};
  inline static const Value values_[] = {"text",
                                         " padded ",
                                         "",
                                         " \t",
                                         "5",
                                         " +7 ",
                                         "-3",
                                         "+-1",
                                         "1e3",
                                         "2.5",
                                         "many",
                                         "it's",
                                         "TRUE",
                                         " off ",
                                         "y",
                                         "Class",
                                         "any",
                                         "klass",
                                         "a, b,,c",
                                         "'a,b',c",
                                         "[1, \"x\"]",
                                         "list",
                                         "NEW",
                                         "new",
                                         "move",
                                         "rename",
                                         "remove ",
                                         "creat",
                                         "delet",
                                         "a text that is longer",
                                         {},
                                         true,
                                         false,
                                         0,
                                         1,
                                         5,
                                         5000,
                                         -1,
                                         2.0,
                                         2.5,
                                         -0.5,
                                         1e6,
                                         List{},
                                         List{"a", 1, 2.5},
                                         Mapping{{"a", 1}}};

  std::size_t below(std::size_t count) { return random_() % count; }

  // Half of the names are misspelt.
  std::string name() {
    std::string name(names_[below(std::size(names_))]);
    for (std::size_t edits = below(2) * below(6); edits > 0; --edits) {
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
    if (!agree(c.tool, c.request)) return false;
  }
  set_tools(cases().front().tools);
  RandomRequests requests;
  for (int i = 0; i < 30000; ++i) {
    const Mapping request = requests.next();
    if (!agree("code_search", request) || !agree("branches", request)) return false;
  }
  return true;
}

}  // namespace tool_binding::bench
