/// @file
/// Decoded frames and their statistics as lines, for a person or as JSON.
///
/// JSON is one object a line, each with "schema" and "type": "frame"; for statistics "command",
/// "error_code" and "other"; and "log", which says what became of its lines.
#pragma once

#include "host/CandumpLog.h"
#include "host/DecodeStats.h"
#include "host/FrameDecoder.h"
#include "host/Output.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// What became of the lines of a log.
struct DecodeSummary {
    std::uint64_t lines = 0;
    std::uint64_t frames = 0;     ///< lines that hold a frame
    std::uint64_t ours = 0;       ///< frames of the pairs
    std::uint64_t malformed = 0;  ///< lines that are no frame
};

/// "time interface identifier direction title fields"; an answer has the time since its command behind its
/// title. Bytes without fields are shown as "data".
[[nodiscard]] std::string frameText(const Output& output, const LoggedFrame& frame,
                                    const DecodedFrame& decoded);

[[nodiscard]] std::string frameJson(const LoggedFrame& frame, const DecodedFrame& decoded,
                                    const IdPair& pair);

/// An object for each command, each error code of a command, each other title.
[[nodiscard]] std::vector<std::string> statsJson(const DecodeStats& stats);

[[nodiscard]] std::string summaryJson(const DecodeSummary& summary);

}  // namespace host
