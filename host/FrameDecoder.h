/// @file
/// Frames of a log as what they say in CCP and XCP.
#pragma once

#include "host/CandumpLog.h"
#include "host/CommandMatcher.h"
#include "host/IdPair.h"

#include <TalvexSDK.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

/// What a frame is.
enum class FrameKind {
    command,   ///< to the ECU
    stim,      ///< data to the ECU that is no command
    response,  ///< positive answer
    error,     ///< negative answer
    event,     ///< of the ECU's own accord
    service,   ///< request or text of the ECU
    daq,       ///< measured data
};

/// The word for a kind in output that programs read.
[[nodiscard]] std::string kindText(FrameKind kind);

/// A frame of an ECU, decoded.
struct DecodedFrame {
    std::size_t pair = 0;  ///< index of the pair that it belongs to
    FrameKind kind = FrameKind::command;
    std::string title;                       ///< "CTO CONNECT", "RES CONNECT", "DAQ"
    std::string command;                     ///< name of the command, or of the one answered; may be empty
    std::vector<mcDecodeField> fields;       ///< as the library gives them
    std::optional<std::uint8_t> status;      ///< of an answer: the ECU's code
    std::string statusText;                  ///< of an error: what that code says
    std::optional<std::int64_t> responseUs;  ///< time since the command, microseconds; may be negative
    std::optional<std::string> continued;    ///< of a command: name of the one whose block it continues
    bool furtherPart = false;                ///< of a response: not the first to its command

    /// Whether it goes to the ECU.
    [[nodiscard]] bool toEcu() const { return kind == FrameKind::command || kind == FrameKind::stim; }

    /// Whether it is an answer to no command that waits for one.
    [[nodiscard]] bool unexpected() const {
        return (kind == FrameKind::response || kind == FrameKind::error) && command.empty();
    }
};

/// Decodes the frames of one log in their order. One thread.
class FrameDecoder {
public:
    /// @param pairs  without two that share an identifier
    explicit FrameDecoder(std::vector<IdPair> pairs);

    /// @return nothing for a frame that belongs to no pair, has no bytes, or is no data frame
    [[nodiscard]] std::optional<DecodedFrame> decode(const LoggedFrame& frame);

    [[nodiscard]] const std::vector<IdPair>& pairs() const { return m_pairs; }

private:
    [[nodiscard]] CommandMatcher& matcher(const std::string& interface, std::size_t pair);
    void decodeCommand(const LoggedFrame& frame, DecodedFrame& decoded);
    void decodeXcpPacket(const LoggedFrame& frame, DecodedFrame& decoded);
    void decodeCcpPacket(const LoggedFrame& frame, DecodedFrame& decoded);
    [[nodiscard]] std::optional<MatchedAnswer> match(const LoggedFrame& frame, DecodedFrame& decoded);

    const std::vector<IdPair> m_pairs;
    std::map<std::pair<std::string, std::size_t>, CommandMatcher> m_matchers;  ///< by interface and pair
};

}  // namespace host
