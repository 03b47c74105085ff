#include "tool_binding/tool_service.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "print_values.hpp"
#include "test_data.hpp"
#include "tool_binding/json.hpp"

namespace tool_binding {
namespace {

struct Index {
  std::string name;
};
struct Search {
  std::string query;
  std::int32_t limit;
  double weight;
};

Context sample_context() {
  Context context;
  context.provide("index", std::make_shared<Index>(Index{"main"}));
  return context;
}

Tool failing(std::string name, void (*fail)()) { return tool(std::move(name), "", {}, fail); }

std::vector<Tool> sample_tools() {
  const ToolSpec bound({.name = "bound",
                        .actions = {"a", "b"},
                        .params = {{.name = "p", .type = "integer", .required = true}},
                        .default_action = "a"});
  return {
      tool("search", "Finds text.",
           {param<&Search::query>({.synonyms = {"q"}}),
            param<&Search::limit>({.maximum = 100, .default_ = 20}),
            param<&Search::weight>({.default_ = 1})},
           [](const Search& request, const Index& index, Call& call) {
             if (request.query == "note") call.note("noted");
             return index.name + ": " + request.query + " " + std::to_string(request.limit);
           })
          .with({.title = "Search",
                 .annotations = {.read_only = true, .open_world = false},
                 .output_schema = {{"type", "object"}},
                 .icons = {{.src = "https://a/b.png", .sizes = {"48x48"}},
                           {.src = "data:,", .mime_type = "image/png", .theme = "dark"}},
                 .required_capabilities = {{"sampling", Mapping{}}}}),
      tool(ToolSpec({.name = "named", .params = {{.name = "p", .type = "array"}}}),
           [](std::optional<List> items) { return items ? Value(*items) : Value(); }, {"p"}),
      tool(ToolSpec({.name = "by_hand", .params = {{.name = "p", .default_ = "d"}}}),
           Handler{{{"p"},
                    {"positional", ParameterKind::VAR_POSITIONAL},
                    {"keyword", ParameterKind::VAR_KEYWORD}},
                   [](Mapping arguments) { return arguments.at("p"); }}),
      tool(bound, bind_handler(
                      bound, {}, [](std::int8_t p) { return p; }, {"p"}, ignored("action"))),
      tool("mapping", "", {},
           [] {
             return Mapping{{"a", 1}};
           }),
      tool("answer", "", {},
           [] {
             return Answer{.content = {ImageContent{"i", "image/png"}},
                           .structured = List{1},
                           .is_error = true};
           }),
      tool("scalar", "", {}, [] { return true; }),
      tool("nothing", "", {}, [] {}),
      failing("tool_error", [] { throw ToolError("for the client"); }),
      failing("runtime_error", [] { throw std::runtime_error("a secret"); }),
      failing("argument_error", [] { throw ArgumentError("a secret"); }),
      failing("bad_alloc", [] { throw std::bad_alloc(); }),
      failing("number", [] { throw 5; }),
      tool("bad_answer", "", {}, [] { return Answer{.structured = "text"}; }),
  };
}

// What a call comes to, as a case of service_cases.txt says it.
Lines lines_of(const ToolAnswer& answer) {
  static constexpr std::string_view outcomes[] = {
      "answered:", "refused:", "no such tool:", "failed:"};
  Lines lines = {std::string(outcomes[static_cast<int>(answer.outcome)])};
  if (!answer.text().empty()) lines[0].append(" ").append(answer.text());
  for (const std::string& note : answer.notes) lines.push_back("note: " + note);
  if (!answer.structured.is_none()) lines.push_back("structured: " + json_text(answer.structured));
  return lines;
}

// Every case of service_cases.txt, which says how it is laid out.
TEST(ToolService, AnswersWhateverComes) {
  Lines logged;
  const ToolService service(
      sample_tools(), sample_context(), {.log = [&logged](const HandlerFault& fault) {
        logged.push_back("log: " + std::string(fault.tool) + " " + std::string(fault.kind) + " '" +
                         std::string(fault.text) + "'");
        throw std::runtime_error("dropped");
      }});
  for (const DataCase& c : data_cases("service_cases.txt")) {
    SCOPED_TRACE(c.lines[0]);
    const std::string tool = c.lines[0].substr(0, c.lines[0].find(' '));
    const Mapping arguments = parse_json(c.lines[0].substr(tool.size())).as_mapping();
    const Lines expected(c.lines.begin() + 1, c.lines.end());
    for (const bool moving : {false, true}) {
      logged.clear();
      Mapping given = arguments;
      const ToolAnswer answer =
          moving ? service.call(tool, std::move(given)) : service.call(tool, given);
      Lines lines = lines_of(answer);
      lines.insert(lines.end(), logged.begin(), logged.end());
      EXPECT_EQ(lines, expected);
      EXPECT_EQ(answer.is_error(), answer.outcome != Outcome::answered);
      EXPECT_TRUE(moving || given == arguments);
    }
  }
  EXPECT_EQ(service.call("answer", {}).content.size(), 2U);
}

TEST(ToolService, RefusesWhatAdmissionThrows) {
  const ToolService service(sample_tools(), sample_context());
  Mapping nameless;
  nameless.set(1, 2);
  const ToolAnswer unnamed = service.call("search", nameless);
  EXPECT_EQ(unnamed.outcome, Outcome::refused);
  EXPECT_EQ(unnamed.text(), "The arguments of search must be named by texts");
}

TEST(ToolService, HandsTheCallToItsHandler) {
  struct Seen {
    Value id;
    bool stopped = false;
    std::vector<double> progress;
  } seen;
  std::stop_source stop;
  const ToolService service({tool("t", "", {}, [&seen, &stop](Call& call, std::stop_token token) {
    stop.request_stop();
    seen.id = call.request_id();
    seen.stopped = token.stop_requested() && call.stop_requested();
    call.progress(1, 2, "half");
  })});
  const CallOptions options{
      .request_id = "seven", .stop = stop.get_token(), .progress = [&seen](const Progress& at) {
        seen.progress = {at.progress, *at.total};
      }};
  EXPECT_FALSE(service.call("t", {}, options).is_error());
  EXPECT_EQ(seen.id, Value("seven"));
  EXPECT_TRUE(seen.stopped);
  EXPECT_EQ(seen.progress, (std::vector<double>{1, 2}));
  Call().progress(1);  // of no request: nobody is there to hear it
}

TEST(ToolService, TellsAllMistakesOfAllToolsAtOnce) {
  std::vector<Tool> tools = sample_tools();
  tools.push_back(tools.front());
  tools.push_back(tool(ToolSpec({.name = "hand"}), Handler{{{"index"}}, {}}));
  try {
    const ToolService service(tools, {});
    FAIL();
  } catch (const HandlerError& error) {
    const std::string index(detail::type_name<Index>());
    const std::string missing = "search: the handler takes const " + index +
                                "&, and the context has no entry of exactly that type; "
                                "provide(\"NAME\", std::shared_ptr<" +
                                index + ">), or take " + index + "*, which may be null";
    EXPECT_EQ(
        error.problems(),
        (std::vector<std::string>{
            missing, missing, "hand: the handler is empty",
            "hand, 'index': is not a parameter of hand, and a service gives a handler of this "
            "kind nothing else; capture it, or write a typed handler",
            "search: two tools have this name; rename one of them"}));
  }
}

TEST(ToolService, WarnsOfWhatIsDoubtful) {
  const Tool doubtful =
      tool("t", "", {param<&Search::limit>({.maximum = 10, .default_ = 20})}, [](const Search&) {});
  const auto warnings = ToolService({sample_tools().back(), doubtful}, sample_context()).warnings();
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].parameter, "limit");
}

TEST(ToolService, PublishesItsToolsWithWhatTheyAre) {
  const ToolService service(sample_tools(), sample_context());
  EXPECT_EQ(service.tools_file(), publish_tools(service.tools()));
  EXPECT_EQ(read_tools(service.tools_file()).tools.front(), service.tools().at("search"));
  const List wire = service.wire_tools();
  ASSERT_EQ(wire.size(), service.tools().size());
  Mapping first = wire.front().as_mapping();
  EXPECT_TRUE(first.at("inputSchema").is_mapping());
  first.erase("inputSchema");
  EXPECT_EQ(json_text(first),
            R"({"name": "search", "description": "Finds text.", "title": "Search", )"
            R"("outputSchema": {"type": "object"}, )"
            R"("annotations": {"readOnlyHint": true, "openWorldHint": false}, )"
            R"("icons": [{"src": "https://a/b.png", "sizes": ["48x48"]}, )"
            R"({"src": "data:,", "mimeType": "image/png", "theme": "dark"}]})");
  EXPECT_EQ(wire.back().as_mapping().find("title"), nullptr);
  EXPECT_TRUE(service.info("search")->required_capabilities.contains("sampling"));
  EXPECT_EQ(service.info("other"), nullptr);
}

}  // namespace
}  // namespace tool_binding
