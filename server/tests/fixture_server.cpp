// The tools for tests over standard input and output. FIXTURE_TIME_LIMIT and FIXTURE_LINE_LIMIT
// change those options.

#include <cstdlib>

#include "fixture_tools.hpp"
#include "tool_binding/stdio.hpp"

namespace {

long number_in(const char* variable, long otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atol(text);
}

}  // namespace

int main() {
  using namespace tool_binding;
  StdioTransport stdio;
  StdioOptions options;
  options.time_limit = std::chrono::milliseconds(number_in("FIXTURE_TIME_LIMIT", 300'000));
  options.line_limit = static_cast<std::size_t>(number_in("FIXTURE_LINE_LIMIT", 8L << 20));
  return stdio.serve(fixture_service(),
                     {.name = "fixture_server", .version = "1.0", .instructions = "For tests."},
                     options);
}
