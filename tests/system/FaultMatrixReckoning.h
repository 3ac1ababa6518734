/// @file
/// What the library has to do when an ECU does wrong, reckoned by rules of its own.
#pragma once

#include "tests/system/FaultMatrixFaults.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace systemtest {

/// How the answer to a frame looks to the library.
struct Answer {
    bool came = false;
    std::uint8_t error = 0;  ///< code of an error, 0 for a positive answer
    bool isSynch = false;    ///< XCP: the error code 0x00, which counts as positive
    std::size_t length = 0;  ///< bytes; all bytes of the content are there with kWhole
    bool counts = false;     ///< set by `Reckoning::exchange`: the command counts as done

    static constexpr std::size_t kWhole = 64;

    /// Byte @p position of a content that would hold @p value there.
    [[nodiscard]] std::uint8_t byte(std::size_t position, std::uint8_t value) const {
        return error == 0 && !isSynch && position < length ? value : std::uint8_t{0};
    }
    explicit operator bool() const { return counts; }
};

/// Plays one operation of the library against one fault: the commands that go out, the lines of level 1 and
/// above and the results that come, and what is left of the session. The rules of both protocols and of the
/// operations are those of FaultMatrixRules.h; here is what carries them.
///
/// Commands are sent again once, without a pause.
class Reckoning {
public:
    static constexpr int kRetries = 1;

    /// @param first  frame of the operation that the fault begins with
    Reckoning(Protocol protocol, const Fault& fault, std::size_t first)
        : m_protocol(protocol), m_fault(fault), m_first(first) {}

    /// A command with its repeats. It counts as the protocol says.
    Answer exchange(std::uint8_t code);
    /// A command that is sent once, whether the link is lost or not, and leaves no trace on the link.
    Answer sendOnce(std::uint8_t code);
    /// A frame inside a block, which has no answer of its own.
    void sendUnanswered(std::uint8_t code) {
        frame(code, false);
        m_lateOnTheWay = false;
    }

    void log(std::uint32_t level, const std::string& text);
    /// Result of a command: its line and its call. @p text gets " success" or " failed" behind it.
    void result(std::uint32_t command, std::uint32_t code, const std::string& text,
                const std::string& detail = "");
    /// Notification without details.
    void notifies(std::uint32_t command);
    /// Notification that the link is lost, with the text of the last status.
    void notifiesLoss();
    void memory(std::uint32_t command, std::uint32_t value, std::size_t ranges = 0);
    /// Result of a memory operation that the engine delivers: its line and its call.
    void memoryResult(std::uint32_t command, std::uint32_t code, std::size_t ranges = 0);

    /// The frames of the operation at hand begin or end here; without these calls all frames are its own.
    void begins() { m_begin = m_codes.size(); }
    void ends() { m_end = m_codes.size(); }
    [[nodiscard]] std::size_t firstFrame() const { return m_begin; }
    [[nodiscard]] std::size_t lastFrame() const { return (m_end == 0 ? m_codes.size() : m_end) - 1; }

    [[nodiscard]] const std::vector<std::uint8_t>& codes() const { return m_codes; }
    [[nodiscard]] const std::vector<std::string>& journal() const { return m_journal; }
    /// Nothing is sent any more until the next connect.
    [[nodiscard]] bool linkLost() const { return m_linkLost; }
    /// A measurement that runs would find the link lost.
    [[nodiscard]] bool looksLost() const;
    /// The text of the last status.
    [[nodiscard]] std::string statusText() const;

    bool connected = true;   ///< what `isConnectEcu` tells
    bool measuring = false;  ///< what `isMeasureing` tells

private:
    static constexpr std::uint32_t kNoAnswer = 0xFFFF;

    Answer frame(std::uint8_t code, bool isRepeat);
    [[nodiscard]] Answer spoiled() const;
    Answer received(Answer answer);
    Answer exchangeXcp(std::uint8_t code);
    Answer exchangeCcp(std::uint8_t code);

    const Protocol m_protocol;
    const Fault m_fault;
    const std::size_t m_first;
    std::vector<std::uint8_t> m_codes;
    std::vector<std::string> m_journal;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    bool m_linkLost = false;
    bool m_deaf = false;  ///< the ECU has no session
    bool m_lateOnTheWay = false;
    std::uint32_t m_status = 0;  ///< error code of the last exchange, or kNoAnswer
};

}  // namespace systemtest
