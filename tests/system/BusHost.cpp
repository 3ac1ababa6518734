#include "tests/system/BusHost.h"

#include "sim/SeedKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <shared_mutex>
#include <string_view>

namespace systemtest {
namespace {

/// Bus time after which the answer of a command is no longer worth letting DAQ frames through.
constexpr sim::Time kAnswerTime = 20'000'000;

constexpr std::uint8_t kFirstResponse = 0xFE;
constexpr std::uint8_t kFirstPacket = 0xFC;  ///< below it stand the identifiers of ODTs

/// Held shared during each callback, so that a host never goes under the feet of one.
std::shared_mutex g_gate;
BusHost* g_host = nullptr;

sim::Frame makeFrame(std::uint32_t id, std::uint8_t flags, std::uint8_t length, const std::uint8_t* data) {
    sim::Frame frame;
    frame.id = id;
    frame.extended = (flags & 0x01) != 0;
    frame.fd = (flags & 0x02) != 0;
    frame.brs = (flags & 0x04) != 0;
    frame.length = length;
    std::copy_n(data, std::min<std::size_t>(length, frame.data.size()), frame.data.begin());
    return frame;
}

/// The seed and key function of the ECUs' owner.
std::int32_t makeKey(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                     std::uint8_t* keyLength, std::uint8_t* key) {
    const std::vector<std::uint8_t> made = sim::computeKey(privilege, {seed, seedLength});
    if (made.size() > *keyLength) {
        return 0;
    }
    std::copy(made.begin(), made.end(), key);
    *keyLength = static_cast<std::uint8_t>(made.size());
    return 1;
}

std::int32_t makeWrongKey(std::uint8_t privilege, std::uint8_t seedLength, std::uint8_t* seed,
                          std::uint8_t* keyLength, std::uint8_t* key) {
    const std::int32_t made = makeKey(privilege, seedLength, seed, keyLength, key);
    key[0] ^= 0x01;
    return made;
}

}  // namespace

sim::VirtualBusConfig fastBus() {
    sim::VirtualBusConfig config;
    config.pace = sim::Pace::Fast;
    return config;
}

sim::VirtualBusConfig realTimeBus() {
    sim::VirtualBusConfig config;
    config.spin = 0;
    return config;
}

BusHost::Line::Line(BusHost& owner, std::uint8_t number, const sim::VirtualBusConfig& config)
    : host(owner), channel(number), bus(config), port(bus.attach(*this)) {
    bus.setBrake([this] { return host.brakes(*this); });
}

/// Ports go ahead of their nodes, and both ahead of the bus.
BusHost::Line::~Line() {
    bus.setBrake(nullptr);
    for (const std::unique_ptr<Seat>& seat : seats) {
        seat->ecu.powerOff();
        const std::unique_ptr<sim::BusPort> ended = std::move(seat->port);
    }
    const std::unique_ptr<sim::BusPort> ended = std::move(port);
}

void BusHost::Line::onFrame(const sim::Frame& frame, sim::Time end) {
    host.onReceived(*this, frame, end);
}

BusHost::BusHost() {
    {
        const std::unique_lock gate(g_gate);
        g_host = this;
    }
    setLogBackFuns(takeLog);
    setCallBackFuns(callBacks());
}

BusHost::~BusHost() {
    forgetResults();
    EXPECT_EQ(disconnects(), 0) << "at the end of the host";
    {
        const std::unique_lock gate(g_gate);
        g_host = nullptr;
    }
    for (const auto& [channel, line] : m_lines) {
        for (const std::unique_ptr<Seat>& seat : line->seats) {
            for (const std::string& fault : seat->proof->faults()) {
                ADD_FAILURE() << fault;
            }
        }
    }
    m_lines.clear();  // their threads use the mutex
}

CallBackFuns BusHost::callBacks() {
    CallBackFuns table;
    table.measureFun = takeValues;
    table.sndFun = send;
    table.msgDecodeFun = takeDecoded;
    table.taskResultFun = takeResult;
    table.memResultFun = takeMemory;
    table.xcpSeedLibFun = loadKeys;
    table.ccpSeedLibFun = loadKeys;
    table.daqInfoFun = takePlan;
    return table;
}

sim::VirtualBus& BusHost::addBus(const sim::VirtualBusConfig& config, std::uint8_t channel) {
    std::unique_ptr<Line>& line = m_lines[channel];
    line = std::make_unique<Line>(*this, channel, config);
    return line->bus;
}

sim::XcpEcu& BusHost::addEcu(const EcuPair& pair) {
    Line& line = *m_lines.at(pair.cfg.canChannel);
    auto seat = std::make_unique<Seat>(pair);
    seat->port = line.bus.attach(seat->ecu);
    const sim::Time startFrom = line.bus.now();
    seat->ecu.powerOn(*seat->port);
    seat->proof = std::make_unique<SignalProof>(seat->ecu, startFrom, line.bus.now());
    sim::XcpEcu& ecu = seat->ecu;
    {
        const std::lock_guard lock(m_mutex);
        line.seats.push_back(std::move(seat));
    }
    giveConfigurations();
    return ecu;
}

void BusHost::configure(const EcuProtoCfg& cfg) {
    {
        const std::lock_guard lock(m_mutex);
        findSeat(cfg.ecuName)->cfg = cfg;
    }
    setProtoCfg(cfg.ecuName, cfg);
}

void BusHost::giveConfigurations() const {
    std::list<EcuProtoCfg> all;
    for (const auto& [channel, line] : m_lines) {
        for (const std::unique_ptr<Seat>& seat : line->seats) {
            all.push_back(seat->cfg);
        }
    }
    setProtoCfgs(all);
}

BusHost::Seat* BusHost::findSeat(const std::string& name) const {
    for (const auto& [channel, line] : m_lines) {
        for (const std::unique_ptr<Seat>& seat : line->seats) {
            if (seat->cfg.ecuName == name) {
                return seat.get();
            }
        }
    }
    return nullptr;
}

BusHost::Line* BusHost::findLine(std::uint8_t channel) const {
    const auto found = m_lines.find(channel);
    return found == m_lines.end() ? nullptr : found->second.get();
}

sim::PortNumber BusHost::portOf(const std::string& ecuName) const {
    return findSeat(ecuName)->port->number();
}

SignalProof& BusHost::proofOf(const std::string& ecuName) const {
    return *findSeat(ecuName)->proof;
}

int BusHost::connects(const std::vector<std::string>& names) {
    EcuConnect(names);
    return awaitResult(kConnect).result;
}

int BusHost::starts(const Variables& variables) {
    StartMeasurement(variables);
    return awaitResult(kStart).result;
}

int BusHost::stops() {
    StopMeasurement();
    return awaitResult(kStop).result;
}

int BusHost::disconnects() {
    EcuDisconnect();
    return awaitResult(kDisconnect).result;
}

TaskResult BusHost::awaitResult(std::uint32_t command, std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    TaskResult found{command, -1, {}};
    const auto isNext = [&] {
        std::size_t toSkip = m_awaited[command];
        for (const TaskResult& result : m_results) {
            if (result.command == command && toSkip-- == 0) {
                found = result;
                return true;
            }
        }
        return false;
    };
    if (m_changed.wait_for(lock, limit, isNext)) {
        ++m_awaited[command];
    }
    return found;
}

void BusHost::forgetResults() {
    const std::lock_guard lock(m_mutex);
    m_awaited.clear();
    m_results.clear();
}

std::vector<TaskResult> BusHost::results() const {
    const std::lock_guard lock(m_mutex);
    return m_results;
}

std::size_t BusHost::resultCount(std::uint32_t command) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_results.begin(), m_results.end(),
                      [command](const TaskResult& result) { return result.command == command; }));
}

std::size_t BusHost::logCount(std::uint32_t level, const std::string& text) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_logs.find({level, text});
    return found == m_logs.end() ? 0 : found->second;
}

std::vector<std::string> BusHost::rejected() const {
    const std::lock_guard lock(m_mutex);
    return m_rejected;
}

std::vector<mcMemoryData> BusHost::memoryData() const {
    const std::lock_guard lock(m_mutex);
    return m_memory;
}

bool BusHost::Seat::isAnsweredBy(const sim::Frame& frame) const {
    constexpr std::uint8_t kCommandReturn = 0xFF;
    return cfg.protoType != 0 || (frame.data[0] == kCommandReturn && frame.data[2] == commandCounter);
}

/// The command is noted behind its way to the bus: a fast bus that is let through for it ahead of that may be
/// far beyond the time of its answer when it comes.
void BusHost::onSent(Line& line, const sim::Frame& frame) {
    line.port->send(frame);
    const sim::Time now = line.bus.now();
    {
        const std::lock_guard lock(m_mutex);
        for (const std::unique_ptr<Seat>& seat : line.seats) {
            if (seat->cfg.canIdMaster == frame.id) {
                seat->commandPending = true;
                seat->commandCounter = frame.data[1];
                seat->commandSent = now;
            }
        }
    }
    line.bus.wake();
}

/// The library gets every frame of the bus, as a host does not know which it wants.
void BusHost::onReceived(const Line& line, const sim::Frame& frame, sim::Time end) {
    const std::uint64_t time = end / 1'000;
    {
        const std::lock_guard lock(m_mutex);
        for (const std::unique_ptr<Seat>& seat : line.seats) {
            if (seat->cfg.canIdSlave != frame.id) {
                continue;
            }
            if (frame.data[0] >= kFirstResponse) {
                seat->commandPending = seat->commandPending && !seat->isAnsweredBy(frame);
            } else if (frame.data[0] < kFirstPacket) {
                seat->undelivered.push_back(time);
            }
        }
    }
    recvCanMsg(0, time, line.channel, frame.id, frame.length, frame.data.data());
}

/// Values of a cycle carry the time of a frame. All frames up to it have been digested.
void BusHost::onDelivered(Seat& seat, std::uint64_t time) {
    {
        const std::lock_guard lock(m_mutex);
        while (!seat.undelivered.empty() && seat.undelivered.front() <= time) {
            seat.undelivered.pop_front();
        }
    }
    findLine(seat.cfg.canChannel)->bus.wake();
}

void BusHost::onResult(const TaskResult& result) {
    const bool begins = result.command == kMeasurementBegins;
    for (const auto& [channel, line] : m_lines) {
        for (const std::unique_ptr<Seat>& seat : line->seats) {
            if (begins) {
                seat->proof->begin();
            }
            // Nobody digests what came ahead of a measurement or behind it.
            if (begins || result.command == kStop || result.command == kDisconnect) {
                const std::lock_guard lock(m_mutex);
                seat->undelivered.clear();
            }
        }
    }
    const std::lock_guard lock(m_mutex);
    m_starting = begins || (m_starting && result.command != kStart);
    m_results.push_back(result);
    m_changed.notify_all();
}

bool BusHost::brakes(const Line& line) const {
    const sim::Time now = line.bus.now();
    const std::lock_guard lock(m_mutex);
    const std::size_t limit = m_starting ? 0 : m_mostUndelivered.load();
    bool full = false;
    for (const std::unique_ptr<Seat>& seat : line.seats) {
        if (seat->commandPending && now < seat->commandSent + kAnswerTime) {
            return false;
        }
        full = full || seat->undelivered.size() > limit;
    }
    return full;
}

std::uint32_t BusHost::send(std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                            const std::uint8_t* data) {
    const std::shared_lock gate(g_gate);
    Line* line = g_host == nullptr ? nullptr : g_host->findLine(channel);
    if (line == nullptr) {
        return 0;
    }
    g_host->onSent(*line, makeFrame(id, flags, length, data));
    return 1;
}

void BusHost::takeValues(const std::string& ecuName, std::int32_t kind,
                         const std::vector<mcMeasureVariableValue>& values,
                         const std::vector<std::string>& rejected) {
    const std::shared_lock gate(g_gate);
    Seat* seat = g_host == nullptr ? nullptr : g_host->findSeat(ecuName);
    if (seat == nullptr) {
        return;
    }
    seat->proof->take(kind, values);
    if (kind == 2 && !values.empty()) {
        g_host->onDelivered(*seat, values.front().time);
    }
    const std::lock_guard lock(g_host->m_mutex);
    g_host->m_rejected.insert(g_host->m_rejected.end(), rejected.begin(), rejected.end());
}

void BusHost::takeResult(std::uint32_t command, std::uint8_t result,
                         const std::vector<std::string>* details) {
    const std::shared_lock gate(g_gate);
    if (g_host != nullptr) {
        g_host->onResult({command, result, *details});
    }
}

void BusHost::takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
    const std::shared_lock gate(g_gate);
    const bool isProgress = command == kUploadPercent || command == kDownloadPercent;
    if (g_host == nullptr || isProgress) {
        return;
    }
    {
        const std::lock_guard lock(g_host->m_mutex);
        g_host->m_memory = std::move(data);
    }
    g_host->onResult({command, static_cast<int>(result), {}});
}

void BusHost::takeDecoded(std::uint64_t /*hostTag*/, mcDecodeMsg message) {
    EXPECT_FALSE(message.name.empty());
}

void BusHost::takePlan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan) {
    EXPECT_FALSE(cfg->ecuName.empty());
    EXPECT_NE(plan, nullptr);
}

/// Lines of level 0 are one per frame: too many to keep.
void BusHost::takeLog(std::uint32_t level, std::uint64_t /*timeMs*/, const std::string& text) {
    const std::shared_lock gate(g_gate);
    if (g_host != nullptr && level > 0) {
        const std::lock_guard lock(g_host->m_mutex);
        ++g_host->m_logs[{level, text}];
    }
}

SeedKeyFun BusHost::loadKeys(const char* path, const char* /*entry*/) {
    const std::string_view library = path;
    if (library == kKeyLibrary) {
        return makeKey;
    }
    return library == kWrongKeyLibrary ? SeedKeyFun(makeWrongKey) : SeedKeyFun();
}

}  // namespace systemtest
