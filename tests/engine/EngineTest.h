/// @file
/// The engine with a host and scripted ECUs around it.
#pragma once

#include "tests/support/ScriptedEcu.h"
#include "tests/support/TestHost.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace engine_test {

using Journal = std::vector<std::string>;
using Variables = std::vector<mcMeasureVariable>;

/// Time-out of ECUs that answer: never reached, however slow the machine.
constexpr std::uint16_t kLongMs = 60000;

/// One test of the engine. Host and ECUs live as long as the process, because the engine's threads call them
/// until the engine ends behind the last test.
class EngineTest : public testing::Test {
protected:
    EngineTest();

    /// Gives the host's callbacks to the engine and lets the ECUs "a" and "b" be configured.
    void SetUp() override;

    /// Configurations of the ECUs "a" (0x100, 0x101) and "b" (0x200, 0x201), without keep-alive, with all
    /// time-outs out of reach. Changes count from the next `configure`.
    EcuProtoCfg m_cfgA;
    EcuProtoCfg m_cfgB;

    /// Sets both configurations.
    void configure();
    /// Connects ECUs, waits for the result and forgets what came.
    void connected(const std::vector<std::string>& names = {"a"});
    /// Starts a measurement of "a" that polls "v" each millisecond, and forgets what came.
    void measuring();

    /// Forgets what came, runs @p action, and waits for a result of @p command.
    /// @return the journal up to that result
    Journal journalOf(std::uint32_t command, const std::function<void()>& action);
    /// The same, with the command's result and details alone.
    support::TaskResult resultOf(std::uint32_t command, const std::function<void()>& action);
    /// Waits for an entry of the journal that begins with @p head.
    testing::AssertionResult shows(const std::string& head);
    /// @return how many entries of the journal begin with @p head
    std::size_t count(const std::string& head);
    /// Lets the worker run an empty connect, and waits for its result: everything queued before is done.
    void settles();
    /// Gives the engine @p time, for what it must not do or has to have waited for.
    static void passes(std::chrono::milliseconds time);

    support::TestHost& m_host;
    support::ScriptedEcu& m_a;
    support::ScriptedEcu& m_b;
};

/// @return a variable of one byte at 0x1000
mcMeasureVariable variable(const std::string& name = "v", std::uint32_t size = 1);

/// Makes @p cfg plan event 1 in one static DAQ list.
void offersDaq(EcuProtoCfg& cfg);

/// Makes @p cfg poll everything each millisecond.
void polls(EcuProtoCfg& cfg);

}  // namespace engine_test
