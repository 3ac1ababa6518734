#include "tests/sweep/AnsweringEcu.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <string>
#include <utility>

namespace sweep {
namespace {

constexpr std::uint32_t kSlaveId = 2;
constexpr std::size_t kLevels = 5;
constexpr std::size_t kCounterByte = 2;

}  // namespace

AnsweringEcu* AnsweringEcu::s_current = nullptr;

const Turn& turnOf(const Script& script, std::size_t index) {
    return script.at(std::min(index, script.size() - 1));
}

AnsweringEcu::AnsweringEcu(Script script, bool echoes)
    : m_script(std::move(script)), m_echoes(echoes), m_logged(kLevels, 0) {
    s_current = this;
}

AnsweringEcu::~AnsweringEcu() {
    s_current = nullptr;
}

CallBackFuns AnsweringEcu::callBacks() {
    CallBackFuns table;
    table.sndFun = send;
    table.logFuns = {takeLog};
    return table;
}

void AnsweringEcu::answers(Script script) {
    m_script = std::move(script);
    m_sent.clear();
    std::fill(m_logged.begin(), m_logged.end(), 0);
}

std::uint32_t AnsweringEcu::send(std::uint8_t channel, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                                 std::uint8_t length, const std::uint8_t* data) {
    AnsweringEcu& ecu = *s_current;
    const std::size_t index = ecu.m_sent.size();
    ecu.m_sent.emplace_back(data, data + length);
    for (Bytes frame : turnOf(ecu.m_script, index)) {
        if (ecu.m_echoes && frame.size() > kCounterByte) {
            frame[kCounterByte] = static_cast<std::uint8_t>(frame[kCounterByte] + data[1]);
        }
        recvCanMsg(0, 0, channel, kSlaveId, static_cast<std::uint16_t>(frame.size()), frame.data());
    }
    return 1;
}

void AnsweringEcu::takeLog(std::uint32_t level, std::uint64_t /*timeMs*/, const std::string& /*text*/) {
    if (s_current != nullptr) {
        ++s_current->m_logged.at(level);
    }
}

}  // namespace sweep
