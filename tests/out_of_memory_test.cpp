// Each allocation of a call is made to fail in turn: std::bad_alloc comes out and nothing else,
// nothing leaks, what was only borrowed is as it was, and the next call answers as ever.

#include <gtest/gtest.h>

#include <limits>

#include "failing_memory.hpp"
#include "sample_requests.hpp"
#include "sample_service.hpp"

namespace tool_binding {
namespace {

// Makes the call once for each of its allocations that fails alone, and once for it and all that
// follow failing.
template <class Call>
void fail_each_allocation(std::size_t needed, const Call& call) {
  const std::size_t live = memory.live;
  for (std::size_t i = 0; i < 2 * needed && !testing::Test::HasFailure(); ++i) {
    const std::size_t failing = i / 2 + 1;
    memory_lasts();
    memory.first_failing = failing;
    memory.last_failing = i % 2 == 0 ? failing : std::numeric_limits<std::size_t>::max();
    call();
    memory_lasts();
    ASSERT_EQ(memory.live, live) << failing << " of " << needed;
  }
}

template <class Call>
void expect_bad_alloc_alone(const Call& call) {
  memory_lasts();
  call();
  ASSERT_GT(memory.asked, 0U);
  fail_each_allocation(memory.asked, [&call] {
    bool is_thrown = false;
    try {
      call();
    } catch (const std::bad_alloc&) {
      is_thrown = true;
    }
    memory_lasts();
    EXPECT_TRUE(is_thrown);
  });
}

TEST(OutOfMemory, LeavesWhatIsReadUnchangedAndWhatIsMovedInValid) {
  set_tools(sample_tools());
  for (const Request& request : sample_requests()) {
    SCOPED_TRACE(request.tool + display_form(request.arguments));
    const Mapping before = request.arguments;
    const std::string answers = all_answers(request);
    expect_bad_alloc_alone([&request] { static_cast<void>(all_answers(request)); });
    EXPECT_EQ(request.arguments, before);
    EXPECT_EQ(all_answers(request), answers);
    if (TOOLS.find(request.tool) == nullptr) continue;
    expect_bad_alloc_alone([&request] {
      Mapping given;
      try {
        given = request.arguments;
        admission(request.tool, std::move(given));
        given = request.arguments;
        static_cast<void>(bind_arguments(request.tool, std::move(given)));
      } catch (const std::bad_alloc&) {
        memory.last_failing = 0;
        EXPECT_FALSE(all_answers({request.tool, given}).empty());
        given.set("one more", 1);
        EXPECT_EQ(given.at("one more"), 1);
        throw;
      }
    });
  }
}

TEST(OutOfMemory, ChangesAMappingWhollyOrNotAtAll) {
  const std::string text(40, 'x');
  const auto filled = [&text](int first, int last) {
    Mapping mapping;
    for (int i = first; i < last; ++i) mapping.set(text + std::to_string(i), text);
    return mapping;
  };
  const Mapping given[] = {filled(0, 16), filled(10, 42), filled(20, 99)};
  for (const Mapping& held : given) {
    for (const Mapping& other : given) {
      expect_bad_alloc_alone([&] {
        Mapping assigned = held;
        Mapping added = held;
        try {
          assigned = other;
          added.set(text, text);
        } catch (const std::bad_alloc&) {
          memory.last_failing = 0;
          EXPECT_EQ(added, held);
          EXPECT_TRUE(assigned == held || assigned == other);
          for (const auto& entry : assigned) EXPECT_TRUE(assigned.contains(entry.name()));
          throw;
        }
      });
    }
  }
}

TEST(OutOfMemory, LosesNothingOfAToolsDefinition) {
  const std::string definitions[] = {
      json_text(publish_tools(sample_tools())),
      R"({"tools": [{"name": "t", "inputSchema": {"type": "object", "required": ["q"],
          "properties": {"p": {"type": ["string", "integer"], "format": [{"a": [1e5]}]},
                         "action": {"enum": ["get"], "default": "put"},
                         "r": {"enum": ["A", "a"], "default": "b", "x-synonyms": ["s", "p"],
                               "x-required-for": ["got"]}}}},
         {"name": "t", "inputSchema": 5}]})"};
  static_cast<void>(any_type());  // made once
  for (const std::string& definition : definitions) {
    expect_bad_alloc_alone([&definition] {
      ToolsReading reading = read_tools(parse_json(definition));
      for (const SchemaProblem& error : reading.errors) EXPECT_FALSE(problem_line(error).empty());
      const ToolTable table(std::move(reading.tools));
      EXPECT_EQ(table.empty() ? definition : json_text(publish_tools(table)), definition);
    });
  }
}

// One that fails may be where nobody minds it (a log), or be the fault that the answer tells.
TEST(OutOfMemory, IsAFaultOfACallAndNothingElse) {
  const ToolService service = sample_service();
  for (const auto& call : sample_calls()) {
    const std::string& tool = call.first;
    const Mapping& arguments = call.second;
    SCOPED_TRACE(tool);
    memory_lasts();
    const std::string answer = shown(service.call(tool, arguments));
    const std::size_t needed = memory.asked;
    const Mapping before = arguments;
    fail_each_allocation(needed, [&] {
      try {
        const ToolAnswer failed = service.call(tool, arguments);
        memory_lasts();
        EXPECT_TRUE(shown(failed) == answer ||
                    failed.text() == tool + " failed with an internal error")
            << shown(failed);
      } catch (const std::bad_alloc&) {
      }
    });
    EXPECT_EQ(arguments, before);
    EXPECT_EQ(shown(service.call(tool, arguments)), answer);
  }
}

}  // namespace
}  // namespace tool_binding
