/// @file
/// A task object of either protocol with a scripted ECU on the other side.
#pragma once

#include "tests/support/HexText.h"
#include "tests/support/ScriptedEcu.h"
#include "tests/support/TestHost.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace support {

/// Set `cfg` first; the object is made from it with the first call of `task`.
template <typename Task>
class TaskTest : public testing::Test {
protected:
    /// @param isXcp  whether the ECU speaks XCP, else CCP
    explicit TaskTest(bool isXcp) : ecu(host, {}, isXcp) {}

    Task& task() {
        if (!m_task) {
            m_task = std::make_unique<Task>(cfg, callBacks);
        }
        return *m_task;
    }

    /// Forgets object, frames and records.
    void startsAnew() {
        m_task.reset();
        ecu.clearSent();
        host.clear();
    }

    void supports(const std::string& codes) {
        for (const std::uint8_t code : bytes(codes)) {
            cfg.supportedCmds.insert(code);
        }
    }

    TestHost host;
    ScriptedEcu ecu;
    EcuProtoCfg cfg = ecu.config();
    CallBackFuns callBacks = TestHost::callBacks();

private:
    std::unique_ptr<Task> m_task;
};

/// @return whether another thread could have the lock now
inline bool isFree(std::recursive_mutex& mutex) {
    bool free = false;
    std::thread([&] {
        const std::unique_lock lock(mutex, std::try_to_lock);
        free = lock.owns_lock();
    }).join();
    return free;
}

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

}  // namespace support
