#include "host/IdPair.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace host {
namespace {

constexpr std::uint32_t kMostStandardId = 0x7FF;
constexpr std::uint32_t kMostExtendedId = 0x1FFFFFFF;

struct Id {
    std::uint32_t value = 0;
    bool extended = false;
};

std::optional<Id> readId(std::string_view text) {
    const bool digits = text.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
    if (!digits || (text.size() != 3 && text.size() != 8)) {
        return std::nullopt;
    }
    const Id id{static_cast<std::uint32_t>(std::stoul(std::string(text), nullptr, 16)), text.size() == 8};
    const bool fits = id.value <= (id.extended ? kMostExtendedId : kMostStandardId);
    return fits ? std::optional(id) : std::nullopt;
}

std::optional<IdPair> readPair(Protocol protocol, std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::size_t comma = std::min(text.find(','), text.size());
    if (colon == std::string_view::npos || colon > comma) {
        return std::nullopt;
    }
    const std::optional<Id> command = readId(text.substr(0, colon));
    const std::optional<Id> response = readId(text.substr(colon + 1, comma - colon - 1));
    const std::string_view order = text.substr(comma);
    const bool known = order.empty() || order == ",le" || order == ",be";
    if (!command || !response || command->extended != response->extended || !known) {
        return std::nullopt;
    }
    return IdPair{protocol, command->value, response->value, command->extended, order == ",be"};
}

/// The identifier that both pairs have, if any.
std::optional<std::uint32_t> sharedId(const IdPair& one, const IdPair& other) {
    if (one.extended != other.extended) {
        return std::nullopt;
    }
    for (const std::uint32_t id : {one.commandId, one.responseId}) {
        if (id == other.commandId || id == other.responseId) {
            return id;
        }
    }
    return std::nullopt;
}

}  // namespace

IdPair parseIdPair(Protocol protocol, const std::string& text) {
    const std::optional<IdPair> pair = readPair(protocol, text);
    if (!pair || pair->commandId == pair->responseId) {
        throw IdPairError(fmt::format(
            "found \"{}\"; allowed are two different identifiers, of the frames to the ECU and of "
            "those from it, both of 3 hexadecimal digits up to 7FF or both of 8 up to 1FFFFFFF, "
            "then perhaps the byte order: 600:601, 600:601,be, 18DA10F1:18DAF110,le",
            text));
    }
    return *pair;
}

IdPair idPair(const EcuRecord& ecu) {
    return {ecu.ccp ? Protocol::ccp : Protocol::xcp, ecu.commandId, ecu.responseId, ecu.extended,
            ecu.byteOrder == sim::ByteOrder::motorola};
}

std::vector<IdPair> idPairs(const Config& config) {
    std::vector<IdPair> pairs;
    std::transform(config.ecus.begin(), config.ecus.end(), std::back_inserter(pairs), idPair);
    return pairs;
}

std::vector<IdPair> distinct(const std::vector<IdPair>& pairs) {
    std::vector<IdPair> kept;
    for (const IdPair& pair : pairs) {
        if (std::find(kept.begin(), kept.end(), pair) != kept.end()) {
            continue;
        }
        for (const IdPair& other : kept) {
            if (const std::optional<std::uint32_t> id = sharedId(pair, other)) {
                throw IdPairError(
                    fmt::format("identifier {} is in two pairs, so a frame with it could belong to either; "
                                "give the pairs of one of them by --xcp or --ccp",
                                idText(*id, pair.extended)));
            }
        }
        kept.push_back(pair);
    }
    return kept;
}

std::string idText(std::uint32_t id, bool extended) {
    return fmt::format("{:0{}X}", id, extended ? 8 : 3);
}

std::string protocolText(Protocol protocol) {
    return protocol == Protocol::ccp ? "ccp" : "xcp";
}

}  // namespace host
