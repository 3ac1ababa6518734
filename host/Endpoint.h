/// @file
/// The address of a TCP service as text: "host:port".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// Where a TCP service is.
struct Endpoint {
    std::string host;        ///< name, IPv4 address, or IPv6 address without brackets; not empty
    std::uint16_t port = 0;  ///< 0: for a server any free port

    /// "host:port", an IPv6 address in brackets.
    [[nodiscard]] std::string text() const;
};

/// Reads "host:port" or "[address]:port".
/// @param defaultPort  port of a text without one
/// @return nothing if @p text is not like that or the port is not 0 to 65535
[[nodiscard]] std::optional<Endpoint> parseEndpoint(std::string_view text, std::uint16_t defaultPort);

}  // namespace host
