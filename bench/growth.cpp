// Measures that the cost of a request grows in step with its size, whatever stands in it:
//
//   growth [PART_OF_A_NAME]
//
// prints a Markdown table with a row for each hostile input (whose name holds the part): the
// processor's least time at its full size, what it grows by when the size doubles (from a quarter
// of the size to all of it, the median of several times), and how much memory was in use at once
// beyond the input. Exit status 1 when a row grows faster than it may.

#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool_binding/json.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/tool_schemas.hpp"
#include "tool_binding/value_events.hpp"

namespace {

constinit std::size_t in_use = 0;
constinit std::size_t most_in_use = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  in_use += malloc_usable_size(memory);
  most_in_use = std::max(most_in_use, in_use);
  return memory;
}
void operator delete(void* memory) noexcept {
  in_use -= malloc_usable_size(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace tool_binding::bench {
namespace {

// What is measured, on an input that is there already; called once.
using Run = std::function<void()>;

// What time may grow by when the size doubles. Scattered: linear in instructions, but each look-up
// by name goes to memory that the processor's caches hold at the smaller size only.
constexpr double linear = 2.2;
constexpr double scattered = 3.3;
constexpr double quadratic = 6.5;

struct Case {
  std::string name;
  std::size_t size;
  std::function<Run(std::size_t)> prepare;
  double limit = linear;
};

// Making inputs.

Value deep_list(std::size_t depth) {
  ValueBuilder builder;
  for (std::size_t i = 0; i < depth; ++i) builder.begin_list();
  return builder.take();
}

Value deep_mapping(std::size_t depth) {
  ValueBuilder builder;
  for (std::size_t i = 0; i < depth; ++i) {
    builder.begin_mapping();
    builder.key("k");
  }
  return builder.take();
}

std::string repeated(std::string_view piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) text += piece;
  return text;
}

std::string in_brackets(const std::string& text) { return "[" + text + "]"; }

// Of `alphabet` characters from U+0021 on, each as likely.
std::u32string random_characters(std::size_t count, std::size_t alphabet, unsigned seed) {
  std::mt19937 bits(seed);
  std::u32string characters(count, U' ');
  for (char32_t& c : characters) c = static_cast<char32_t>(0x21 + bits() % alphabet);
  return characters;
}

std::string utf8(std::u32string_view characters) {
  std::string text;
  for (const char32_t c : characters) {
    if (c < 0x80) {
      text += static_cast<char>(c);
    } else if (c < 0x800) {
      text += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    } else {
      text += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
               static_cast<char>(0x80 | (c & 0x3F))};
    }
  }
  return text;
}

std::string numbered(std::string_view stem, std::size_t number) {
  return std::string(stem) + std::to_string(number);
}

std::vector<std::string> names(std::string_view stem, std::size_t count) {
  std::vector<std::string> all;
  for (std::size_t i = 0; i < count; ++i) all.push_back(numbered(stem, i));
  return all;
}

Mapping arguments_named(std::string_view stem, std::size_t count) {
  Mapping arguments;
  for (std::size_t i = 0; i < count; ++i) arguments.set(numbered(stem, i), "text");
  return arguments;
}

// Tools.

ToolSpec tool_with(ParamSpec param) {
  return ToolSpec({.name = "tool", .params = {std::move(param)}});
}

// A parameter of each type, under the type's name, and an enumeration.
const ToolSpec& plain_tool() {
  static const ToolSpec tool(
      {.name = "tool",
       .actions = {{"read", {"show"}}, {"write"}},
       .params = {{.name = "integer", .type = "integer", .minimum = -1000, .maximum = 1000},
                  {.name = "number", .type = "number", .minimum = -1e9, .maximum = 1e9},
                  {.name = "boolean", .type = "boolean"},
                  {.name = "string"},
                  {.name = "array", .type = "array", .items_type = "string"},
                  {.name = "enumeration", .enum_ = {"first", "second"}}},
       .default_action = "read"});
  return tool;
}

ToolSpec wide_tool(std::size_t count, bool required) {
  std::vector<ParamSpec> params;
  for (std::string& name : names("p", count)) {
    params.push_back({.name = std::move(name), .required = required});
  }
  return ToolSpec({.name = "wide", .params = std::move(params)});
}

std::string tools_file(std::size_t count) {
  std::string text = "[";
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += ", ";
    text += R"({"name": ")" + numbered("tool_", i) + R"(", "inputSchema": {"type": "object",
        "properties": {"query": {"type": "string", "x-synonyms": ["q"], "pattern": "a"},
        "limit": {"type": "integer", "minimum": 1, "default": 5},
        "mode": {"type": "string", "enum": ["literal", "regex"]}}, "required": ["query"]}})";
  }
  return text + "]";
}

// Measured steps. What a request was expected to come to is checked, since a refusal where an
// admission was meant would measure something else.

enum class Outcome { admitted, refused, overflow, either };

Outcome outcome_of(const ToolSpec& tool, Mapping&& arguments) {
  try {
    const auto admitted =
        bind_arguments(tool, normalize_arguments(tool, std::move(arguments)).arguments());
    return Outcome::admitted;
  } catch (const ArgumentError&) {
    return Outcome::refused;
  } catch (const std::overflow_error&) {
    return Outcome::overflow;
  }
}

Run admission(ToolSpec tool, Mapping arguments, Outcome expected = Outcome::admitted) {
  return [tool = std::move(tool), arguments = std::move(arguments), expected]() mutable {
    const Outcome outcome = outcome_of(tool, std::move(arguments));
    if (expected != Outcome::either && outcome != expected) {
      throw std::logic_error("a request did not come to what was expected");
    }
  };
}

Mapping one_argument(std::string_view name, Value value) {
  Mapping arguments;
  arguments.set(name, std::move(value));
  return arguments;
}

Run admission_of(std::string_view param, Value value, Outcome expected = Outcome::admitted) {
  return admission(plain_tool(), one_argument(param, std::move(value)), expected);
}

Run reading(std::string json, std::string_view param, Outcome expected) {
  return [json = std::move(json), param, expected] {
    admission_of(param, parse_json(json), expected)();
  };
}

// The cases.

constexpr std::size_t million = 1'000'000;

void add_nested(std::vector<Case>& cases) {
  struct Shape {
    std::string_view name;
    Value (*make)(std::size_t);
  };
  struct Operation {
    std::string_view name;
    Run (*prepare)(Value);
  };
  constexpr Shape shapes[] = {{"lists", deep_list}, {"mappings", deep_mapping}};
  static constexpr Operation operations[] = {
      {"copied", [](Value value) -> Run { return [value] { const Value copy = value; }; }},
      {"compared",
       [](Value value) -> Run {
         return [value, other = value] {
           if (value != other) throw std::logic_error("a copy differs");
         };
       }},
      {"shown", [](Value value) -> Run { return [value] { (void)display_form(value); }; }},
      {"destroyed", [](Value value) -> Run { return [value]() mutable { value = Value(); }; }},
      {"written as JSON", [](Value value) -> Run { return [value] { (void)json_text(value); }; }},
      {"read from JSON",
       [](Value value) -> Run { return [json = json_text(value)] { (void)parse_json(json); }; }},
      {"admitted as item of a list",
       [](Value value) -> Run {
         return admission(tool_with({.name = "a", .type = "array"}),
                          one_argument("a", List{std::move(value)}));
       }},
      {"made text as item of a list",
       [](Value value) { return admission_of("array", List{std::move(value)}); }},
      {"refused as a text",
       [](Value value) { return admission_of("string", std::move(value), Outcome::refused); }},
      {"refused as an integer",
       [](Value value) { return admission_of("integer", std::move(value), Outcome::refused); }},
      {"refused as an action",
       [](Value value) { return admission_of(ACTION_PARAM, std::move(value), Outcome::refused); }},
  };
  for (const Shape& shape : shapes) {
    const std::string nested = "nested " + std::string(shape.name) + ", ";
    cases.push_back({nested + "built", million, [make = shape.make](std::size_t depth) -> Run {
                       return [make, depth] { (void)make(depth); };
                     }});
    for (const Operation& operation : operations) {
      cases.push_back({nested + std::string(operation.name), million,
                       [make = shape.make, prepare = operation.prepare](std::size_t depth) {
                         return prepare(make(depth));
                       }});
    }
  }
}

void add_numbers(std::vector<Case>& cases) {
  struct Number {
    std::string_view name;
    std::string_view before;
    std::string_view digit;
    std::string_view after;
    // As a text for an integer, as a text for a number, as JSON for each.
    Outcome integer, number, json_integer, json_number;
  };
  using enum Outcome;
  static constexpr Number numbers[] = {
      {"digits", "-", "7", "", admitted, admitted, admitted, overflow},
      {"zeros", "0.", "0", "1", refused, admitted, admitted, admitted},
      {"digits of a fraction", "0.", "7", "", refused, admitted, refused, admitted},
      {"digits before an exponent", "", "7", "e-999999", refused, admitted, either, either},
      {"digits of an exponent", "1e-", "7", "", refused, admitted, either, either},
  };
  const auto text_of = [](const Number& number, std::size_t size) {
    return std::string(number.before) + repeated(number.digit, size) + std::string(number.after);
  };
  for (const Number& number : numbers) {
    const auto add = [&](std::string_view as, std::string_view param, Outcome outcome, bool json) {
      const std::string name = std::string(number.name) + ", " + std::string(as);
      cases.push_back({name, million, [=, &number](std::size_t size) {
                         std::string text = text_of(number, size);
                         return json ? reading(std::move(text), param, outcome)
                                     : admission_of(param, text, outcome);
                       }});
    };
    add("text for an integer", "integer", number.integer, false);
    add("text for a number", "number", number.number, false);
    if (number.json_integer == either) continue;  // JSON's reader refuses what no float holds
    add("JSON for an integer", "integer", number.json_integer, true);
    add("JSON for a number", "number", number.json_number, true);
  }
}

void add_texts(std::vector<Case>& cases) {
  struct Text {
    std::string_view name;
    std::size_t size;
    std::string (*make)(std::size_t);
  };
  constexpr std::size_t mebibyte = std::size_t{1} << 20;
  static constexpr Text texts[] = {
      {"letters", 64 * mebibyte, [](std::size_t size) { return repeated("a", size); }},
      {"blanks, one letter", 8 * mebibyte,
       [](std::size_t size) { return repeated("\u3000", size) + "a"; }},
      {"underscored digits", 8 * mebibyte, [](std::size_t size) { return repeated("1_1", size); }},
      {"stray bytes", 8 * mebibyte, [](std::size_t size) { return repeated("\xF0\x9F", size); }},
      {"capital sigmas", 8 * mebibyte, [](std::size_t size) { return repeated("\u03a3'", size); }},
      {"commas", 8 * mebibyte, [](std::size_t size) { return repeated(",a ", size); }},
      {"quotes that close nothing", 8 * mebibyte,
       [](std::size_t size) { return repeated("'\"'  a,\"", size); }},
      {"opening brackets", 8 * mebibyte,
       [](std::size_t size) { return in_brackets(repeated("[", size)); }},
      {"brackets, no JSON at the end", 8 * mebibyte,
       [](std::size_t size) { return in_brackets(repeated("[],", size)); }},
      {"brackets that pair with no other", 8 * mebibyte,
       [](std::size_t size) { return in_brackets(repeated("x{,[}", size)); }},
      {"brackets in quotes", 8 * mebibyte,
       [](std::size_t size) { return in_brackets(repeated("'[',\"]\",x ''", size) + ","); }},
      {"literal cut off", 8 * mebibyte,
       [](std::size_t size) { return "[" + repeated("{'a': (1, None)},", size); }},
      {"JSON list of escapes", 8 * mebibyte,
       [](std::size_t size) {
         return in_brackets(repeated(R"("\ud83d\ude00",)", size) + R"("")");
       }},
  };
  constexpr std::string_view places[] = {"integer", "number",      "boolean",   "string",
                                         "array",   "enumeration", ACTION_PARAM};
  for (const Text& text : texts) {
    for (const std::string_view place : places) {
      const std::string as = " as value of " + std::string(place);
      cases.push_back({std::string(text.name) + as, text.size, [&text, place](std::size_t size) {
                         return admission_of(place, text.make(size), Outcome::either);
                       }});
    }
    cases.push_back({std::string(text.name) + " as name", text.size, [&text](std::size_t size) {
                       return admission(plain_tool(), one_argument(text.make(size), 1),
                                        Outcome::refused);
                     }});
  }
}

void add_many(std::vector<Case>& cases) {
  constexpr std::size_t many = 100'000;
  const auto synonyms_tool = [](std::size_t count) {
    return tool_with({.name = "declared", .synonyms = names("s", count)});
  };
  cases.push_back({"unknown arguments", many, [](std::size_t count) {
                     return admission(plain_tool(), arguments_named("integr", count),
                                      Outcome::refused);
                   }});
  cases.push_back({"synonyms of one parameter, declared", many,
                   [=](std::size_t count) -> Run { return [=] { (void)synonyms_tool(count); }; },
                   scattered});
  cases.push_back({"synonyms of one parameter, all given", many,
                   [=](std::size_t count) {
                     return admission(synonyms_tool(count), arguments_named("s", count));
                   },
                   scattered});
  cases.push_back({"one argument repeated in JSON", many, [](std::size_t count) -> Run {
                     std::string json = "{" + repeated(R"("string": "text", )", 18 * count);
                     json.replace(json.size() - 2, 2, "}");
                     return [json = std::move(json)] {
                       admission(plain_tool(), parse_json(json).as_mapping())();
                     };
                   }});
  cases.push_back({"parameters, all given", many,
                   [](std::size_t count) {
                     return admission(wide_tool(count, false), arguments_named("p", count));
                   },
                   scattered});
  cases.push_back({"parameters, all missing", many, [](std::size_t count) {
                     return admission(wide_tool(count, true), {}, Outcome::refused);
                   }});
  cases.push_back({"enumeration against a list of its entries", 10'000, [](std::size_t count) {
                     const std::vector<std::string> entries = names("Entry", count);
                     return admission(
                         tool_with({.name = "array", .type = "array", .enum_ = entries}),
                         one_argument("array", List(entries.rbegin(), entries.rend())));
                   }});
  cases.push_back({"context entries for a handler", many,
                   [](std::size_t count) -> Run {
                     Handler handler{{{"any", ParameterKind::VAR_KEYWORD}}, nullptr};
                     return [=, context = arguments_named("c", count)] {
                       (void)handler_kwargs(handler, {}, context);
                     };
                   },
                   scattered});
}

void add_tools(std::vector<Case>& cases) {
  constexpr std::size_t many = 10'000;
  cases.push_back({"tools of a file, read", many, [](std::size_t count) -> Run {
                     return [json = tools_file(count)] {
                       const ToolsReading reading = read_tools(parse_json(json));
                       if (!reading.errors.empty()) throw std::logic_error("a tool has an error");
                     };
                   }});
  cases.push_back({"tools of a file, published", many, [](std::size_t count) -> Run {
                     ToolTable table(read_tools(parse_json(tools_file(count))).tools);
                     return [table = std::move(table)] { (void)publish_tools(table); };
                   }});
  cases.push_back({"tools, a name that none has", many, [](std::size_t count) -> Run {
                     ToolTable table(read_tools(parse_json(tools_file(count))).tools);
                     return [table = std::move(table)] {
                       try {
                         (void)table.at("too_1l");
                       } catch (const UnknownToolError&) {
                         return;
                       }
                       throw std::logic_error("a tool was found");
                     };
                   }});
}

// A given name against one declared name of the same length.

struct Pair {
  std::u32string declared;
  std::u32string given;
};

Pair random_pair(std::size_t count, std::size_t alphabet) {
  return {random_characters(count, alphabet, 1), random_characters(count, alphabet, 2)};
}

// Only the given name grows.
Pair fixed_pair(std::size_t count, std::size_t alphabet) {
  return {random_characters(50'000, alphabet, 1), random_characters(count, alphabet, 2)};
}

// Every hundredth character is another one.
Pair near_pair(std::size_t count, std::size_t alphabet) {
  Pair pair = {random_characters(count, alphabet, 1), {}};
  pair.given = pair.declared;
  for (std::size_t i = 50; i < count; i += 100) pair.given[i] = U'!';
  return pair;
}

// Two equal characters, then one that differs: many blocks, each found at the edge of all that is
// left. `alphabet` characters take turns.
Pair comb(std::size_t count, std::size_t alphabet) {
  Pair pair;
  for (std::size_t i = 0; i < count; ++i) {
    const auto c = static_cast<char32_t>(0x800 + i % alphabet);
    pair.declared += i % 3 == 2 ? U'!' : c;
    pair.given += i % 3 == 2 ? U'?' : c;
  }
  return pair;
}

void add_long_names(std::vector<Case>& cases) {
  struct Names {
    std::string_view name;
    std::size_t size;
    Pair (*make)(std::size_t, std::size_t);
    std::size_t alphabet;
    double limit;
  };
  constexpr std::size_t long_name = 100'000;
  static constexpr Names pairs[] = {
      {"long names, random, 26 characters", long_name, random_pair, 26, linear},
      {"long names, random, 110 characters", long_name, random_pair, 110, quadratic},
      {"long names, random, 2,000 characters", long_name, random_pair, 2'000, quadratic},
      {"long names, random, 110 characters, against 50,000", long_name, fixed_pair, 110, linear},
      {"long names, random, 2,000 characters, against 50,000", long_name, fixed_pair, 2'000,
       linear},
      {"long names, nearly equal, 26 characters", long_name, near_pair, 26, linear},
      {"long names, nearly equal, 94 characters", long_name, near_pair, 94, quadratic},
      {"long names, nearly equal, 2,000 characters", 8'000, near_pair, 2'000, quadratic},
      {"long names, pairs of characters, all different", 32'000, comb, 50'000, quadratic},
      {"long names, pairs of characters, as often as can be", 2'000, comb, 101, quadratic},
  };
  for (const Names& names : pairs) {
    cases.push_back({std::string(names.name), names.size,
                     [&names](std::size_t size) {
                       const Pair pair = names.make(size, names.alphabet);
                       return admission(tool_with({.name = utf8(pair.declared)}),
                                        one_argument(utf8(pair.given), 1), Outcome::refused);
                     },
                     names.limit});
  }
}

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  for (auto* add : {add_nested, add_numbers, add_texts, add_many, add_tools, add_long_names}) {
    add(cases);
  }
  return cases;
}

// Measuring.

struct Cost {
  double seconds;
  std::size_t bytes;
};

Cost measure(const Case& which, std::size_t size) {
  const Run run = which.prepare(size);
  const std::size_t before = most_in_use = in_use;
  const std::clock_t start = std::clock();
  run();
  const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  return {std::max(seconds, 1e-6), most_in_use - before};
}

double median(std::vector<double> numbers) {
  std::sort(numbers.begin(), numbers.end());
  return numbers[numbers.size() / 2];
}

// Both sizes in turn, so that a processor that is slower for a while is so for both; more often
// where chance may have spoilt the few.
bool print_row(const Case& which) {
  constexpr std::size_t few = 3;
  constexpr std::size_t most = 15;
  Cost full{std::numeric_limits<double>::max(), 0};
  std::vector<double> growths;
  while (growths.size() < few || (growths.size() < most && median(growths) > which.limit)) {
    const Cost quarter = measure(which, which.size / 4);
    const Cost whole = measure(which, which.size);
    growths.push_back(std::sqrt(whole.seconds / quarter.seconds));
    if (whole.seconds < full.seconds) full = whole;
  }
  const double growth = median(growths);
  const bool within = growth <= which.limit;
  std::printf("| %s | %zu | %.2f | %.2f%s | %.1f |\n", which.name.c_str(), which.size,
              1e3 * full.seconds, growth, within ? "" : " **too fast**",
              static_cast<double>(full.bytes) / 1e6);
  std::fflush(stdout);
  return within;
}

int print_table(std::string_view part) {
  std::printf(
      "| input | size | ms | growth when the size doubles | MB beyond the input |\n"
      "| --- | ---: | ---: | ---: | ---: |\n");
  bool all_within = true;
  for (const Case& which : all_cases()) {
    if (which.name.find(part) != which.name.npos) all_within &= print_row(which);
  }
  return all_within ? 0 : 1;
}

}  // namespace
}  // namespace tool_binding::bench

int main(int argc, char** argv) {
  using namespace tool_binding;
  // Keep freed memory, so that only the first run of several pays the system for it.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
  set_tools(ToolTable({bench::plain_tool()}));
  return bench::print_table(argc > 1 ? argv[1] : "");
}
