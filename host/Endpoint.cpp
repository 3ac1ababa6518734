#include "host/Endpoint.h"

#include <fmt/format.h>

#include <charconv>

namespace host {
namespace {

struct Split {
    std::string_view host;
    std::string_view rest;  ///< what stands behind the host, ":port" or nothing
};

std::optional<Split> splitHost(std::string_view text) {
    if (text.substr(0, 1) != "[") {
        const std::size_t colon = text.find(':');
        const std::size_t end = colon == std::string_view::npos ? text.size() : colon;
        return Split{text.substr(0, end), text.substr(end)};
    }
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    return Split{text.substr(1, end - 1), text.substr(end + 1)};
}

std::optional<std::uint16_t> parsePort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return port;
}

bool isHostCharacter(char character) {
    return character > ' ' && character < '\x7F' && character != '/' && character != '[' && character != ']';
}

bool isHost(std::string_view host) {
    for (const char character : host) {
        if (!isHostCharacter(character)) {
            return false;
        }
    }
    return !host.empty();
}

}  // namespace

std::string Endpoint::text() const {
    const bool bracketed = host.find(':') != std::string::npos;
    return bracketed ? fmt::format("[{}]:{}", host, port) : fmt::format("{}:{}", host, port);
}

std::optional<Endpoint> parseEndpoint(std::string_view text, std::uint16_t defaultPort) {
    const std::optional<Split> split = splitHost(text);
    if (!split || !isHost(split->host)) {
        return std::nullopt;
    }
    if (split->rest.empty()) {
        return Endpoint{std::string(split->host), defaultPort};
    }
    const std::optional<std::uint16_t> port = parsePort(split->rest.substr(1));
    if (split->rest.front() != ':' || !port) {
        return std::nullopt;
    }
    return Endpoint{std::string(split->host), *port};
}

}  // namespace host
