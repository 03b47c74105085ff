// JSON text to a value and back, against RapidJSON's reading. The first byte chooses between a
// text as it is and the text of a value made from the bytes.

#include "tool_binding/json.hpp"

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "tests/rapidjson_reading.hpp"

namespace tool_binding {
namespace {

std::optional<Value> parsed(std::string_view text) {
  try {
    return parse_json(text);
  } catch (const JsonError& error) {
    check(error.byte() <= text.size() + 1 && error.what()[0] != '\0', "a place", text);
    return std::nullopt;
  }
}

void compare_readers(std::string_view text, const std::optional<Value>& value) {
  const auto [is_known, theirs] = rapidjson_reading(text);
  if (!is_known) return;
  check(theirs.has_value() == value.has_value(), "what is JSON", text);
  if (value) check(display_form(*value) == display_form(*theirs), "read", text, *value);
}

void compare_again(const Value& value) {
  const std::string text = json_text(value);
  const std::optional<Value> again = parsed(text);
  check(again == value && display_form(*again) == display_form(value), "read back", text);
  check(json_text(*again) == text, "written again", text);
}

}  // namespace
}  // namespace tool_binding

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  Bytes bytes(data, size);
  const bool is_made = bytes.below(2) == 1;
  const Value made = is_made ? bytes.value(4) : Value();
  const std::string text = is_made ? json_text(made) : std::string(bytes.take_rest());
  const std::optional<Value> value = parsed(text);
  compare_readers(text, value);
  if (value) compare_again(*value);
  check(value || !is_made || text.find("\\ud") != text.npos, "a value has a JSON text", text);
  return 0;
}
