/// @file
/// An XCP task object with a scripted ECU on the other side.
#pragma once

#include "tests/support/HexText.h"
#include "tests/support/ScriptedEcu.h"
#include "xcp/XcpTaskTransmit.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace xcp_test {

using Texts = std::vector<std::string>;
using XCP_MOUDLE::XcpTaskTransmit;

/// Set `cfg` first; the object is made from it with the first call of `task`.
class XcpTest : public testing::Test {
protected:
    XcpTaskTransmit& task() {
        if (!m_task) {
            m_task = std::make_unique<XcpTaskTransmit>(cfg, callBacks);
        }
        return *m_task;
    }

    /// The object's own configuration, where the ECU's answers are.
    XcpCfg& live() { return task().m_cfg.xcp; }

    /// Forgets object, frames and records.
    void startsAnew() {
        m_task.reset();
        ecu.clearSent();
        host.clear();
    }

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

    void supports(const std::string& codes) {
        for (const std::uint8_t code : support::bytes(codes)) {
            cfg.supportedCmds.insert(code);
        }
    }

    support::TestHost host;
    support::ScriptedEcu ecu{host};
    EcuProtoCfg cfg = ecu.config();
    CallBackFuns callBacks = support::TestHost::callBacks();

private:
    std::unique_ptr<XcpTaskTransmit> m_task;
    std::uint8_t m_mta = 0;
};

inline mcMeasureVariable variable(const std::string& name, std::uint32_t address, std::uint32_t size,
                                  std::uint16_t event = 0, std::uint16_t period = 0) {
    mcMeasureVariable made;
    made.name = name;
    made.address = address;
    made.size = size;
    made.event = event;
    made.period = period;
    return made;
}

inline mcMemoryInfo segment(std::uint32_t address, std::uint32_t length,
                            const std::vector<mcMemoryPage>& pages = {}) {
    mcMemoryInfo made;
    made.address = address;
    made.length = length;
    made.pages = pages;
    return made;
}

/// A page that can be written (`mcMemDataWorking`) or not.
inline mcMemoryPage page(std::uint8_t number, bool writable) {
    return {number, 0, 0, writable ? 1U : 0U};
}

}  // namespace xcp_test
