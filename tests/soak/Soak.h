/// @file
/// The script of a soak: four ECUs on two loaded buses are measured, polled, written to, switched and
/// flashed.
#pragma once

#include "sim/BusCounters.h"
#include "sim/VirtualBus.h"
#include "tests/soak/FlowMeter.h"
#include "tests/soak/ResidentSize.h"
#include "tests/soak/SoakEcu.h"
#include "tests/soak/SoakHooks.h"
#include "tests/soak/SoakPlan.h"
#include "tests/soak/SoakVerdict.h"
#include "tests/system/BusHost.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace soak {

/// Runs a plan once, step by step of 10 ms of bus time, and prints a line for each tenth of it. The buses are
/// as fast as the machine goes: they stand where a step ends, and wherever the library has too many frames to
/// digest; see `BusHost`. While a command is under way they move on for its answer alone, so that what
/// happens at which bus time does not hang on the machine. One at a time.
class Soak {
public:
    Soak(const SoakPlan& plan, SoakVerdict& verdict);
    ~Soak();
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    /// Ends early as soon as something is wrong.
    void run();

    /// What was done, for the closing line.
    [[nodiscard]] std::string summary() const;

private:
    class Standstill;

    /// A bus, and how much of its time it was busy while a measurement ran.
    struct Wire {
        const char* name;
        sim::VirtualBus& bus;
        sim::BusCounters printed{};  ///< at the latest line of progress
        sim::BusCounters began{};    ///< at the latest start of a measurement
        sim::Time measured = 0;      ///< ns
        sim::Time busy = 0;          ///< ns, of `measured`

        /// Percent; 0 ahead of the end of a measurement.
        [[nodiscard]] double load() const {
            return measured == 0 ? 0 : 100 * static_cast<double>(busy) / static_cast<double>(measured);
        }
    };

    void step();
    void write();
    void switchPage();
    void flash();
    void provoke();
    void startMeasurement();
    void stopMeasurement();
    void advance();
    void look();
    void judge();
    void printProgress();

    void programs(SoakEcu& ecu, const Bytes& image);
    void expectResult(std::uint32_t command, const std::string& what);
    void expect(bool holds, const std::string& fault);
    void announcePageRefusal(const SoakEcu& ecu);
    [[nodiscard]] bool isWrong() const { return m_valuesWrong || !m_verdict.held(); }
    void setLimits(sim::Time limit);
    [[nodiscard]] sim::Time now() const;
    [[nodiscard]] std::vector<std::string> names() const;
    [[nodiscard]] double minutes() const;

    const SoakPlan m_plan;
    SoakVerdict& m_verdict;
    const std::chrono::steady_clock::time_point m_began = std::chrono::steady_clock::now();
    systemtest::BusHost m_host;
    std::array<Wire, 2> m_wires;
    FlowMeter m_meter;
    SoakHooks m_hooks;
    std::vector<std::unique_ptr<SoakEcu>> m_ecus;
    std::vector<SoakEcu*> m_written;  ///< of them, those that are written to

    ResidentSize m_resident;
    sim::Time m_time = 0;  ///< bus time of the step at hand, ns
    sim::Time m_nextPage = kSecond;
    sim::Time m_nextFlash;
    sim::Time m_measureBegan = 0;  ///< m_time at the latest start of a measurement
    sim::Time m_measured = 0;      ///< ns in measurements that ended
    unsigned m_tenths = 0;         ///< of the plan that were printed
    std::uint64_t m_writes = 0;
    std::uint64_t m_pages = 0;
    std::uint64_t m_flashes = 0;
    std::map<std::string, std::uint64_t> m_sampled;  ///< DAQ values in measurements that ended, by ECU
    std::map<std::string, std::uint64_t> m_polled;   ///< the same of polled values
    bool m_valuesWrong = false;                      ///< which the host tells at its end
    bool m_provoked = false;
    std::vector<std::vector<char>> m_leak;  ///< of the provocation
};

}  // namespace soak
