#include "roads.hpp"

#include <array>
#include <utility>

#include "tool_binding/json.hpp"
#include "tool_binding/nlohmann_json.hpp"
#include "tool_binding/tool_binding.hpp"

namespace tool_binding::bench {
namespace {

// What a daemon has of a request once it is bound, or the refusal.
struct Answer {
  Admission admission;
  Mapping bound;
};

Answer answer_to(Value& request) {
  Mapping& members = request.as_mapping();
  const std::string_view tool = members.find("tool")->as_text();
  const ToolSpec& spec = TOOLS.at(tool);
  Answer answer{try_normalize_arguments(spec, std::move(members.find("arguments")->as_mapping())),
                {}};
  if (answer.admission) {
    answer.bound = bind_arguments(spec, std::move(*answer.admission).arguments());
  }
  return answer;
}

class LayerRoad : public Road {
 public:
  explicit LayerRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    Value request = reader_.read(line_);
    const Answer answer = answer_to(request);
    if (out == nullptr) return;
    out->clear();
    if (!answer.admission) {
      *out += R"({"problems": )";
      append_json(*out, answer.admission.error());
    } else {
      *out += R"({"bound": )";
      append_json(*out, answer.bound);
      *out += R"(, "notes": [)";
      for (const std::string& note : answer.admission->notes()) {
        if (&note != &answer.admission->notes().front()) *out += ", ";
        append_json(*out, note);
      }
      *out += ']';
    }
    *out += '}';
  }

 private:
  std::string line_;
  JsonReader reader_;
};

class NlohmannRoad : public Road {
 public:
  explicit NlohmannRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    Value request = value_from_json(nlohmann::ordered_json::parse(line_));
    const Answer answer = answer_to(request);
    if (out == nullptr) return;
    nlohmann::ordered_json json;
    if (answer.admission) {
      json["bound"] = json_from_value(answer.bound);
      json["notes"] = answer.admission->notes();
    } else {
      json["problems"] = answer.admission.error();
    }
    *out = json.dump();
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

}  // namespace tool_binding::bench
