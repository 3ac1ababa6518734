/// @file
/// The two CAN identifiers by which frames of an ECU are known in a log.
#pragma once

#include "host/ConfigRecords.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

enum class Protocol { ccp, xcp };

/// One ECU in a log.
struct IdPair {
    Protocol protocol = Protocol::xcp;
    std::uint32_t commandId = 0;   ///< of the frames to the ECU
    std::uint32_t responseId = 0;  ///< of the frames from it
    bool extended = false;         ///< both identifiers have 29 bits
    bool bigEndian = false;        ///< byte order of the ECU's numbers

    bool operator==(const IdPair&) const = default;
};

/// A pair that cannot be used; worded for the person who gave it.
class IdPairError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads "600:601", "600:601,be" or "18DA10F1:18DAF110,le".
/// @throws IdPairError
[[nodiscard]] IdPair parseIdPair(Protocol protocol, const std::string& text);

/// The pair of an ECU of a configuration.
[[nodiscard]] IdPair idPair(const EcuRecord& ecu);

/// The pair of each ECU of a configuration.
[[nodiscard]] std::vector<IdPair> idPairs(const Config& config);

/// Drops pairs that stand there twice.
/// @throws IdPairError if an identifier is in two pairs that differ: a frame could belong to either
[[nodiscard]] std::vector<IdPair> distinct(const std::vector<IdPair>& pairs);

/// An identifier as logs show it: 3 or 8 hexadecimal digits.
[[nodiscard]] std::string idText(std::uint32_t id, bool extended);

[[nodiscard]] std::string protocolText(Protocol protocol);

}  // namespace host
