/// @file
/// An ECU that answers by script.
#pragma once

#include "tests/support/TestHost.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace support {

/// Where an ECU sits on the bus.
struct EcuPlace {
    std::uint8_t channel = 0;
    std::uint32_t masterId = 1;
    std::uint32_t slaveId = 2;
};

/// Answers the frames that a `TestHost` is given for its place. Answers go in through `recvCanMsg`, inside
/// `sndFun`, in the order of the script.
///
/// A pattern names sent frames: "ff 00" is this frame exactly, "f5 .." any frame that begins so, "??" any one
/// byte. A response is bytes; "@1" in it repeats byte 1 of the answered frame, which is CCP's counter.
///
/// A frame is answered by the oldest one-shot rule that matches, else by the newest lasting rule that does,
/// else by default. All members may be called from any thread.
class ScriptedEcu {
public:
    using Responses = std::vector<std::string>;
    /// Makes responses to a frame, given as hexadecimal text.
    using Answer = std::function<Responses(const std::string& frame)>;

    /// Answers with the protocol's plain positive response of 8 bytes until told otherwise.
    explicit ScriptedEcu(TestHost& host, EcuPlace place = {}, bool xcp = true);
    ScriptedEcu(const ScriptedEcu&) = delete;
    ScriptedEcu& operator=(const ScriptedEcu&) = delete;
    ~ScriptedEcu();

    /// Lasting rule; no responses means silence.
    void answers(const std::string& pattern, const Responses& responses);
    /// Lasting rule with responses made for each frame.
    void answersBy(const std::string& pattern, Answer answer);
    /// One-shot rule: used up by the first frame that it answers.
    void answersOnce(const std::string& pattern, const Responses& responses);
    /// One one-shot rule per element.
    void answersInTurn(const std::string& pattern, const std::vector<Responses>& turns);
    /// What is answered where no rule says otherwise.
    void answersByDefault(const Responses& responses);
    /// No rule answers any more, until `speaks`. Frames are still recorded.
    void isSilent();
    void speaks();
    /// Responses made from now on are kept back until `releases`.
    void holdsBack();
    /// Sends what was kept back, on the thread of the caller, and goes on answering at once.
    void releases();

    /// Sends a frame on the ECU's response identifier.
    void sends(const std::string& frame, std::uint64_t time = 0);
    /// Sends a frame on another identifier of the ECU's channel.
    void sendsOn(std::uint32_t id, const std::string& frame, std::uint64_t time = 0);
    /// `hostTag` of all frames sent from now on.
    void setHostTag(std::uint64_t hostTag);

    /// @return the frames sent to this ECU as "ff 00", oldest first
    [[nodiscard]] std::vector<std::string> sentFrames() const;
    /// The same with all that `sndFun` was given.
    [[nodiscard]] std::vector<SentFrame> sent() const;
    /// @return how many sent frames match @p pattern
    [[nodiscard]] std::size_t count(const std::string& pattern) const;
    /// Looks for the next frame that matches @p pattern behind the one that the last `showed` found.
    testing::AssertionResult showed(const std::string& pattern);
    /// Forgets the sent frames.
    void clearSent();

    /// A configuration for this place: name "ecu", all time-outs of @p timeoutMs, nothing else changed.
    [[nodiscard]] EcuProtoCfg config(std::uint16_t timeoutMs = 20) const;

private:
    struct Rule {
        std::string pattern;
        Answer answer;
    };

    void take(const SentFrame& frame);
    void deliver(std::uint32_t id, const std::vector<std::uint8_t>& data, std::uint64_t time);
    Responses answerTo(const std::string& frame);

    TestHost& m_host;
    const EcuPlace m_place;
    const bool m_xcp;
    int m_plug = 0;
    mutable std::mutex m_mutex;  ///< guards all below; never held while something is called
    std::list<Rule> m_onceRules;
    std::list<Rule> m_rules;  ///< newest first
    Responses m_default;
    std::vector<std::vector<std::uint8_t>> m_heldBack;
    std::vector<SentFrame> m_sent;
    std::size_t m_shown = 0;
    std::uint64_t m_hostTag = 0;
    bool m_silent = false;
    bool m_holdsBack = false;
};

/// @return true if @p frame matches @p pattern as told at `ScriptedEcu`
bool matchesPattern(const std::string& pattern, const std::string& frame);

}  // namespace support
