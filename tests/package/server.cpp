// A whole server. Without input it ends at once.

#include <tool_binding/stdio.hpp>

int main() {
  using namespace tool_binding;
  StdioTransport stdio;
  const ToolService service({tool("ping", "Returns pong.", {}, [] { return "pong"; })});
  return stdio.serve(service, {.name = "package_test", .version = "1.0"});
}
