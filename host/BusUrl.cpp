#include "host/BusUrl.h"

#include "host/HostError.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace host {
namespace {

constexpr std::string_view kSimulated = "sim:";
constexpr std::string_view kSocketCan = "socketcan:";
constexpr std::string_view kSocketcand = "socketcand://";
constexpr std::size_t kMostBusName = 64;

/// A name stands in a stream whose elements are separated by blanks and angle brackets.
bool isName(std::string_view name, std::size_t most) {
    const bool plain = std::all_of(name.begin(), name.end(), [](char character) {
        return character > ' ' && character < '\x7F' && character != '<' && character != '>' &&
               character != '/';
    });
    return plain && !name.empty() && name.size() <= most;
}

[[noreturn]] void refuse(const std::string& url, const std::string& reason) {
    throw HostError(fmt::format("bus \"{}\": {}; allowed are sim:, socketcan:INTERFACE and "
                                "socketcand://HOST[:PORT]/BUS",
                                url, reason),
                    ExitCode::usage);
}

BusUrl parseSocketCan(const std::string& url) {
    BusUrl parsed;
    parsed.kind = BusKind::socketCan;
    parsed.name = url.substr(kSocketCan.size());
    if (!isName(parsed.name, kMostInterfaceName)) {
        refuse(url, fmt::format("the name of an interface has 1 to {} characters", kMostInterfaceName));
    }
    return parsed;
}

BusUrl parseSocketcand(const std::string& url) {
    const std::string_view place = std::string_view(url).substr(kSocketcand.size());
    const std::size_t slash = place.find('/');
    if (slash == std::string_view::npos) {
        refuse(url, "the name of the bus is missing behind the server");
    }
    const std::optional<Endpoint> server = parseEndpoint(place.substr(0, slash), kSocketcandPort);
    if (!server || server->port == 0) {
        refuse(url, "the server is no HOST or HOST:PORT with a port of 1 to 65535");
    }
    BusUrl parsed;
    parsed.kind = BusKind::socketcand;
    parsed.server = *server;
    parsed.name = std::string(place.substr(slash + 1));
    if (!isName(parsed.name, kMostBusName)) {
        refuse(url, "the name of the bus is empty or not one plain word");
    }
    return parsed;
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

}  // namespace

BusUrl parseBusUrl(const std::string& url) {
    if (url == kSimulated) {
        return {};
    }
    if (startsWith(url, kSocketcand)) {
        return parseSocketcand(url);
    }
    if (startsWith(url, kSocketCan)) {
        return parseSocketCan(url);
    }
    refuse(url, "there is no such kind of bus");
}

}  // namespace host
