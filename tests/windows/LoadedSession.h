/// @file
/// A host with one ECU around a loaded DLL.
#pragma once

#include "tests/support/YesHost.h"
#include "tests/windows/DynamicLibrary.h"

#include <TalvexSDK.h>

#include <cstdint>
#include <functional>

namespace windowstest {

/// Waits until @p condition holds, a minute at most. @return whether it does
bool waitFor(const std::function<bool()>& condition);

/// Loads the DLL and plays its host. The ECU "a" says yes to everything from inside `sndFun` and sends a DAQ
/// frame with each answer. One session at a time.
class LoadedSession {
public:
    LoadedSession();

    /// Gives the callbacks and the ECU.
    void configures(std::int32_t retryCount = 0, std::uint16_t timeoutMs = 60000);
    /// Queues a connect.
    void asksForConnection();
    /// Connects and waits for the result. @return false if none came
    bool connects();
    /// Measures one variable by DAQ and polls another. @return false if values of either do not come
    bool measures();
    /// Queues the end of the measurement.
    void asksForStop();
    /// Lets the ECU answer or not.
    static void answers(bool answers);

    /// @return whether the DLL says that an ECU is connected
    bool isConnected();
    /// @return how many ECUs the DLL has a configuration of
    std::size_t ecuCount();
    static const support::YesCounts& counts();

    /// Unloads the DLL.
    /// @return false if it is still there, or a callback came behind that
    bool frees();

private:
    DynamicLibrary m_library;
};

}  // namespace windowstest
