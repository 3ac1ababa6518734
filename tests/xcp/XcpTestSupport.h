/// @file
/// An XCP task object with a scripted ECU on the other side.
#pragma once

#include "tests/support/TaskTest.h"
#include "xcp/XcpTaskTransmit.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace xcp_test {

using support::segment;
using support::variable;
using Texts = std::vector<std::string>;
using XCP_MOUDLE::XcpTaskTransmit;

/// Set `cfg` first; the object is made from it with the first call of `task`.
class XcpTest : public support::TaskTest<XcpTaskTransmit> {
protected:
    XcpTest() : TaskTest(true) {}

    /// The object's own configuration, where the ECU's answers are.
    XcpCfg& live() { return task().m_cfg.xcp; }

    /// @return the frames sent since the last call
    Texts sent() {
        Texts frames = ecu.sentFrames();
        ecu.clearSent();
        return frames;
    }

    /// Lets the ECU's memory be read by SET_MTA, UPLOAD and SHORT_UPLOAD: each byte is the low byte of its
    /// address.
    void hasMemory() {
        ecu.answersBy("f6 ..", [this](const std::string& frame) {
            m_mta = support::bytes(frame)[4];
            return Texts{"ff"};
        });
        ecu.answersBy("f5 ??", [this](const std::string& frame) {
            const std::uint8_t count = support::bytes(frame)[1];
            const std::string data = support::hexText(support::countingBytes(count, m_mta));
            m_mta = static_cast<std::uint8_t>(m_mta + count);
            return Texts{"ff " + data};
        });
        ecu.answersBy("f4 ..", [](const std::string& frame) {
            const std::vector<std::uint8_t> asked = support::bytes(frame);
            return Texts{"ff " + support::hexText(support::countingBytes(asked[1], asked[4]))};
        });
    }

private:
    std::uint8_t m_mta = 0;
};

/// A page that can be written (`mcMemDataWorking`) or not.
inline mcMemoryPage page(std::uint8_t number, bool writable) {
    return {number, 0, 0, writable ? 1U : 0U};
}

}  // namespace xcp_test
