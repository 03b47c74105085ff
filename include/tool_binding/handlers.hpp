#ifndef TOOL_BINDING_HANDLERS_HPP_
#define TOOL_BINDING_HANDLERS_HPP_

// A C++ function is a tool: typed handlers.
//
// A struct whose members are the parameters; nothing is written twice:
//
//   enum class Mode { literal, regex };
//   struct Search { std::string query; Mode mode; std::int32_t limit; };
//
//   Tool search = tool("search", "Finds text in files.",
//                      {param<&Search::query>({.synonyms = {"q"}}),
//                       param<&Search::mode>({.default_ = "literal"}),
//                       param<&Search::limit>({.minimum = 1, .maximum = 200, .default_ = 20})},
//                      [](const Search& request, Repository& repository) -> std::string { ... });
//   // {"q": "main", "limit": "500"} calls it with {"main", Mode::literal, 200}
//
// Or names beside a callable, for a registry that exists already:
//
//   Handler read = bind_handler(TOOLS.at("read"), context,
//       [](Repository& repository, std::string_view path, std::optional<std::int32_t> lines) {...},
//       {"repository", "path", "lines"});
//
// A ToolService (tool_service.hpp) serves such tools: a name and arguments in, an answer out.
//
// Parameters of a request are of these types: bool; any integer type but the character types;
// double, float; std::string, std::string_view, std::filesystem::path; an enum class (see
// enum_names); std::vector of these; std::optional of all these; Value, List, Mapping; and a type
// of yours (see ParameterReader, like enum_names in handlers/parameter_types.hpp). A handler takes
// them by value, by const reference or by rvalue reference. Views are valid until the handler
// returns.
//
// Of the context a handler takes T&, const T&, std::shared_ptr<T> or T*, which is null where the
// context has no such entry. No client can supply it, and no schema shows it. `Call&` and
// `std::stop_token` come without a name.
//
// A handler returns text, a number or bool, Value, Mapping or List (structured content), Answer, or
// nothing; handlers/answer.hpp has Answer, Call and ToolError. It is called from any thread, from
// several at the same time, and so must not be mutable. It and all that it captures are kept, and
// destroyed with the last copy of the Handler, Tool or ToolService.
//
// Mistakes: the number of names and the types are checked by the compiler. All others are found
// when the handler is bound, and one HandlerError lists every one, the errors of check_tool() among
// them.
//
// A request can then be refused for two more reasons, in the words of the layer: an integer that
// the C++ type cannot hold, and an item of a list that is of another kind. (Items are read as
// arguments are: "5" is 5.) The limits of C++ types are not published as bounds, since a number
// brought to them would hide the mistake.
//
//   "Parameter 'limit' of search must be a whole number from -128 to 127, not 500"   // std::int8_t
//   "Parameter 'ids' of t, item 2, must be a whole number, not 'b'"                  // "1, b"

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tool_binding/detail/cpp_type.hpp"
#include "tool_binding/detail/function.hpp"
#include "tool_binding/export.hpp"
#include "tool_binding/handlers/answer.hpp"
#include "tool_binding/handlers/parameter_types.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/tool_registry.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

// Function, declaration and context do not fit together: a fault of the program, found before the
// first request. Each problem is one line: "TOOL, 'PARAMETER': what is wrong; what to write".
//
//   bind_handler(ToolSpec({.name = "read", .params = {{.name = "path", .required = true}}}), {},
//                [](int path) { return path; }, {"path"})   throws it:
//       "read, 'path': is declared \"string\", and the handler takes std::int32_t; take "
//       "std::string or std::string_view, or declare it .type = \"integer\""
class TOOL_BINDING_EXPORT HandlerError : public std::logic_error {
 public:
  // what() is all problems, one a line.
  explicit HandlerError(std::vector<std::string> problems);
  ~HandlerError() override;

  // Valid as long as this error or a copy of it.
  [[nodiscard]] const std::vector<std::string>& problems() const noexcept { return *problems_; }

 private:
  std::shared_ptr<const std::vector<std::string>> problems_;
};

// What the program itself gives to its handlers, by name: objects of any type.
//
//   Context context;
//   context.provide("repository", std::make_shared<Repository>("/srv/code"));
//   const Handler root = bind_handler(ToolSpec({.name = "root"}), context,
//                                     [](const Repository& repository) { return repository.root; },
//                                     {"repository"});
//   root.call({}) == Value("/srv/code")
//
// A handler that takes Repository& gets the entry whose name it gives, else the only one of that
// type: two of one type without a name are a HandlerError. The type is the one that is provided,
// not a base of it: provide std::shared_ptr<Base>(derived) to have it taken as Base&. Handlers
// share ownership of what they take; what changes must lock by itself. Copies share the objects.
//
// It is read when handlers are bound: what is provided later reaches none of them.
class TOOL_BINDING_EXPORT Context {
 public:
  // A `const T` is taken as const T&, const T* or std::shared_ptr<const T> alone. Throws
  // std::invalid_argument for a null pointer (leave out what is absent) and for a repeated name.
  // Returns the context, so that calls can be chained.
  template <class T>
  Context& provide(std::string name, std::shared_ptr<T> object) &;
  template <class T>
  [[nodiscard]] Context&& provide(std::string name, std::shared_ptr<T> object) &&;

  struct Entry {
    std::string name;
    const std::type_info& type;  // without const
    std::string_view type_name;  // as messages show it; valid forever
    bool is_const;
    std::shared_ptr<void> object;
  };
  // In the order in which they were provided.
  [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }

 private:
  void add(Entry entry);

  std::vector<Entry> entries_;
};

// Declared parameters that a handler does not take on purpose; made by ignored(). A name in it that
// the tool does not declare, or that the handler takes, is a HandlerError.
class Ignored {
 public:
  Ignored() = default;
  explicit Ignored(std::vector<std::string> names) noexcept : names_(std::move(names)) {}
  [[nodiscard]] const std::vector<std::string>& names() const noexcept { return names_; }

 private:
  std::vector<std::string> names_;
};

// What a handler does not take: declared parameters, or the action.
//
//   const ToolSpec read(
//       {.name = "read", .params = {{.name = "path", .required = true}, {.name = "lines"}}});
//   const auto answer = [](std::string path) { return path; };
//   bind_handler(read, {}, answer, {"path"}, ignored("lines"))
//   bind_handler(read, {}, answer, {"path"})   throws HandlerError:
//       "read, 'lines': is declared, and the handler does not take it; take it, or add "
//       "ignored(\"lines\")"
template <std::convertible_to<std::string>... Names>
[[nodiscard]] Ignored ignored(Names&&... names) {
  return Ignored({std::string(std::forward<Names>(names))...});
}

// Names beside a callable. `names` are those of its parameters, in their order, Call& and
// std::stop_token left out: of a declared parameter (not a synonym), "action", or of a context
// entry, which is taken by its type where the context has no entry of that name.
//
// A default that differs by action reaches the function as the one of the action that runs. Called
// with arguments that are not as bind_arguments gives them, the handler binds them first; values
// that the function cannot take throw ArgumentError. Handler::call gives the result as a Value: of
// an Answer that is answer_mapping().
//
//   const Handler read = bind_handler(
//       ToolSpec({.name = "read", .params = {{.name = "path", .required = true},
//                                            {.name = "lines", .type = "integer"}}}),
//       {}, [](std::string_view path, std::optional<std::int32_t> lines) {
//         return std::string(path) + ":" + std::to_string(lines.value_or(10));
//       }, {"path", "lines"});
//   read.call({{"path", "a.cpp"}, {"lines", 5}}) == Value("a.cpp:5")
//   read.call({{"path", "a.cpp"}}) == Value("a.cpp:10")
//   read.call({{"path", 1}})   throws ArgumentError
//
// Throws HandlerError with every mismatch. Cost of a call: no look-up by name.
template <class F, std::size_t Count>
[[nodiscard]] Handler bind_handler(const ToolSpec& spec, const Context& context, F function,
                                   const std::string_view (&names)[Count],
                                   const Ignored& ignored = {});
// For a callable without named parameters: it takes nothing, or only Call& and std::stop_token.
template <class F>
[[nodiscard]] Handler bind_handler(const ToolSpec& spec, const Context& context, F function,
                                   const Ignored& ignored = {});

// What is declared of a struct's member beside its C++ type: a ParamSpec without what the type says
// (its type word, its items' type, the enumeration of an enum class, whether it is required: it is
// when it has no default, is not needed by some actions alone, and is not std::optional). The
// members mean what they mean in ParamSpec; a default that the C++ type cannot hold is a
// HandlerError.
struct ParamOptions {
  std::vector<std::string> synonyms = {};
  // Allowed texts, where the C++ type is text or a vector of texts.
  std::vector<std::string> enum_ = {};
  Value minimum = {};
  Value maximum = {};
  bool blank_is_value = false;
  std::vector<std::string> required_for = {};
  Value default_ = {};
  std::vector<std::pair<std::string, Value>> action_defaults = {};
  std::string description = {};

  friend bool operator==(const ParamOptions&, const ParamOptions&) = default;
};

// A parameter that is a member of Class; what param() gives.
template <class Class, class T>
struct MemberParam {
  std::string name;
  T Class::*member;
  ParamOptions options;
};

// The parameter has another name, or the compiler is neither g++ nor clang:
//
//   param("max-results", &Search::limit, {.default_ = 20})
template <class Class, class T>
[[nodiscard]] MemberParam<Class, T> param(std::string name, T Class::*member,
                                          ParamOptions options = {}) {
  return {std::move(name), member, std::move(options)};
}
// The parameter has the member's name:
//
//   param<&Search::limit>({.default_ = 20}).name == "limit"
template <auto Member>
[[nodiscard]] auto param(ParamOptions options = {});

// A MemberParam of Struct or of a base of it, whatever the member's type. Made implicitly, of what
// param() returns; for the library to read.
template <class Struct>
class Param {
 public:
  template <class Class, class T>
  Param(MemberParam<Class, T> param);
  Param(detail::NoMember) {}

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] const ParamOptions& options() const noexcept { return options_; }
  [[nodiscard]] const detail::CppType* type() const noexcept { return type_; }
  [[nodiscard]] const detail::Member<Struct>& member() const noexcept { return member_; }

 private:
  std::string name_;
  ParamOptions options_;
  const detail::CppType* type_ = nullptr;
  detail::Member<Struct> member_ = {};
};

// Hints for clients about what a tool does; nothing: not said. A client need not believe them, and
// the library does not act on them.
struct ToolAnnotations {
  std::optional<bool> read_only = {};    // it changes nothing
  std::optional<bool> destructive = {};  // it may delete or overwrite; not said: it may
  std::optional<bool> idempotent = {};   // a second call of the same arguments changes nothing more
  std::optional<bool> open_world = {};   // it reaches beyond the machine, such as the web

  friend bool operator==(const ToolAnnotations&, const ToolAnnotations&) = default;
};

// An image that clients may show beside the tool. Passed on unchecked.
struct ToolIcon {
  std::string src;  // a URI: https: or data:
  std::string mime_type = {};
  std::vector<std::string> sizes = {};  // "48x48", "any"
  std::string theme = {};               // "light" or "dark"

  friend bool operator==(const ToolIcon&, const ToolIcon&) = default;
};

// What clients are shown of a tool beside its specification.
struct ToolInfo {
  std::string title = {};  // for people; empty: the name
  ToolAnnotations annotations = {};
  Mapping output_schema = {};  // of the structured content; empty: not said
  std::vector<ToolIcon> icons = {};
  // What a client must be able to do, as it declares it: {{"sampling", Mapping{}}}.
  Mapping required_capabilities = {};

  friend bool operator==(const ToolInfo&, const ToolInfo&) = default;
};

// A tool and the function that answers it: what a ToolService serves. Immutable; copies share one
// record. Made by tool(), which keeps every mistake for the HandlerError of whoever binds it.
//
//   const Tool ping = tool("ping", "Answers.", {}, [] { return "pong"; }).with({.title = "Ping"});
//   ping.spec().name() == "ping"
//   ping.info().title == "Ping"
//   ToolService({ping}).call("ping", {}).text() == "pong"
class TOOL_BINDING_EXPORT Tool {
 public:
  // Copies the record, with this information: tool(...).with({.title = "Find text"}).
  [[nodiscard]] Tool with(ToolInfo info) const;

  [[nodiscard]] const ToolSpec& spec() const noexcept;
  [[nodiscard]] const ToolInfo& info() const noexcept;

  // For the library.
  explicit Tool(std::shared_ptr<const detail::ToolRecord> record) noexcept
      : record_(std::move(record)) {}
  Tool(const Tool&) = default;
  Tool& operator=(const Tool&) = default;
  ~Tool() = default;
  [[nodiscard]] const detail::ToolRecord& record() const noexcept { return *record_; }

 private:
  std::shared_ptr<const detail::ToolRecord> record_;
};

// A struct of parameters. It is the handler's first parameter, taken as const T& or T, of which
// `params` are the members that a request gives; the others keep what T{} gives them. Context
// entries come after it and are taken by their type. A tool without parameters needs no struct.
//
//   tool("ping", "Answers.", {}, [] { return "pong"; })
//
// With actions, or without routing, the definition comes first:
//
//   tool({.name = "branches", .actions = {{"list"}, {"create"}}, .default_action = "list"},
//        {param<&Branches::action>(), param<&Branches::name>({.required_for = {"create"}})},
//        [](const Branches& request) { ... })
//
// A member for the action is declared by its name alone: a text, or an enum class with the actions'
// names. Parameters in the definition are declared too; say ignored(...) of them.
//
// The struct must be default-constructible; it is made for each call and moved into a handler that
// takes it by value. Mistakes are kept for the HandlerError of the service that the tool is given
// to; only two actions of one name throw std::invalid_argument here, as ToolSpec does.
template <class F>
[[nodiscard]] Tool tool(ToolDefinition definition,
                        std::initializer_list<Param<detail::request_of<F>>> params, F function,
                        const Ignored& ignored = {});
template <class F>
[[nodiscard]] Tool tool(std::string name, std::string description,
                        std::initializer_list<Param<detail::request_of<F>>> params, F function,
                        const Ignored& ignored = {});

// Names beside a callable, as bind_handler has it, for a service.
template <class F, std::size_t Count>
[[nodiscard]] Tool tool(ToolSpec spec, F function, const std::string_view (&names)[Count],
                        const Ignored& ignored = {});

// For a callable without named parameters.
template <class F>
requires(!std::same_as<F, Handler>) [[nodiscard]] Tool
    tool(ToolSpec spec, F function, const Ignored& ignored = {});

// A handler that is written by hand: it is called with what bind_arguments gives, every declared
// parameter, whatever its signature names. A name in its signature that the tool does not declare
// is a HandlerError, since it gets nothing of the context.
[[nodiscard]] TOOL_BINDING_EXPORT Tool tool(ToolSpec spec, Handler handler);

// The tool's handler, for a dispatcher of your own. Throws HandlerError with every mismatch. What
// Tool::with() has added is for ToolService alone.
[[nodiscard]] TOOL_BINDING_EXPORT Handler bind_handler(const Tool& tool, const Context& context);

// The custom type of a parameter of type T, for a registry that is written by hand:
//
//   ParamSpec{.name = "since", .custom = custom_type<Date>()}
//   ParamSpec{.name = "days", .custom = custom_type<std::vector<Date>>()}
template <class T>
requires detail::HasReader<typename detail::Unwrapped<T>::Type>
[[nodiscard]] const std::shared_ptr<const CustomType>& custom_type();

}  // namespace tool_binding

#include "tool_binding/detail/handlers.hpp"

#endif  // TOOL_BINDING_HANDLERS_HPP_
