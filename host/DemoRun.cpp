#include "host/DemoRun.h"

#include "host/BusSet.h"
#include "host/BusTrace.h"
#include "host/EcuSetup.h"
#include "host/Interrupt.h"
#include "host/SeedKeyLoader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <map>
#include <thread>

namespace host {
namespace {

using std::chrono::milliseconds;

/// How far a busy machine may put off the report of a loss, beyond what the configured times add up to.
constexpr milliseconds kStall{5'000};

std::vector<std::string> ecuNames(const Config& config) {
    std::vector<std::string> names;
    std::transform(config.ecus.begin(), config.ecus.end(), std::back_inserter(names),
                   [](const EcuRecord& ecu) { return ecu.name; });
    return names;
}

double seconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

}  // namespace

DemoRun::DemoRun(const Config& config, Output& output, CandumpWriter* trace)
    : m_config(config),
      m_output(output),
      m_journal(output),
      m_events(config.ecus.size()),
      m_session(handlers()) {
    makeBuses(trace);
    makeMonitors();
}

void DemoRun::makeBuses(CandumpWriter* trace) {
    for (std::size_t i = 0; i < m_config.buses.size(); ++i) {
        const std::uint8_t channel = m_config.buses[i].channel;
        m_buses.push_back(std::make_unique<SimulatedBus>(
            m_config, i, [channel](const sim::Frame& frame, std::uint64_t timeUs) {
                recvCanMsg(0, timeUs, channel, frame.id, frame.length, frame.data.data());
            }));
        if (trace != nullptr) {
            m_buses.back()->watch([trace, channel](const sim::Frame& frame, std::uint64_t timeUs) {
                trace->write(loggedFrame(frame, interfaceName(channel), timeUs));
            });
        }
    }
}

void DemoRun::makeMonitors() {
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        EcuProbe probe;
        probe.eventIndex = [this, i](std::uint16_t event) { return ecu(i).eventIndex(event); };
        probe.memory = [this, i](std::uint32_t address, std::uint32_t size) {
            return ecu(i).read(address, size);
        };
        m_monitors.push_back(std::make_unique<EcuMonitor>(m_config.ecus[i], std::move(probe)));
        m_memories.push_back(std::make_unique<DemoMemory>(m_config.ecus[i], ecu(i), m_session, m_journal));
    }
}

SessionHandlers DemoRun::handlers() {
    SessionHandlers handlers;
    handlers.send = [this](const OutgoingFrame& frame) { send(frame); };
    handlers.values = [this](const ValueDelivery& delivery) { takeValues(delivery); };
    handlers.loadSeedKey = [](const std::string& path, bool) { return loadSeedKey(path); };
    return handlers;
}

void DemoRun::takeValues(const ValueDelivery& delivery) {
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        if (m_config.ecus[i].name == delivery.ecuName && !m_memories[i]->take(delivery)) {
            m_monitors[i]->take(delivery);
            if (delivery.kind == ValueKind::daq && !delivery.values.empty()) {
                busOf(i).delivered(delivery.values.back().time);
            }
        }
    }
}

void DemoRun::send(const OutgoingFrame& frame) {
    for (std::size_t i = 0; i < m_config.buses.size(); ++i) {
        if (m_config.buses[i].channel == frame.channel) {
            m_buses[i]->send(busFrame(frame));
        }
    }
}

SimulatedBus& DemoRun::busOf(std::size_t ecu) {
    return *m_buses[m_config.ecus[ecu].bus];
}

std::vector<std::uint64_t> DemoRun::eventIndices(std::size_t index) {
    std::vector<std::uint64_t> indices;
    for (std::size_t event = 0; event < m_config.ecus[index].events.size(); ++event) {
        indices.push_back(ecu(index).eventIndex(static_cast<std::uint16_t>(event)));
    }
    return indices;
}

std::vector<sim::BusCounters> DemoRun::busCounters() const {
    std::vector<sim::BusCounters> counters;
    for (const auto& bus : m_buses) {
        counters.push_back(bus->counters());
    }
    return counters;
}

ExitCode DemoRun::run() {
    printHead();
    const bool whole = connect() && readOnce() && workOnMemory() && startMeasurement() && measure() &&
                       loseOne() && disconnectAfterLoss();
    closeConnection();
    if (whole) {
        checkAll();
    }
    printTable();
    printLoads();
    return printVerdict();
}

bool DemoRun::connect() {
    setProtoCfgs(protoCfgs(m_config));
    EcuConnect(ecuNames(m_config));
    const std::optional<TaskResult> result = await(command::kConnect, "connect");
    if (!result || result->code != 0) {
        return false;
    }
    m_journal.require(isConnectEcu(), "connect: isConnectEcu is false");
    m_journal.say("connect", fmt::format("{} answered", fmt::join(ecuNames(m_config), ", ")));
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        sayUnlocked(i);
    }
    return true;
}

void DemoRun::sayUnlocked(std::size_t index) {
    const EcuRecord& record = m_config.ecus[index];
    std::vector<std::string> opened;
    opened.reserve(record.security.locks.size());
    for (const LockRecord& lock : record.security.locks) {
        opened.push_back(
            fmt::format("{} ({}-byte seed)", resourceName(record, lock.resource), lock.seedLength));
    }
    m_journal.require(ecu(index).protection() == 0 && ecu(index).unlocks() == record.security.locks.size(),
                      fmt::format("{}: not all its resources are unlocked", record.name));
    m_journal.say("unlock", fmt::format("{}: {}", record.name,
                                        opened.empty() ? "nothing is locked"
                                                       : fmt::format("{}", fmt::join(opened, ", "))));
}

bool DemoRun::readOnce() {
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        const EcuRecord& record = m_config.ecus[i];
        std::vector<mcMeasureVariable> variables;
        std::uint64_t expected = 0;
        for (const VariableRecord& variable : readOnceVariables(record)) {
            variables.push_back(measureVariable(variable));
            expected += record.rejects(variable) ? 0U : 1U;
        }
        MeasureVars(record.name, variables);
        if (!await(command::kMeasureVariables, "read of " + record.name)) {
            return false;
        }
        const EcuReport report = m_monitors[i]->report();
        checkReadOnce(m_journal.verdict(), record, report, expected);
        m_journal.say("read",
                      fmt::format("{}: {} memory values{}", record.name, report.readValues,
                                  report.rejected.empty() ? ""
                                                          : fmt::format(", rejected by the library: {}",
                                                                        fmt::join(report.rejected, ", "))));
    }
    return true;
}

bool DemoRun::workOnMemory() {
    return std::all_of(m_memories.begin(), m_memories.end(),
                       [](const std::unique_ptr<DemoMemory>& memory) { return memory->run(); });
}

bool DemoRun::startMeasurement() {
    std::map<std::string, std::vector<mcMeasureVariable>> variables;
    for (const EcuRecord& ecu : m_config.ecus) {
        variables[ecu.name] = measureVariables(ecu);
    }
    StartMeasurement(variables);
    if (!await(command::kMeasurementBegins, "begin of the measurement")) {
        return false;
    }
    const std::optional<TaskResult> result = await(command::kStartMeasurement, "start of the measurement");
    if (!result || result->code != 0) {
        return false;
    }
    m_countersBefore = busCounters();
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        m_events[i].begin = eventIndices(i);
        sayPlan(i);
    }
    return m_journal.require(isMeasureing(), "start of the measurement: isMeasureing is false");
}

bool DemoRun::measure() {
    const auto length = static_cast<sim::Time>(m_config.demo.seconds * 1e9);
    for (std::size_t i = 0; i < m_buses.size(); ++i) {
        // Bus time stands still while the machine is too busy to keep up, so that all runs measure the same.
        while (!m_buses[i]->waitUntil(m_countersBefore[i].now + length, milliseconds(50))) {
            if (m_journal.givenUp() || lostEarly()) {
                return false;
            }
        }
    }
    m_countersAfter = busCounters();
    concludeMeasurement();
    m_journal.say("measure", fmt::format("{:.1f} s of bus time", m_config.demo.seconds));
    return !m_journal.givenUp() && !lostEarly();
}

/// Judges values up to here and no further: while the library waits for an ECU that is about to fall silent,
/// the frames of the others pile up, and it drops those of an ECU when more than 2000 wait.
void DemoRun::concludeMeasurement() {
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        m_events[i].end = eventIndices(i);
    }
    const auto deadline = std::chrono::steady_clock::now() + kStall;
    const auto allCame = [this] {
        for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
            if (!cameToTheEnd(m_config.ecus[i], m_monitors[i]->report(), m_events[i])) {
                return false;
            }
        }
        return true;
    };
    while (!allCame() && !m_journal.givenUp() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    for (const auto& monitor : m_monitors) {
        monitor->conclude();
    }
}

bool DemoRun::lostEarly() {
    const auto result = m_session.waitResult(command::kLinkLost, milliseconds(0), [] { return false; });
    if (result) {
        m_journal.require(false, fmt::format("measure: a link was lost that nobody silenced: {}",
                                             fmt::join(result->details, ", ")));
    }
    return result.has_value();
}

bool DemoRun::loseOne() {
    const std::size_t lost = m_config.demo.silenced;
    const EcuRecord& record = m_config.ecus[lost];
    busOf(lost).silence(lost);
    const auto silencedAt = std::chrono::steady_clock::now();
    m_journal.say("silence", fmt::format("{} sends nothing any more", record.name));
    const std::optional<TaskResult> result = await(command::kLinkLost, "loss of " + record.name);
    if (!result) {
        return false;
    }
    const std::string mark = "ecu:" + record.name + "-";
    const bool named = result->details.size() == 1 && result->details.front().rfind(mark, 0) == 0;
    m_journal.require(named, fmt::format("loss of {}: the report says \"{}\"", record.name,
                                         fmt::join(result->details, "\", \"")));
    // At worst four commands go unanswered one after the other: one that the silence met, whose failure alone
    // is no loss, one of each thread of the library, and the time that the library gives the ECU to come
    // back.
    const std::uint32_t expectedMs = record.timeouts.statusPeriodMs + 4 * record.timeouts.budgetMs();
    const double elapsed = seconds(result->when - silencedAt);
    m_journal.require(elapsed <= expectedMs / 1000.0 + seconds(kStall),
                      fmt::format("loss of {}: reported after {:.2f} s only", record.name, elapsed));
    m_journal.say("loss", fmt::format("reported after {:.2f} s, expected within {:.2f} s: {}", elapsed,
                                      expectedMs / 1000.0, fmt::join(result->details, ", ")));
    return true;
}

bool DemoRun::disconnectAfterLoss() {
    if (!await(command::kDisconnect, "disconnect after the loss")) {
        return false;
    }
    m_journal.require(!isConnectEcu(), "disconnect: isConnectEcu is still true");
    m_journal.require(!isMeasureing(), "disconnect: isMeasureing is still true");
    for (std::size_t i = 0; i < m_config.ecus.size(); ++i) {
        m_journal.require(i == m_config.demo.silenced || !ecu(i).connected(),
                          fmt::format("{}: was not disconnected", m_config.ecus[i].name));
    }
    m_journal.say("disconnect", "the library disconnected all by itself");
    return true;
}

void DemoRun::closeConnection() {
    if (!isConnectEcu()) {
        return;
    }
    EcuDisconnect();
    // Also when the run was given up: the wait is for what has been asked for just now.
    const bool closed =
        m_session.waitResult(command::kDisconnect, DemoJournal::kPatience, [] { return false; }).has_value();
    m_journal.require(closed, "disconnect: taskResultFun(2) did not come");
    m_journal.say("disconnect", closed ? "all ECUs" : "failed");
}

}  // namespace host
