/// @file
/// What went over the wire during an operation, as the library sees it.
#pragma once

#include "sim/VirtualBus.h"

#include <TalvexSDK.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

namespace sweep {

using Bytes = std::vector<std::uint8_t>;
using Moment = std::chrono::steady_clock::time_point;

/// A frame, or the moment at which a memory operation told its result.
struct WireEntry {
    enum class Kind : std::uint8_t { request, answer, result };

    Kind kind = Kind::request;
    Bytes bytes{};
    Moment moment{};  ///< ahead of whatever the frame sets off
};

/// Records between the library's callbacks and the bus. Requests are taken ahead of the bus and answers ahead
/// of the library, so that their order is that of cause and effect. There is one at a time; it has to be made
/// before the ECU is connected, and to go ahead of the bus. All functions may be called from any thread.
class Wire {
public:
    /// @param firstAnswer  frames of @p slaveId with a lower first byte are measurements
    Wire(sim::VirtualBus& bus, std::uint32_t masterId, std::uint32_t slaveId, std::uint8_t firstAnswer);
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;
    ~Wire();

    /// @return all entries since the last call, ended by a result
    [[nodiscard]] std::vector<WireEntry> take();

private:
    static std::uint32_t send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                              const std::uint8_t* data);
    static void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data);
    void add(WireEntry::Kind kind, Bytes bytes);

    sim::VirtualBus& m_bus;
    const std::uint32_t m_masterId;
    std::mutex m_mutex;  ///< guards the entries
    std::vector<WireEntry> m_entries;
};

}  // namespace sweep
