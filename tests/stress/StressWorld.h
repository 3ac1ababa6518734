/// @file
/// Four ECUs that are measured, one that comes and goes, and one for the channel interface, all on one bus in
/// real time.
#pragma once

#include "sim/BusPort.h"
#include "sim/XcpEcu.h"
#include "tests/system/BusHost.h"
#include "tests/system/CcpStation.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace stress {

/// What the calls may do to the measurement.
enum class Mood : std::uint8_t {
    calm,   ///< nothing: every cycle of every ECU is delivered, whatever else goes on
    rough,  ///< all: it is stopped, disconnected and begun again; what is delivered is right all the same
};

/// The ECUs that are measured, in the order of their names.
inline constexpr std::array<const char*, 4> kMeasured = {"ccp0", "ccp1", "xcp0", "xcp1"};
inline constexpr const char* kGuest = "guest";
inline constexpr const char* kBench = "bench";

/// A handle that no slave has.
inline constexpr std::uint32_t kNoSlave = 0xFFFFFFF0;

/// An XCP ECU that the `BusHost` does not know: nobody holds its values against anything.
class LooseEcu {
public:
    LooseEcu(sim::VirtualBus& bus, const systemtest::EcuPair& pair);
    ~LooseEcu();
    LooseEcu(const LooseEcu&) = delete;
    LooseEcu& operator=(const LooseEcu&) = delete;

    void comes() { ecu.powerOn(*m_port); }
    void goes() { ecu.powerOff(); }

    /// Commands that arrived, heard or not.
    [[nodiscard]] std::uint64_t commands() const;

    sim::XcpEcu ecu;

private:
    const std::unique_ptr<sim::BusPort> m_port;  ///< goes ahead of its node
};

/// All of it. One at a time. The callbacks hold each result against what its command may give, and count the
/// values.
class StressWorld {
public:
    explicit StressWorld(Mood mood);
    ~StressWorld();
    StressWorld(const StressWorld&) = delete;
    StressWorld& operator=(const StressWorld&) = delete;

    /// What is measured of each ECU: by DAQ all of its signals, if nothing disturbs that, else two counters;
    /// and one more counter by polling.
    [[nodiscard]] systemtest::Variables variables() const;
    /// Those of @p ecu that come by DAQ.
    [[nodiscard]] std::vector<mcMeasureVariable> byDaq(const std::string& ecu) const;
    /// The counter that only `MeasureVars` reads.
    [[nodiscard]] mcMeasureVariable onceRead(const std::string& ecu) const;
    /// Bytes that only `CalibrationVar` writes.
    [[nodiscard]] static mcMeasureVariable written(std::uint32_t slot);

    /// @return the bytes at @p written of a measured ECU
    [[nodiscard]] std::vector<std::uint8_t> memoryOf(const std::string& ecu,
                                                     const mcMeasureVariable& written);

    /// Makes the callbacks once more what they are.
    static void setsCallBacks();

    /// Cycles of DAQ values of @p ecu since the start.
    [[nodiscard]] std::uint64_t cycles(const std::string& ecu) const;
    /// Polled values of @p ecu since the start.
    [[nodiscard]] std::uint64_t polls(const std::string& ecu) const;
    /// Values of `MeasureVars` since the start.
    [[nodiscard]] std::uint64_t reads() const { return m_reads; }

    /// Gives each ECU all the time there is for its answers, from its next connect on.
    void becomesPatient();

    /// Waits until the library has done all that was queued.
    [[nodiscard]] bool isIdle() const;

    /// The slave of `kBench` in the channel interface, which is never removed, and that of `kGuest`.
    [[nodiscard]] std::uint32_t benchSlave() const { return m_benchSlave; }
    [[nodiscard]] std::uint32_t guestSlave() const { return m_guestSlave; }
    [[nodiscard]] XcpSlaveCanCfg canOf(const char* ecu) const;
    [[nodiscard]] static XcpSlaveProtoCfg proto();

    const Mood mood;
    std::list<EcuProtoCfg> cfgs;  ///< of all six; fixed while others call

private:
    static void takeValues(const std::string& ecuName, std::int32_t kind,
                           const std::vector<mcMeasureVariableValue>& values,
                           const std::vector<std::string>& rejected);
    static void takeResult(std::uint32_t command, std::uint8_t result,
                           const std::vector<std::string>* details);
    static void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data);

    void count(const std::string& ecuName, std::int32_t kind);
    void addSlaves();
    [[nodiscard]] const systemtest::EcuPair& pairOf(const std::string& ecu) const;

    std::array<systemtest::CcpPair, 2> m_ccp;
    std::array<systemtest::EcuPair, 2> m_xcp;
    systemtest::EcuPair m_guestPair;
    systemtest::EcuPair m_benchPair;
    std::array<std::atomic<std::uint64_t>, kMeasured.size()> m_cycles{};  ///< by ECU
    std::array<std::atomic<std::uint64_t>, kMeasured.size()> m_polls{};   ///< by ECU
    std::atomic<std::uint64_t> m_reads = 0;
    std::uint32_t m_benchSlave = 0;
    std::uint32_t m_guestSlave = 0;

public:
    systemtest::BusHost host;
    sim::VirtualBus& bus;

private:
    std::array<std::unique_ptr<systemtest::CcpStation>, 2> m_stations;
    std::array<sim::XcpEcu*, 2> m_xcpEcus{};

public:
    LooseEcu guest;
    LooseEcu bench;
};

}  // namespace stress
