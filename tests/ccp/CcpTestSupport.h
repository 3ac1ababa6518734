/// @file
/// A CCP task object with a scripted ECU on the other side.
#pragma once

#include "ccp/CcpTaskTransmit.h"
#include "tests/support/TaskTest.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ccp_test {

using CCP_MOUDLE::CcpTaskTransmit;
using support::segment;
using support::variable;
using Texts = std::vector<std::string>;

/// Set `cfg` first; the object is made from it with the first call of `task`. The ECU answers every command
/// positively with eight bytes, unless told otherwise. Frames are compared without their counter.
class CcpTest : public support::TaskTest<CcpTaskTransmit> {
protected:
    CcpTest() : TaskTest(false) {
        cfg.protoType = 0;
        cfg.ccp.timeoutMs = 20;
        ecu.answers("1b ..", {"ff 00 @1 02 01 00 00 00"});
    }

    /// @return the frames sent since the last call, "##" in the place of the counter
    Texts sent() {
        Texts frames = ecu.sentFrames();
        ecu.clearSent();
        for (std::string& frame : frames) {
            frame.replace(3, 2, "##");
        }
        return frames;
    }

    /// Refuses a command with "Access denied", which no repeat changes.
    void refuses(const std::string& pattern) { ecu.answers(pattern, {"ff 33 @1"}); }

    /// Lets the ECU's memory be read by UPLOAD and SHORT_UP: each byte is the low byte of its address.
    void hasMemory() {
        ecu.answersBy("02 ..", [this](const std::string& frame) {
            m_mta = support::bytes(frame)[4];
            return Texts{"ff 00 @1"};
        });
        ecu.answersBy("04 ..", [this](const std::string& frame) {
            const std::uint8_t count = support::bytes(frame)[2];
            const std::string data = support::hexText(support::countingBytes(count, m_mta));
            m_mta = static_cast<std::uint8_t>(m_mta + count);
            return Texts{"ff 00 @1 " + data};
        });
        ecu.answersBy("0f ..", [](const std::string& frame) {
            const std::vector<std::uint8_t> asked = support::bytes(frame);
            return Texts{"ff 00 @1 " + support::hexText(support::countingBytes(asked[2], asked[4]))};
        });
    }

private:
    std::uint8_t m_mta = 0;
};

}  // namespace ccp_test
