#include "results.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "messages.hpp"

namespace tool_binding {
namespace {

constexpr std::string_view server_info_key = "io.modelcontextprotocol/serverInfo";
// Hosts show the content or the structured content; whatever they drop, the notes stay readable.
constexpr std::string_view notes_key = "tool-binding/notes";

constexpr std::string_view legacy_revisions[] = {"2024-11-05", batch_revision, "2025-06-18",
                                                 newest_legacy_revision};

void set_unless_empty(Mapping& mapping, std::string_view name, const std::string& text) {
  if (!text.empty()) mapping.set(name, text);
}

Mapping described_server(const ServerOptions& options) {
  Mapping info{{"name", options.name}, {"version", options.version}};
  set_unless_empty(info, "title", options.title);
  return info;
}

std::string joined_lines(const std::vector<std::string>& lines) {
  std::string joined;
  for (const std::string& line : lines) joined.append(joined.empty() ? "" : "\n").append(line);
  return joined;
}

// The notes are behind the first text, before pictures and resources.
void insert_notes(std::vector<Content>& content, const std::vector<std::string>& notes) {
  const bool has_text = !content.empty() && std::holds_alternative<TextContent>(content.front());
  content.insert(content.begin() + (has_text ? 1 : 0), TextContent{joined_lines(notes)});
}

}  // namespace

std::string_view legacy_revision_for(std::string_view asked) noexcept {
  const auto* found = std::find(std::begin(legacy_revisions), std::end(legacy_revisions), asked);
  return found == std::end(legacy_revisions) ? newest_legacy_revision : *found;
}

Results::Results(const ToolService& service, const ServerOptions& options)
    : server_info_(described_server(options)),
      about_{{"capabilities", Mapping{{"tools", Mapping{}}}}},
      caching_{{"ttlMs", options.tools_ttl.count()},
               {"cacheScope", options.cache_scope == CacheScope::public_ ? "public" : "private"}} {
  set_unless_empty(about_, "instructions", options.instructions);
  Mapping discovered{{"supportedVersions", List{modern_revision}}};
  for (const auto& [name, value] : about_) discovered.set(name, value);
  discover_ = cacheable(std::move(discovered));
  const Mapping tools{{"tools", service.wire_tools(options.wire)}};
  tools_[static_cast<std::size_t>(Era::legacy)] = finished(Era::legacy, tools);
  tools_[static_cast<std::size_t>(Era::modern)] = cacheable(tools);
}

std::string Results::initialize(std::string_view revision) const {
  Mapping result{{"protocolVersion", revision}};
  for (const auto& [name, value] : about_) result.set(name, value);
  result.set("serverInfo", server_info_);
  return finished(Era::legacy, std::move(result));
}

std::string Results::call(Era era, ToolAnswer answer) const {
  Mapping meta;
  if (!answer.notes.empty()) {
    insert_notes(answer.content, answer.notes);
    meta.set(notes_key, List(answer.notes.begin(), answer.notes.end()));
  }
  // The older revisions have no lists here; their text is in the content all the same.
  if (era == Era::legacy && !answer.structured.is_mapping()) answer.structured = Value();
  const bool is_error = answer.is_error();
  return finished(era,
                  answer_mapping({.content = std::move(answer.content),
                                  .structured = std::move(answer.structured),
                                  .is_error = is_error}),
                  std::move(meta));
}

std::string Results::call_error(Era era, std::string text) const {
  return call(era, {.outcome = Outcome::failed, .content = {TextContent{std::move(text)}}});
}

std::string Results::finished(Era era, Mapping result, Mapping meta) const {
  if (era == Era::modern) {
    result.set("resultType", "complete");
    meta.set(server_info_key, server_info_);
  }
  if (!meta.empty()) result.set("_meta", std::move(meta));
  return wire_text(result);
}

std::string Results::cacheable(Mapping result) const {
  for (const auto& [name, value] : caching_) result.set(name, value);
  return finished(Era::modern, std::move(result));
}

}  // namespace tool_binding
