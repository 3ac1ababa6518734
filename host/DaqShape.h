/// @file
/// What the packets of a planned measurement look like, as far as counting them needs it.
#pragma once

#include "sim/ByteOrder.h"

#include <TalvexSDK.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace host {

/// One DAQ list.
struct DaqListShape {
    std::uint16_t number = 0;
    std::uint16_t event = 0;    ///< event channel that drives it
    std::uint8_t firstPid = 0;  ///< absolute number of its first ODT; XCP tells it as the list is selected
    std::size_t odts = 0;       ///< packets of one cycle
    std::map<std::string, std::size_t> bytes{};  ///< by variable: bytes of it in this list
    std::vector<std::string> finished{};  ///< variables whose last byte is in this list, in order of names

    /// Whether the library delivers a cycle of it: a list that ends no variable only feeds the next one.
    [[nodiscard]] bool delivers() const { return !finished.empty(); }
};

/// How XCP packets say which list and ODT they are of, by the numbers of the identification field.
enum class PacketId : std::uint8_t {
    absolute,             ///< byte 0: ODT, counted over all lists. CCP knows only this
    relativeByte,         ///< byte 0: ODT of the list, byte 1: list
    relativeWord,         ///< byte 0: ODT of the list, bytes 1 and 2: list
    relativeWordAligned,  ///< byte 0: ODT of the list, bytes 2 and 3: list
};

/// All lists of one ECU.
struct DaqShape {
    bool ccp = false;
    PacketId packetId = PacketId::absolute;
    bool overloadInPid = false;  ///< XCP: the top bit of byte 0 tells that the ECU lost something
    sim::ByteOrder byteOrder = sim::ByteOrder::intel;
    std::uint32_t commandId = 0;
    std::uint32_t responseId = 0;
    std::set<std::uint32_t> packetIds{};  ///< identifiers of packets beside that of the responses
    std::vector<DaqListShape> lists{};    ///< those with packets, in order of their numbers
};

/// The shape of a measurement of @p variables.
/// @param cfg  live configuration, with what the ECU answered
[[nodiscard]] DaqShape daqShape(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables);

}  // namespace host
