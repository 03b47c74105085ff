// What crosses the boundary of a shared library: the registry, exceptions, objects, and the
// adapter.
#include <cstdio>
#include <memory>
#include <tool_binding/json.hpp>
#include <tool_binding/tool_binding.hpp>
#ifdef WITH_NLOHMANN_JSON
#include <tool_binding/nlohmann_json.hpp>
#endif

using namespace tool_binding;

namespace {

class Repository : public Object {
 public:
  Repository() : Object("Repository") {}
};

}  // namespace

int main() {
  set_tools(
      ToolTable({ToolSpec({.name = "greet", .params = {{.name = "who", .required = true}}})}));
  try {
    static_cast<void>(normalize_arguments("greet", {{"whom", "you"}}));
    return 1;
  } catch (const ArgumentError& error) {
    std::puts(error.what());
  }
  const Value repository = std::make_shared<Repository>();
  if (std::dynamic_pointer_cast<Repository>(repository.as_object()) == nullptr) return 1;
  if (parse_json("[12345678901234567890]") != Value(List{12345678901234567890U})) return 1;
#ifdef WITH_NLOHMANN_JSON
  if (value_from_json(nlohmann::json::array({1})) != Value(List{1})) return 1;
#endif
  return 0;
}
