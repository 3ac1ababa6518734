/// @file
/// Which command a response answers: it does not say so itself.
#pragma once

#include "host/IdPair.h"

#include <cstdint>
#include <map>
#include <optional>

namespace host {

/// A command on the bus.
struct SentCommand {
    std::uint8_t code = 0;
    std::uint8_t subCode = 0;            ///< byte behind the code
    std::optional<std::int64_t> timeUs;  ///< of its frame
};

/// What a response is an answer to.
struct MatchedAnswer {
    SentCommand command;
    bool furtherPart = false;  ///< the command was answered before; this is the next part of its data
};

/// The commands of one ECU that wait for an answer. In XCP that is the last one; in CCP each carries a
/// counter, which its answer repeats.
class CommandMatcher {
public:
    explicit CommandMatcher(Protocol protocol) : m_protocol(protocol) {}

    /// Takes a command.
    /// @param counter  byte 1 of the frame
    /// @return the command that it continues as the next frame of a block; that one will not be answered
    std::optional<std::uint8_t> sent(const SentCommand& command, std::uint8_t counter);

    /// Takes a response.
    /// @param counter   byte 2 of the frame
    /// @param positive  whether it is not an error
    /// @return nothing if no command waits for it
    std::optional<MatchedAnswer> answered(std::uint8_t counter, bool positive);

private:
    const Protocol m_protocol;
    std::map<std::uint8_t, SentCommand> m_waiting;  ///< by counter; XCP has none and uses 0
    std::optional<SentCommand> m_uploading;         ///< answered once; more of its data may follow
};

}  // namespace host
