#include "tool_binding/handlers.hpp"

#include <map>
#include <string>

using namespace tool_binding;

struct Search {
  std::string query;
  std::map<std::string, int> weights;
  const int fixed = 0;
  static int shared;
};
struct Other {
  std::string query;
};
struct Repository {
  explicit Repository(int) {}
};

struct Date {
  int year;
};
template <>
struct tool_binding::ParameterReader<Date> {
  static std::optional<Date> read(const Value&) { return {}; }
};

const ToolSpec spec({.name = "read"});
const Context context;
const auto reads = [](Repository&, std::string_view path, Call&) { return path; };

#ifdef TOO_FEW_NAMES  // too few names: give one for each parameter of the handler, in their order
const Handler handler = bind_handler(spec, context, reads, {"path"});
#endif

#ifdef NO_NAMES  // too few names
const Handler handler = bind_handler(spec, context, reads);
#endif

#ifdef TOO_MANY_NAMES  // too many names: .* a declared parameter that the handler does not take
const Handler handler = bind_handler(spec, context, reads, {"repository", "path", "call"});
#endif

#ifdef UNSUPPORTED_TYPE  // a handler cannot take a parameter of this type. From a request it takes
const Handler handler = bind_handler(spec, context, [](std::map<std::string, int>) {}, {"weights"});
#endif

#ifdef NESTED_VECTOR  // a handler cannot take a parameter of this type
const Handler handler = bind_handler(spec, context, [](std::vector<std::vector<int>>) {}, {"rows"});
#endif

#ifdef CHARACTER_POINTER  // a handler cannot take a parameter of this type
const Handler handler = bind_handler(spec, context, [](const char*) {}, {"path"});
#endif

#ifdef CALL_BY_VALUE  // .*and Call& and std::stop_token
const Handler handler = bind_handler(spec, context, [](Call) {}, {"call"});
#endif

#ifdef GENERIC_LAMBDA  // exactly one signature. Write out the types of a generic lambda
const Handler handler = bind_handler(spec, context, [](auto path) { return path; }, {"path"});
#endif

#ifdef GENERIC_STRUCT_LAMBDA  // exactly one signature
const Tool made = tool("search", "", {param<&Search::query>()}, [](const auto&) {});
#endif

#ifdef MUTABLE_LAMBDA  // cannot be a mutable lambda: keep what changes in a context entry
const Handler handler = bind_handler(spec, context, [n = 0]() mutable { return ++n; });
#endif

#ifdef UNSUPPORTED_RESULT  // a handler returns text, a number or bool, Value, Mapping, List
const Handler handler = bind_handler(spec, context, [] { return Search(); });
#endif

#ifdef MEMBER_OF_ANOTHER_STRUCT  // is not a member of the struct that the handler takes
const Tool made = tool("search", "", {param<&Other::query>()}, [](const Search&) {});
#endif

#ifdef UNSUPPORTED_MEMBER  // a member of this type cannot be a parameter: it can be bool
const Tool made = tool("search", "", {param<&Search::weights>()}, [](const Search&) {});
#endif

#ifdef CONST_MEMBER  // a member of this type cannot be a parameter: .*not const
const Tool made = tool("search", "", {param<&Search::fixed>()}, [](const Search&) {});
#endif

#ifdef STATIC_MEMBER  // takes a pointer to a data member that is not static
const Tool made = tool("search", "", {param<&Search::shared>()}, [](const Search&) {});
#endif

#ifdef INCOMPLETE_READER  // a ParameterReader<T> needs three static members: .constexpr
const Handler handler = bind_handler(spec, context, [](Date) {}, {"since"});
#endif

#ifdef NO_NAMES_FOR_A_TOOL  // too few names
const Tool made = tool(spec, [](int) {});
#endif

#ifdef PARAMETER_BESIDE_THE_STRUCT  // takes a request's parameters as members of the struct
const Tool made = tool("search", "", {param<&Search::query>()}, [](const Search&, int) {});
#endif

#ifdef STRUCT_WITHOUT_DEFAULT  // must be default-constructible. A context entry that comes first
const Tool made = tool("search", "", {}, [](const Repository&) {});
#endif
