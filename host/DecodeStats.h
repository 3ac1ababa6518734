/// @file
/// What the frames of a log add up to: commands, their answers and how long these took.
#pragma once

#include "host/CandumpLog.h"
#include "host/FrameDecoder.h"
#include "host/IdPair.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// Times between commands and their answers, milliseconds.
struct ResponseTimes {
    double least = 0.0;
    double median = 0.0;  ///< of an even number of times the mean of the two in the middle
    double most = 0.0;
};

/// One command of one ECU.
struct CommandTally {
    std::string name;
    std::uint64_t sent = 0;
    std::uint64_t answers = 0;  ///< positive ones
    std::uint64_t errors = 0;
    std::uint64_t inBlocks = 0;         ///< continued by the next frame of a block, so not to be answered
    std::vector<std::int64_t> timesUs;  ///< of all answers with a time
    std::map<std::uint8_t, std::pair<std::string, std::uint64_t>> codes;  ///< text and count by error code

    [[nodiscard]] std::uint64_t unanswered() const { return sent - answers - errors - inBlocks; }

    /// Nothing without a time.
    [[nodiscard]] std::optional<ResponseTimes> times() const;
};

/// One ECU on one interface.
struct StationTally {
    std::string interface;
    IdPair pair;
    std::vector<CommandTally> commands;  ///< in the order of their first appearance
    std::map<std::string, std::uint64_t>
        others;  ///< counts of frames that are no commands and no answers, and
                 ///< of answers that no command waits for, by their title
};

/// Takes the decoded frames of a log. One thread.
class DecodeStats {
public:
    void take(const LoggedFrame& frame, const DecodedFrame& decoded, const IdPair& pair);

    /// In the order of their first appearance.
    [[nodiscard]] const std::vector<StationTally>& stations() const { return m_stations; }

private:
    [[nodiscard]] StationTally& station(const std::string& interface, std::size_t index, const IdPair& pair);

    std::vector<StationTally> m_stations;
    /// Indices of the stations, by interface and index of the pair: a log may name any number of interfaces.
    std::map<std::pair<std::string, std::size_t>, std::size_t> m_places;
};

/// The tables of all stations, line by line.
[[nodiscard]] std::vector<std::string> statsLines(const DecodeStats& stats);

}  // namespace host
