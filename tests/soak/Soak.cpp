#include "tests/soak/Soak.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace soak {
namespace {

using systemtest::BusHost;

constexpr sim::Time kStep = 10 * kMs;
/// Where in the ECUs' 10 ms a step begins: what they sampled is on the bus by then, and answers are quick.
constexpr sim::Time kPhase = 8'200'000;
constexpr std::size_t kImageSize = 0x1003;  ///< not a whole number of frames
constexpr std::size_t kLeakSize = 0x10000;
constexpr std::uint8_t kCleared = 0xFF;
constexpr std::uint32_t kNoMemory = 0xF0000000;

constexpr double kLeastLoad = 75;           ///< percent
constexpr std::uint64_t kLeastWrites = 80;  ///< percent of one each 10 ms

/// Level, result and text of a command that the configuration does not have.
constexpr std::uint32_t kWarning = 3;
constexpr int kNoOptionalCommand = 72;

/// How long a bus may take for a step before the other one is let go on.
constexpr std::chrono::milliseconds kNudge{20};

mcMeasureVariable variableAt(std::uint32_t address, std::size_t size) {
    mcMeasureVariable variable;
    variable.name = "written";
    variable.address = address;
    variable.size = static_cast<std::uint32_t>(size);
    return variable;
}

Bytes bytesOf(std::uint64_t number) {
    Bytes bytes(4);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(number);
        number >>= 8;
    }
    return bytes;
}

sim::VirtualBusConfig busOf(std::uint32_t nominal, std::uint32_t data) {
    sim::VirtualBusConfig config = systemtest::fastBus();
    config.rates = {.nominal = nominal, .data = data};
    return config;
}

double mebibytes(std::size_t bytes) {
    return static_cast<double>(bytes) / (1 << 20);
}

}  // namespace

/// While it lives the buses move on for the answers of commands, and for no more than a frame otherwise.
class Soak::Standstill {
public:
    explicit Standstill(Soak& soak) : m_soak(soak) {
        m_soak.m_host.limitUndelivered(0);
        m_soak.setLimits(sim::kNever);
    }
    ~Standstill() {
        for (Wire& wire : m_soak.m_wires) {
            wire.bus.setLimit(wire.bus.now());
        }
        m_soak.m_host.limitUndelivered(BusHost::kMostUndelivered);
        m_soak.m_host.forgetResults();
    }
    Standstill(const Standstill&) = delete;
    Standstill& operator=(const Standstill&) = delete;

private:
    Soak& m_soak;
};

Soak::Soak(const SoakPlan& plan, SoakVerdict& verdict)
    : m_plan(plan),
      m_verdict(verdict),
      m_wires{Wire{"500k", m_host.addBus(busOf(500'000, 500'000), 0)},
              Wire{"FD", m_host.addBus(busOf(500'000, 2'000'000), 1)}},
      m_hooks(verdict, m_meter, plan.slowness),
      m_ecus(makeSoakEcus(m_host, m_wires[0].bus)),
      m_resident(plan.warmUp()),
      m_nextFlash(plan.flashPeriod() / 2) {
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        m_meter.add(ecu->name(), ecu->cfg().canChannel, ecu->cfg().canIdSlave);
        if (ecu->takesWrites()) {
            m_written.push_back(ecu.get());
        }
    }
    for (std::uint8_t channel = 0; channel < m_wires.size(); ++channel) {
        m_wires[channel].bus.setMonitor(
            [this, channel](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time end) {
                m_meter.onFrame(channel, frame.id, frame.data[0], end / 1'000);
            });
    }
}

Soak::~Soak() {
    for (Wire& wire : m_wires) {
        wire.bus.setMonitor(nullptr);
        wire.bus.setLimit(sim::kNever);
    }
}

void Soak::run() {
    std::printf("%5s %9s %8s %9s  %10s %10s %7s %7s %8s %8s %7s %7s %8s\n", "done", "bus min", "wall s",
                "MiB", "DAQ frames", "values", "500k %", "FD %", "polled", "writes", "pages", "flashes",
                "waiting");
    expect(m_host.connects(names()) == 0, "the ECUs could not be connected");
    startMeasurement();
    while (!isWrong() && m_time < m_plan.length) {
        step();
    }
    stopMeasurement();
    judge();
    setLimits(sim::kNever);
    expect(m_host.disconnects() == 0, "the ECUs could not be disconnected");
}

void Soak::step() {
    if (m_time >= m_nextFlash) {
        m_nextFlash += m_plan.flashPeriod();
        flash();
    }
    write();
    if (m_time >= m_nextPage) {
        m_nextPage += kSecond;
        switchPage();
        look();
    }
    if (!m_provoked && m_time >= m_plan.length / 2) {
        m_provoked = true;
        provoke();
    }
    advance();
    printProgress();
}

/// The ECUs take turns.
void Soak::write() {
    const Standstill standstill(*this);
    SoakEcu& ecu = *m_written[m_writes % m_written.size()];
    const Bytes bytes = bytesOf(++m_writes);
    CalibrationVar(ecu.name(), variableAt(systemtest::kScratchBase, bytes.size()), bytes);
    expectResult(systemtest::kCalibrate, "a write to " + ecu.name());
    expect(ecu.read(systemtest::kScratchBase, bytes.size()) == bytes,
           ecu.name() + " does not have what write " + std::to_string(m_writes) + " wrote");
    if (m_plan.provocation == Provocation::leak) {
        m_leak.emplace_back(kLeakSize, '.');
    }
}

/// The ECUs take turns, and each goes to its other page.
void Soak::switchPage() {
    const Standstill standstill(*this);
    SoakEcu& ecu = *m_ecus[m_pages % m_ecus.size()];
    const bool working = m_pages / m_ecus.size() % 2 == 1;
    ++m_pages;
    SetCalPage(ecu.name(), working);
    expectResult(systemtest::kSetPage, "a page switch of " + ecu.name());
    expect(ecu.shows(working),
           ecu.name() + " does not show its " + (working ? "working" : "reference") + " page");
}

/// A flash ends the session of its ECU, and keeps the library from taking what all others send: measurements
/// end ahead of it.
void Soak::flash() {
    stopMeasurement();
    SoakEcu& ecu = *m_ecus[m_flashes % m_ecus.size()];
    const Bytes image = systemtest::noise(kImageSize, static_cast<std::uint32_t>(++m_flashes));
    {
        const Standstill standstill(*this);
        programs(ecu, image);
        Bytes wanted = image;
        wanted.resize(systemtest::kCodeSize, kCleared);
        expect(ecu.code() == wanted, ecu.name() + " does not have what was programmed");
    }
    startMeasurement();
}

void Soak::programs(SoakEcu& ecu, const Bytes& image) {
    const std::string& name = ecu.name();
    m_host.configure(ecu.flashCfg());
    expect(m_host.connects({name}) == 0, name + " could not be connected to be erased");
    announcePageRefusal(ecu);
    EarseEcu(name, mcMemCode);
    expectResult(systemtest::kErase, "erasing " + name);
    static_cast<void>(m_host.awaitResult(systemtest::kSetPage));
    expect(m_host.connects({name}) == 0, name + " could not be connected to be programmed");
    announcePageRefusal(ecu);
    DownToEcuMem(name, mcMemCode, {{systemtest::kCodeBase, image}});
    expectResult(systemtest::kDownload, "programming " + name);
    static_cast<void>(m_host.awaitResult(systemtest::kSetPage));
    m_host.configure(ecu.cfg());
    expect(m_host.connects({name}) == 0, name + " could not be connected behind its flash");
}

/// Memory operations put the page back at their end, and the configuration of a flash has no command for it.
void Soak::announcePageRefusal(const SoakEcu& ecu) {
    const std::string& ecuName = ecu.name();
    const std::string text = getErrorString(kNoOptionalCommand);
    m_verdict.announce(kWarning, ecu.pageRefusal());
    m_verdict.announce(kWarning, "Set calibration page ecu(" + ecuName + ") failed: " + text);
    m_verdict.announce(kWarning, "Task cmd result:(72) Set memory page failed;" + ecuName + ";");
}

void Soak::provoke() {
    if (m_plan.provocation == Provocation::gap) {
        m_ecus.front()->inject({.kind = sim::EcuFaultKind::dropDto});
    }
    if (m_plan.provocation == Provocation::log) {
        const Standstill standstill(*this);
        CalibrationVar(m_ecus.front()->name(), variableAt(kNoMemory, 4), bytesOf(0));
        expectResult(systemtest::kCalibrate, "the provoked write");
    }
}

void Soak::startMeasurement() {
    const Standstill standstill(*this);
    systemtest::Variables variables;
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        variables[ecu->name()] = ecu->variables();
    }
    expect(m_host.starts(variables) == 0, "the measurement could not be started");
    for (Wire& wire : m_wires) {
        wire.began = wire.bus.counters();
    }
    m_measureBegan = m_time = now();
}

void Soak::stopMeasurement() {
    m_measured += m_time - m_measureBegan;
    for (Wire& wire : m_wires) {
        const sim::BusCounters counters = wire.bus.counters();
        wire.measured += counters.now - wire.began.now;
        wire.busy += counters.busy - wire.began.busy;
    }
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        const systemtest::SignalProof& proof = m_host.proofOf(ecu->name());
        m_sampled[ecu->name()] += proof.allSampled();
        for (const std::string& name : ecu->polledNames()) {
            m_polled[ecu->name()] += proof.polled(name);
        }
    }
    const Standstill standstill(*this);
    expect(m_host.stops() == 0, "the measurement could not be stopped");
}

/// Lets bus time pass to the end of the step. A bus that gets there first may have a command of the library's
/// own threads on it (a poll, a look at the status), whose answer the other bus needs in order to go on.
void Soak::advance() {
    const sim::Time end = (now() + kStep - kPhase) / kStep * kStep + kPhase;
    setLimits(end);
    const auto patienceEnd = std::chrono::steady_clock::now() + systemtest::kPatience;
    const auto arrives = [&](const Wire& wire) { return wire.bus.waitUntil(end, kNudge); };
    while (!std::all_of(m_wires.begin(), m_wires.end(), arrives)) {
        if (std::chrono::steady_clock::now() > patienceEnd) {
            m_verdict.blame("bus time does not pass");
            break;
        }
        for (Wire& wire : m_wires) {
            if (wire.bus.now() >= end) {
                wire.bus.setLimit(wire.bus.now() + kMs);
            }
        }
    }
    m_time = end;
}

void Soak::look() {
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        m_valuesWrong = m_valuesWrong || !m_host.proofOf(ecu->name()).faults().empty();
    }
    const std::string fault = m_resident.look(m_time);
    expect(fault.empty(), fault);
}

void Soak::judge() {
    look();
    if (isWrong()) {
        return;  // what was not done for that reason is no fault of its own
    }
    m_verdict.blameUnused();
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        expect(ecu->polledNames().empty() || m_polled[ecu->name()] > 0,
               "nothing was polled of " + ecu->name());
        expect(m_sampled[ecu->name()] > 0, "nothing was measured of " + ecu->name());
    }
    for (const Wire& wire : m_wires) {
        expect(wire.load() >= kLeastLoad, std::string("too little was on the bus ") + wire.name);
    }
    // Each poll has bus time pass while a slow host keeps the script from its next write.
    expect(m_plan.slowness.count() > 0 || m_writes * kStep * 100 >= m_measured * kLeastWrites,
           "there were too few writes");
    expect(m_flashes >= m_ecus.size(), "not all ECUs were flashed");
}

void Soak::printProgress() {
    if (m_tenths == 10 || m_time * 10 < m_plan.length * (m_tenths + 1)) {
        return;
    }
    m_tenths = static_cast<unsigned>(std::min<sim::Time>(m_time * 10 / m_plan.length, 10));
    std::array<double, 2> load{};
    for (std::size_t i = 0; i < m_wires.size(); ++i) {
        const sim::BusCounters counters = m_wires[i].bus.counters();
        load[i] = counters.loadPercentSince(std::exchange(m_wires[i].printed, counters));
    }
    std::uint64_t polled = 0;
    for (const auto& [name, count] : m_polled) {
        polled += count;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - m_began;
    std::printf("%3u %% %9.2f %8.1f %9.2f  %10llu %10llu %7.1f %7.1f %8llu %8llu %7llu %7llu %8zu\n",
                m_tenths * 10, minutes(), wall.count(), mebibytes(residentSize()),
                static_cast<unsigned long long>(m_meter.frames()),
                static_cast<unsigned long long>(m_meter.values()), load[0], load[1],
                static_cast<unsigned long long>(polled), static_cast<unsigned long long>(m_writes),
                static_cast<unsigned long long>(m_pages), static_cast<unsigned long long>(m_flashes),
                m_meter.mostWaiting());
    std::fflush(stdout);
}

std::string Soak::summary() const {
    std::array<char, 400> text{};
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - m_began;
    std::snprintf(
        text.data(), text.size(),
        "%.2f min of bus time in %.0f s; load %.1f %% and %.1f %%; %llu DAQ frames, %llu values; "
        "%llu writes, %llu page switches, %llu flashes; %llu announced log lines; "
        "at most %zu of 2000 frames of an ECU waited; resident %.2f to %.2f MiB behind the warm-up%s",
        minutes(), wall.count(), m_wires[0].load(), m_wires[1].load(),
        static_cast<unsigned long long>(m_meter.frames()), static_cast<unsigned long long>(m_meter.values()),
        static_cast<unsigned long long>(m_writes), static_cast<unsigned long long>(m_pages),
        static_cast<unsigned long long>(m_flashes),
        static_cast<unsigned long long>(m_verdict.announcedLines()), m_meter.mostWaiting(),
        mebibytes(m_resident.lowest()), mebibytes(m_resident.highest()),
        ResidentSize::isJudged() ? "" : " (not judged: a sanitizer's own memory grows)");
    return text.data();
}

void Soak::expectResult(std::uint32_t command, const std::string& what) {
    const int result = m_host.awaitResult(command).result;
    expect(result == 0, what + " ended with " + std::to_string(result));
}

void Soak::expect(bool holds, const std::string& fault) {
    if (!holds) {
        m_verdict.blame(fault);
    }
}

void Soak::setLimits(sim::Time limit) {
    for (Wire& wire : m_wires) {
        wire.bus.setLimit(limit);
    }
}

sim::Time Soak::now() const {
    return std::max(m_wires[0].bus.now(), m_wires[1].bus.now());
}

std::vector<std::string> Soak::names() const {
    std::vector<std::string> names;
    for (const std::unique_ptr<SoakEcu>& ecu : m_ecus) {
        names.push_back(ecu->name());
    }
    return names;
}

double Soak::minutes() const {
    return static_cast<double>(m_time) / static_cast<double>(kMinute);
}

}  // namespace soak
