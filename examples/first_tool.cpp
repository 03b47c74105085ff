#include <iostream>
#include <string>
#include <tool_binding/tool_service.hpp>

using namespace tool_binding;

struct Greeting {
  std::string name;
  int times;
};

int main() {
  const Tool greet = tool("greet", "Greets somebody.",
                          {param<&Greeting::name>({.synonyms = {"who"}}),
                           param<&Greeting::times>({.minimum = 1, .maximum = 3, .default_ = 1})},
                          [](const Greeting& greeting) {
                            std::string text = "Hello";
                            for (int i = 0; i < greeting.times; ++i) text += ", " + greeting.name;
                            return text + "!";
                          });
  const ToolAnswer answer = ToolService({greet}).call("greet", {{"who", "Ada"}, {"times", "9"}});
  std::cout << answer.text() << '\n';  // Hello, Ada, Ada, Ada!
  for (const std::string& note : answer.notes) std::cout << note << '\n';
}
