/// @file
/// An ECU that answers each frame by a script, inside `sndFun`.
#pragma once

#include <TalvexRecords.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sweep {

using Bytes = std::vector<std::uint8_t>;

/// The frames that answer one sent frame; none is silence.
using Turn = std::vector<Bytes>;

/// The answers to the frames in the order in which they are sent. The last one goes for all that follow.
using Script = std::vector<Turn>;

/// @return the answer to the frame @p index, which counts from 0
[[nodiscard]] const Turn& turnOf(const Script& script, std::size_t index);

/// Sits on channel 0, takes identifier 1 and answers on 2. There is one at a time; everything happens on the
/// thread that sends.
class AnsweringEcu {
public:
    /// @param echoes  CCP: the counter of the sent frame is added to byte 2 of each answer, so that a 0 there
    ///                becomes the right counter
    AnsweringEcu(Script script, bool echoes);
    AnsweringEcu(const AnsweringEcu&) = delete;
    AnsweringEcu& operator=(const AnsweringEcu&) = delete;
    ~AnsweringEcu();

    /// A table with a send and a log function.
    [[nodiscard]] static CallBackFuns callBacks();

    /// Begins another script.
    void answers(Script script);

    /// The frames since the script began.
    [[nodiscard]] const std::vector<Bytes>& sent() const { return m_sent; }
    /// Log lines of a level since the script began.
    [[nodiscard]] std::size_t logged(std::uint32_t level) const { return m_logged.at(level); }

private:
    static std::uint32_t send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                              const std::uint8_t* data);
    static void takeLog(std::uint32_t level, std::uint64_t timeMs, const std::string& text);

    static AnsweringEcu* s_current;

    Script m_script;
    const bool m_echoes;
    std::vector<Bytes> m_sent;
    std::vector<std::size_t> m_logged;  ///< by level
};

}  // namespace sweep
