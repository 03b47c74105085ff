#include "rapidjson_peer.hpp"

#include <rapidjson/document.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "limit.hpp"
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

std::string json_text(const Value& value) {
  JsonWriter writer;
  visit_events(value, writer);
  return writer.text();
}

rapidjson::Document document_of(const Value& value) {
  rapidjson::Document document;
  document.Parse(json_text(value).c_str());
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

}  // namespace

struct RapidJsonPeer::Documents {
  explicit Documents(const Case& c) : tool(code_search_tool()), request(document_of(c.request)) {}

  ToolSpec tool;
  rapidjson::Document request;
  rapidjson::SchemaDocument schema{document_of(search_schema())};
  rapidjson::SchemaValidator validator{schema};
};

RapidJsonPeer::RapidJsonPeer(const Case& c) : documents_(std::make_unique<Documents>(c)) {}
RapidJsonPeer::~RapidJsonPeer() = default;

bool RapidJsonPeer::validate() {
  documents_->validator.Reset();
  return documents_->request.Accept(documents_->validator);
}

Mapping RapidJsonPeer::bound() const {
  Mapping bound;
  bound.reserve(documents_->tool.params().size());
  for (const ParamSpec& param : documents_->tool.params()) {
    const auto given = documents_->request.FindMember(
        rapidjson::Value(rapidjson::StringRef(param.name.data(), param.name.size())));
    const bool is_given = documents_->request.MemberEnd() - given > 0;
    bound.set(param.name, is_given ? value_of(given->value) : param.default_);
  }
  return bound;
}

void write_cases(std::ostream& out) {
  Mapping requests;
  Mapping answers;
  for (const Case& c : cases()) {
    if (c.tool != "code_search" || c.name.starts_with("tools/")) continue;
    requests.set(c.name, c.request);
    answers.set(c.name, answer_to(c));
  }
  out << json_text(Mapping{{"schema", search_schema()},
                           {"requests", std::move(requests)},
                           {"answers", std::move(answers)}})
      << '\n';
}

}  // namespace tool_binding::bench
