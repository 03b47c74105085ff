#include "fixture_tools.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tool_binding {
namespace {

enum class Unit { metre, foot };

struct Measure {
  double length = 0;
  Unit unit = Unit::metre;
  std::int32_t digits = 0;
  std::vector<std::string> labels;
  std::optional<std::string> remark;
};

Answer measured(const Measure& request, Call& call) {
  if (request.length < 0) throw ToolError("A length is not negative: send 0 or more.");
  const double metres = request.unit == Unit::foot ? request.length * 0.3048 : request.length;
  if (request.unit == Unit::foot) call.note("feet were converted");
  Mapping result{{"metres", metres}, {"digits", request.digits}};
  result.set("labels", List(request.labels.begin(), request.labels.end()));
  if (request.remark) result.set("remark", *request.remark);
  return {.structured = std::move(result)};
}

struct Text {
  std::string text;
};
struct Wait {
  std::int32_t milliseconds = 0;
};

std::string wait_for_stop(const Wait& wait, std::stop_token stop) {
  std::mutex mutex;
  std::condition_variable_any changed;
  std::unique_lock lock(mutex);
  changed.wait_for(lock, stop, std::chrono::milliseconds(wait.milliseconds), [] { return false; });
  return stop.stop_requested() ? "stopped" : "waited";
}

std::string wait_stubbornly(const Wait& wait) {
  std::this_thread::sleep_for(std::chrono::milliseconds(wait.milliseconds));
  return "waited";
}

// By every way to standard output that a handler has.
std::string print() {
  std::cout << "printed by a stream" << std::endl;
  std::puts("printed by stdio");
  return "printed";
}

std::string print_in_child() {
  const int status = std::system("echo printed by a child; cat");
  return "the child ended with " + std::to_string(status);
}

std::string report_progress(Call& call) {
  for (const double progress : {0, 50, 50, 20, 100}) {
    call.progress(progress, 100, "at " + std::to_string(static_cast<int>(progress)));
  }
  return "done";
}

const ImageContent image{"\x89PNG\r\n\x1a\n", "image/png"};
const AudioContent sound{"RIFF\x24WAVE", "audio/wav"};

std::vector<Tool> own_tools() {
  return {
      tool("measure", "Converts a length to metres.",
           {param<&Measure::length>({.synonyms = {"size"}}),
            param<&Measure::unit>({.default_ = "metre"}),
            param<&Measure::digits>({.minimum = 0, .maximum = 9, .default_ = 2}),
            param<&Measure::labels>({.default_ = List{}}), param<&Measure::remark>()},
           measured),
      tool("echo", "Returns its text.", {param<&Text::text>({.blank_is_value = true})},
           [](const Text& request) { return request.text; }),
      tool("list", "Returns a list.", {},
           [] {
             return List{1, "two"};
           }),
      tool("nothing", "Returns nothing.", {}, [] {}),
      tool("fail", "Throws what is not for the client.", {},
           []() -> std::string { throw std::runtime_error("a secret"); }),
      tool("wait", "Waits until it is stopped.", {param<&Wait::milliseconds>()}, wait_for_stop),
      tool("stubborn", "Waits whatever it is asked.", {param<&Wait::milliseconds>()},
           wait_stubbornly),
      tool("print", "Prints.", {}, print),
      tool("print_in_child", "Prints in a child process.", {}, print_in_child),
  };
}

std::vector<Tool> conformance_tools() {
  return {
      tool("test_simple_text", "Returns text.", {},
           [] { return "This is a simple text response for testing."; }),
      tool("test_error_handling", "Fails.", {},
           []() -> std::string {
             throw ToolError("This tool intentionally returns an error for testing");
           }),
      tool("test_tool_with_progress", "Reports progress.", {}, report_progress),
      tool("test_image_content", "Returns an image.", {},
           [] { return Answer{.content = {image}}; }),
      tool("test_audio_content", "Returns sound.", {}, [] { return Answer{.content = {sound}}; }),
      tool("test_embedded_resource", "Returns a resource.", {},
           [] {
             return Answer{
                 .content = {EmbeddedResource{.uri = "test://embedded-resource",
                                              .mime_type = "text/plain",
                                              .text = "This is an embedded resource content."}}};
           }),
      tool("test_multiple_content_types", "Returns several blocks.", {},
           [] {
             return Answer{.content = {TextContent{"Multiple content types test:"}, image,
                                       EmbeddedResource{.uri = "test://mixed-content-resource",
                                                        .mime_type = "application/json",
                                                        .text = R"({"test":"data","value":123})"}}};
           }),
      tool("test_missing_capability", "Needs sampling.", {}, [] { return "sampled"; })
          .with({.required_capabilities = {{"sampling", Mapping{}}}}),
      tool("test_streaming_elicitation", "Asks nothing.", {}, [] { return "done"; }),
      tool("test_logging_tool", "Logs nothing to the client.", {}, [] { return "done"; }),
      tool("test_trigger_tool_change", "Changes nothing.", {}, [] { return "done"; }),
  };
}

}  // namespace

ToolService fixture_service() {
  std::vector<Tool> tools = own_tools();
  for (Tool& tool : conformance_tools()) tools.push_back(tool);
  return ToolService(std::move(tools));
}

}  // namespace tool_binding
