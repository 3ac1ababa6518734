#include "tests/sweep/Wire.h"

#include "tests/system/BusHost.h"

#include <utility>

namespace sweep {
namespace {

using systemtest::BusHost;

std::mutex g_wireMutex;  ///< guards the pointer, also while what it points to is used
Wire* g_wire = nullptr;

}  // namespace

Wire::Wire(sim::VirtualBus& bus, std::uint32_t masterId, std::uint32_t slaveId, std::uint8_t firstAnswer)
    : m_bus(bus), m_masterId(masterId) {
    bus.setMonitor(
        [this, slaveId, firstAnswer](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
            if (frame.id == slaveId && frame.length > 0 && frame.data[0] >= firstAnswer) {
                add(WireEntry::Kind::answer, Bytes(frame.data.begin(), frame.data.begin() + frame.length));
            }
        });
    {
        const std::lock_guard lock(g_wireMutex);
        g_wire = this;
    }
    CallBackFuns table;
    table.sndFun = send;
    table.memResultFun = takeMemory;
    setCallBackFuns(table);
}

Wire::~Wire() {
    m_bus.setMonitor(nullptr);
    const std::lock_guard lock(g_wireMutex);
    g_wire = nullptr;
}

std::vector<WireEntry> Wire::take() {
    add(WireEntry::Kind::result, {});
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_entries, {});
}

void Wire::add(WireEntry::Kind kind, Bytes bytes) {
    const std::lock_guard lock(m_mutex);
    m_entries.push_back({kind, std::move(bytes), std::chrono::steady_clock::now()});
}

std::uint32_t Wire::send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                         const std::uint8_t* data) {
    {
        const std::lock_guard lock(g_wireMutex);
        if (g_wire != nullptr && id == g_wire->m_masterId) {
            g_wire->add(WireEntry::Kind::request, Bytes(data, data + length));
        }
    }
    return BusHost::callBacks().sndFun(channel, id, flags, length, data);
}

/// What comes behind the result belongs to the page that the library puts back.
void Wire::takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
    if (command != systemtest::kUploadPercent && command != systemtest::kDownloadPercent) {
        const std::lock_guard lock(g_wireMutex);
        if (g_wire != nullptr) {
            g_wire->add(WireEntry::Kind::result, {});
        }
    }
    BusHost::callBacks().memResultFun(command, result, std::move(data));
}

}  // namespace sweep
