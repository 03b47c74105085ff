#include "roads.hpp"

#include <array>
#include <utility>

#include "tool_binding/json.hpp"
#include "tool_binding/nlohmann_json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

Mapping answer_to(Value& request) {
  Mapping& members = request.as_mapping();
  const std::string tool(members.find("tool")->as_text());
  Admission admitted =
      try_normalize_arguments(tool, std::move(members.find("arguments")->as_mapping()));
  if (!admitted) return {{"problems", admitted.error()}};
  NormalizedArguments arguments = *std::move(admitted);
  List notes(arguments.notes().begin(), arguments.notes().end());
  Mapping bound = bind_arguments(tool, std::move(arguments).arguments());
  Mapping answer;
  answer.set("bound", std::move(bound));
  answer.set("notes", std::move(notes));
  return answer;
}

class LayerRoad : public Road {
 public:
  explicit LayerRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    Value request = parse_json(line_);
    const Mapping answer = answer_to(request);
    if (out != nullptr) *out = json_text(answer);
  }

 private:
  std::string line_;
};

class NlohmannRoad : public Road {
 public:
  explicit NlohmannRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    Value request = value_from_json(nlohmann::ordered_json::parse(line_));
    const Mapping answer = answer_to(request);
    if (out != nullptr) *out = json_from_value(answer).dump();
  }

 private:
  std::string line_;
};

template <class Kind>
std::unique_ptr<Road> made(const std::string& line) {
  return std::make_unique<Kind>(line);
}

bool is_any(const Case&) { return true; }
// Its ordered objects are searched from end to end for each member.
bool is_not_huge_object(const Case& c) { return c.request.size() < 10000; }
bool is_within_limit(const Case& c) { return c.has_limit; }
bool is_plain_search(const Case& c) { return c.name == "clean" || c.name.starts_with("list/"); }

constexpr std::array<RoadKind, 4> kinds = {{
    {"", made<LayerRoad>, is_any},
    {"limit_", limit_road, is_within_limit},
    {"nlohmann_", made<NlohmannRoad>, is_not_huge_object},
    {"rapidjson_", rapidjson_road, is_plain_search},
}};

}  // namespace

std::span<const RoadKind> road_kinds() { return kinds; }

std::string line_of(const Case& c) {
  return json_text(Mapping{{"tool", c.tool}, {"arguments", c.request}});
}

}  // namespace tool_binding::bench
