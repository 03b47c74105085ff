#ifndef TOOL_BINDING_SERVER_RESULTS_HPP_
#define TOOL_BINDING_SERVER_RESULTS_HPP_

// What results hold in each era of the protocol.

#include <cstdint>
#include <string>
#include <string_view>

#include "tool_binding/server.hpp"
#include "tool_binding/tool_service.hpp"
#include "tool_binding/value.hpp"

namespace tool_binding {

enum class Era : std::uint8_t { legacy, modern };

inline constexpr std::string_view modern_revision = "2026-07-28";
inline constexpr std::string_view newest_legacy_revision = "2025-11-25";
// The one whose messages may come in batches.
inline constexpr std::string_view batch_revision = "2025-03-26";

inline constexpr std::string_view protocol_version_key = "io.modelcontextprotocol/protocolVersion";
inline constexpr std::string_view client_capabilities_key =
    "io.modelcontextprotocol/clientCapabilities";

// The one to serve to a client that asks for this one: itself, or the newest.
[[nodiscard]] std::string_view legacy_revision_for(std::string_view asked) noexcept;

// Writes results as JSON. Made once for a session; const calls are safe from many threads.
class Results {
 public:
  Results(const ToolService& service, const ServerOptions& options);

  [[nodiscard]] std::string initialize(std::string_view revision) const;
  [[nodiscard]] const std::string& discover() const noexcept { return discover_; }
  [[nodiscard]] const std::string& tools(Era era) const noexcept {
    return tools_[static_cast<std::size_t>(era)];
  }
  [[nodiscard]] std::string call(Era era, ToolAnswer answer) const;
  // An error of a call whose handler has not answered.
  [[nodiscard]] std::string call_error(Era era, std::string text) const;

 private:
  [[nodiscard]] std::string finished(Era era, Mapping result, Mapping meta = {}) const;
  [[nodiscard]] std::string cacheable(Mapping result) const;

  Mapping server_info_;
  Mapping about_;  // capabilities and instructions
  Mapping caching_;
  std::string discover_;
  std::string tools_[2];
};

}  // namespace tool_binding

#endif  // TOOL_BINDING_SERVER_RESULTS_HPP_
