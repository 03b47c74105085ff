#include "tool_binding/handlers/answer.hpp"

#include <array>
#include <cstddef>

namespace tool_binding {

ToolError::ToolError(std::string message)
    : std::runtime_error(message),
      message_(std::make_shared<const std::string>(std::move(message))) {}

ToolError::~ToolError() = default;

Call::Call() noexcept : options_(nullptr) {
  static const CallOptions& none = *new CallOptions;
  options_ = &none;
}

void Call::progress(double progress, std::optional<double> total, std::string message) const {
  if (wants_progress()) options_->progress({progress, total, std::move(message)});
}

namespace {

// RFC 4648, with padding.
std::string base64(std::string_view bytes) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t taken = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < taken ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= taken ? digits[bits >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

void set_if(Mapping& mapping, std::string_view name, const std::string& text) {
  if (!text.empty()) mapping.set(name, text);
}

Mapping bytes_value(std::string_view type, const std::string& data, const std::string& mime_type) {
  return {{"type", type}, {"data", base64(data)}, {"mimeType", mime_type}};
}

struct ContentValue {
  Mapping operator()(const TextContent& content) const {
    return {{"type", "text"}, {"text", content.text}};
  }
  Mapping operator()(const ImageContent& content) const {
    return bytes_value("image", content.data, content.mime_type);
  }
  Mapping operator()(const AudioContent& content) const {
    return bytes_value("audio", content.data, content.mime_type);
  }
  Mapping operator()(const EmbeddedResource& content) const {
    Mapping resource{{"uri", content.uri}};
    set_if(resource, "mimeType", content.mime_type);
    if (content.blob) {
      resource.set("blob", base64(*content.blob));
    } else {
      resource.set("text", content.text);
    }
    return {{"type", "resource"}, {"resource", std::move(resource)}};
  }
  Mapping operator()(const ResourceLink& content) const {
    Mapping link{{"type", "resource_link"}, {"uri", content.uri}, {"name", content.name}};
    set_if(link, "title", content.title);
    set_if(link, "description", content.description);
    set_if(link, "mimeType", content.mime_type);
    if (content.size) link.set("size", *content.size);
    return link;
  }
};

}  // namespace

Mapping content_mapping(const Content& content) { return std::visit(ContentValue(), content); }

Mapping answer_mapping(const Answer& answer) {
  List blocks;
  blocks.reserve(answer.content.size());
  for (const Content& content : answer.content) blocks.emplace_back(content_mapping(content));
  Mapping mapping{{"content", std::move(blocks)}};
  if (!answer.structured.is_none()) mapping.set("structuredContent", answer.structured);
  if (answer.is_error) mapping.set("isError", true);
  return mapping;
}

}  // namespace tool_binding
