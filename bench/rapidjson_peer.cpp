#include "rapidjson_peer.hpp"

#include <rapidjson/document.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "limit.hpp"
#include "roads.hpp"
#include "tool_binding/tool_binding.hpp"
#include "tool_binding/tool_schemas.hpp"
#include "tool_binding/value_events.hpp"

namespace tool_binding::bench {
namespace {

class JsonWriter {
 public:
  void begin_list(const List&) { writer_.StartArray(); }
  void end_list() { writer_.EndArray(); }
  void begin_mapping(const Mapping&) { writer_.StartObject(); }
  void end_mapping() { writer_.EndObject(); }
  void key(const Value& key) { leaf(key); }
  void leaf(const Value& value) {
    if (const auto text = value.if_text()) {
      writer_.String(text->data(), static_cast<rapidjson::SizeType>(text->size()));
    } else if (const auto boolean = value.if_boolean()) {
      writer_.Bool(*boolean);
    } else if (const auto number = value.if_float()) {
      writer_.Double(*number);
    } else if (value.is_none()) {
      writer_.Null();
    } else {
      writer_.Int64(value.as_int64());
    }
  }
  [[nodiscard]] const char* text() const { return buffer_.GetString(); }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

std::string written(const Value& value) {
  JsonWriter writer;
  visit_events(value, writer);
  return writer.text();
}

rapidjson::Document document_of(const Value& value) {
  rapidjson::Document document;
  document.Parse(written(value).c_str());
  return document;
}

Mapping search_schema() {
  Mapping schema = input_schema(code_search_tool()).as_mapping();
  schema.set("additionalProperties", false);
  return schema;
}

Mapping answer_to(const Case& c) {
  try {
    Answer answer = limit(c.tool, c.request);
    return {{"bound", std::move(answer.bound)},
            {"notes", List(answer.notes.begin(), answer.notes.end())}};
  } catch (const ArgumentError& error) {
    return {{"problems", error.message()}};
  }
}

Value value_of(const rapidjson::Value& json) {
  if (json.IsString()) return std::string_view(json.GetString(), json.GetStringLength());
  if (json.IsBool()) return json.GetBool();
  if (json.IsInt64()) return json.GetInt64();
  if (json.IsNumber()) return json.GetDouble();
  if (!json.IsArray()) return {};
  List items;
  items.reserve(json.Size());
  for (const rapidjson::Value& item : json.GetArray()) items.push_back(value_of(item));
  return Value(std::move(items));
}

// The search tool.
class Search {
 public:
  [[nodiscard]] bool validate(const rapidjson::Value& arguments) {
    validator_->Reset();
    return arguments.Accept(*validator_);
  }

  [[nodiscard]] Mapping bound(const rapidjson::Value& arguments) const {
    Mapping bound;
    bound.reserve(tool_.params().size());
    for (const ParamSpec& param : tool_.params()) {
      const auto given = arguments.FindMember(
          rapidjson::Value(rapidjson::StringRef(param.name.data(), param.name.size())));
      const bool is_given = arguments.MemberEnd() - given > 0;
      bound.set(param.name, is_given ? value_of(given->value) : param.default_);
    }
    return bound;
  }

 private:
  ToolSpec tool_ = code_search_tool();
  std::unique_ptr<rapidjson::SchemaDocument> schema_ =
      std::make_unique<rapidjson::SchemaDocument>(document_of(search_schema()));
  std::unique_ptr<rapidjson::SchemaValidator> validator_ =
      std::make_unique<rapidjson::SchemaValidator>(*schema_);
};

class RapidJsonRoad : public Road {
 public:
  explicit RapidJsonRoad(const std::string& line) : line_(line) {}

  void answer(std::string* out) override {
    rapidjson::Document request;
    request.Parse(line_.data(), line_.size());
    const rapidjson::Value& arguments = request["arguments"];
    if (!search_.validate(arguments)) throw std::logic_error("the request is not valid");
    Mapping bound = search_.bound(arguments);
    if (out == nullptr) return;
    Mapping answer;
    answer.set("bound", std::move(bound));
    answer.set("notes", List());
    *out = written(answer);
  }

 private:
  std::string line_;
  Search search_;
};

}  // namespace

struct RapidJsonPeer::State {
  Search search;
  rapidjson::Document request;
};

RapidJsonPeer::RapidJsonPeer(const Case& c)
    : state_(std::make_unique<State>(State{Search(), document_of(c.request)})) {}
RapidJsonPeer::~RapidJsonPeer() = default;

bool RapidJsonPeer::validate() { return state_->search.validate(state_->request); }

Mapping RapidJsonPeer::bound() const { return state_->search.bound(state_->request); }

std::unique_ptr<Road> rapidjson_road(const std::string& line) {
  return std::make_unique<RapidJsonRoad>(line);
}

void write_cases(std::ostream& out) {
  Mapping requests;
  Mapping lines;
  Mapping answers;
  for (const Case& c : cases()) {
    if (c.tool != "code_search" || c.name.starts_with("tools/")) continue;
    requests.set(c.name, c.request);
    lines.set(c.name, line_of(c));
    answers.set(c.name, answer_to(c));
  }
  out << written(Mapping{{"schema", search_schema()},
                         {"requests", std::move(requests)},
                         {"lines", std::move(lines)},
                         {"answers", std::move(answers)}})
      << '\n';
}

}  // namespace tool_binding::bench
