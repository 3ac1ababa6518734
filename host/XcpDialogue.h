/// @file
/// Commands and answers of an XCP ECU, repeated where that is safe.
#pragma once

#include "host/InfoXcpFacts.h"
#include "host/XcpResponses.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace host {

/// Where commands go, and how patient to be.
struct XcpWire {
    std::function<void(const std::vector<std::uint8_t>& command)> send;
    XcpPatience patience;  ///< with each command
    int retries = 0;       ///< of a command without an answer, 0 or more
};

/// A text that an ECU keeps in its memory.
struct XcpText {
    std::vector<std::uint8_t> position;  ///< the command that set the memory transfer address to its begin
    std::size_t count = 0;               ///< bytes
    std::uint8_t granularity = 1;        ///< bytes of an element
};

/// One thread.
class XcpDialogue {
public:
    /// @param responses  must outlive the object
    XcpDialogue(XcpWire wire, XcpResponses& responses) : m_wire(std::move(wire)), m_responses(responses) {}

    /// Sends @p command and waits for its answer. Ahead of a repeat SYNCH sees to it that an answer that was
    /// only late is not taken for that of the repeat; CONNECT is repeated as it is.
    /// @return nothing if no answer came
    [[nodiscard]] std::optional<SlaveAnswer> ask(const std::vector<std::uint8_t>& command);

    /// Reads a text whose `position` has been asked just now. If an answer is missing it begins anew with
    /// `position`: nobody knows then where the ECU's address stands.
    /// @return what came before the ECU refused to go on, or before its frames had no room for an element;
    ///         nothing if no answer came
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> upload(const XcpText& text);

    /// @param bytes  of the longest response
    void setFrameSize(std::size_t bytes) { m_frameSize = bytes; }

private:
    std::optional<std::vector<std::uint8_t>> exchange(const std::vector<std::uint8_t>& command);
    std::optional<std::vector<std::uint8_t>> uploadOnce(const XcpText& text);
    void synchronise();

    const XcpWire m_wire;
    XcpResponses& m_responses;
    std::size_t m_frameSize = 8;
};

}  // namespace host
