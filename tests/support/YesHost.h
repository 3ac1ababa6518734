/// @file
/// A host around an ECU that says yes to everything, for programs that load the library by themselves. Calls
/// no export, so that it can be linked without the library.
#pragma once

#include <TalvexSDK.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace support {

/// What came through the callbacks since `YesHost::begins`.
struct YesCounts {
    std::atomic<int> calls = 0;      ///< all callbacks together
    std::atomic<int> connects = 0;   ///< successful ones
    std::atomic<int> polled = 0;     ///< deliveries of polled values
    std::atomic<int> daqCycles = 0;  ///< deliveries of DAQ values
    std::atomic<int> sent = 0;       ///< frames for the bus
};

/// The ECU "a" answers from inside `sndFun` and sends a DAQ frame with each answer. There is one host at a
/// time, because callbacks are plain functions. All members may be called from any thread.
class YesHost {
public:
    using Receive = decltype(&::recvCanMsg);

    /// Counts from 0, lets the ECU answer, and gives its frames to @p receive from now on. Call it ahead of
    /// any callback of the library that @p receive belongs to.
    static void begins(Receive receive);
    /// Lets the ECU answer or not.
    static void answers(bool answers);

    /// @return a table with `sndFun`, `taskResultFun` and `measureFun`
    static CallBackFuns callBacks();
    /// The log function.
    static void takeLog(std::uint32_t level, std::uint64_t timeMs, const std::string& text);

    /// @return an XCP ECU "a" that reads by SHORT_UPLOAD and plans event 1 in one DAQ list
    /// @param retryCount  sends after a failed first; -1 without limit
    /// @param timeoutMs   time-out of most commands, milliseconds
    static EcuProtoCfg configuration(std::int32_t retryCount = 0, std::uint16_t timeoutMs = 60'000);
    /// @return two variables of @p size bytes at @p address, on @p event: one by DAQ and one by polling
    static std::vector<mcMeasureVariable> variables(std::uint32_t size, std::uint16_t event = 1,
                                                    std::uint32_t address = 0);

    static const YesCounts& counts();
    /// @return whether values came more than once, by DAQ and by polling
    static bool hasMeasured();
};

}  // namespace support
