#include <chrono>
#include <iostream>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <tool_binding/tool_binding.hpp>

using namespace tool_binding;

std::optional<Value> read_date(const Value& sent) {
  static const std::regex form("([0-9]{4})-([0-9]{2})-([0-9]{2})");
  const std::string text = sent.is_text() ? text_form(sent) : "";
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) return std::nullopt;
  const auto number = [&parts](std::size_t part) { return std::stoi(parts[part]); };
  const std::chrono::year_month_day date(std::chrono::year(number(1)),
                                         std::chrono::month(static_cast<unsigned>(number(2))),
                                         std::chrono::day(static_cast<unsigned>(number(3))));
  return date.ok() ? std::optional(sent) : std::nullopt;
}

int main() {
  const auto date = std::make_shared<const CustomType>(
      CustomType{.words = "a date, such as 2024-05-31",
                 .read = read_date,
                 .schema = {{"type", "string"}, {"format", "date"}}});
  const ToolSpec log(
      {.name = "log", .params = {{.name = "since", .synonyms = {"from"}, .custom = date}}});
  for (const char* sent : {"2024-02-29", "yesterday"}) {
    const Admission request = try_normalize_arguments(log, {{"from", sent}});
    std::cout << (request ? display_form(request->arguments()) : request.error()) << '\n';
  }
}
