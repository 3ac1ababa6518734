/// @file
/// Any plan against any frames, for both protocols.
#pragma once

#include "tests/fuzz/FuzzConfig.h"
#include "tests/fuzz/FuzzEcu.h"
#include "tests/fuzz/FuzzTarget.h"

namespace fuzz {

/// Most frames of one input: enough for several cycles.
inline constexpr int kMostFrames = 200;

/// @return the most bytes that a value of @p plan can have: a name may stand in every ODT once per ordinal
inline std::size_t mostBytes(const std::map<std::uint16_t, DaqListPlan>& plan) {
    std::size_t bytes = 0;
    for (const auto& [number, list] : plan) {
        for (const DaqOdtPlan& odt : list.odts) {
            for (const DaqOdtEntry& entry : odt.entries) {
                bytes += entry.size;
            }
        }
    }
    return bytes;
}

/// Gives the planner of @p task a plan and frames: straight to the planner, or through the bus and the task.
template <typename Task>
void decodeFrames(FuzzInput& input, Task& task, FuzzEcu& ecu) {
    task.m_daq.configure(task.m_cfg);
    task.m_daq.m_daqLists = drawPlan(input);
    task.m_daq.m_finishedNames = drawFinishedNames(input);
    const std::size_t most = mostBytes(task.m_daq.m_daqLists);
    for (int i = 0; i < kMostFrames && !input.isEmpty(); ++i) {
        if (input.oneIn(8)) {
            ecu.sendDto();
            continue;
        }
        msgBuf frame;
        frame.id = FuzzEcu::kSlaveId;
        frame.time = static_cast<std::uint64_t>(i);
        frame.data[0] = input.below(16) < 15 ? input.below(8) : input.u8();
        const std::vector<std::uint8_t> body = input.bytes(input.oneIn(8) ? 63 : input.below(8));
        std::copy(body.begin(), body.end(), frame.data.begin() + 1);
        frame.length = input.oneIn(32) ? input.u16() : static_cast<std::uint16_t>(body.size() + 1);
        for (const mcMeasureVariableValue& value : task.m_daq.decodeDto(frame)) {
            require(value.data.size() <= most, "a value has no more bytes than its pieces");
            FuzzEcu::look(value.data.data(), value.data.size());
        }
    }
    ecu.sendLastDtos();
    task.processDaqFrames();
}

/// A plan of one list with two ODTs and two names, and frames for it.
inline std::vector<Bytes> dtoSeeds() {
    Bytes seed(40, 0);
    const Bytes plan{1, 0, 0, 0, 0, 2,                    // one list of two ODTs, event 0, PIDs from 0
                     1, 1, 0, 2, 0, 0, 0, 1, 1, 2, 0, 0,  // "va": two bytes; "vb": two bytes
                     1, 0, 0, 1, 0, 0, 1, 0};             // which names are finished
    seed.insert(seed.end(), plan.begin(), plan.end());
    for (std::uint8_t cycle = 0; cycle < 4; ++cycle) {
        seed.insert(seed.end(), {0, 0, 0, 0, 4, 1, 2, 3, cycle, 0, 0, 0, 1, 0, 4, 5, 6, 7, cycle, 0});
    }
    return {seed};
}

}  // namespace fuzz
