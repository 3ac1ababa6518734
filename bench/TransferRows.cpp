// Rows P6 and P16: moving memory over a virtual bus in real time, and the pauses between the frames of a
// block.

#include "TalvexPlain.h"
#include "bench/Harness.h"
#include "sim/BusPort.h"
#include "sim/VirtualBus.h"
#include "sim/XcpEcu.h"
#include "xcp/XcpProtoTransmit.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kMasterId = 0x10;
constexpr std::uint32_t kSlaveId = 0x20;
constexpr std::uint32_t kBase = 0x1000;
constexpr std::uint8_t kBlock = 255;  ///< bytes
constexpr std::size_t kTransfers = 4;

struct BusForm {
    const char* name;
    sim::BitRates rates;
    bool fd;
    double blockShare;  ///< least share of the limit that blocks have to reach
    double plainShare;  ///< and commands with one answer each
};

constexpr std::array<BusForm, 3> kBuses = {{
    {"500k", {.nominal = 500'000, .data = 500'000}, false, 0.95, 0.80},
    {"1M", {.nominal = 1'000'000, .data = 1'000'000}, false, 0.95, 0.70},
    {"FD 1M/8M", {.nominal = 1'000'000, .data = 8'000'000}, true, 0.85, 0.60},
}};

/// The host's place on the bus. What comes goes to the library, or wakes a bare master.
class Host final : public sim::Node {
public:
    void onFrame(const sim::Frame& frame, sim::Time end) override {
        if (m_forLibrary) {
            recvCanMsg(0, end / 1'000, 0, frame.id, frame.length, frame.data.data());
            return;
        }
        {
            const std::lock_guard lock(m_mutex);
            ++m_came;
        }
        m_condition.notify_one();
    }

    void serveLibrary(bool forLibrary) { m_forLibrary = forLibrary; }

    /// Waits for so many frames.
    void await(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [&] { return m_came >= count; });
        m_came -= count;
    }

private:
    std::atomic<bool> m_forLibrary{true};
    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::size_t m_came = 0;
};

sim::BusPort* g_port = nullptr;

std::uint32_t sendToBus(std::uint8_t, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
                        const std::uint8_t* data) {
    sim::Frame frame;
    frame.id = id;
    frame.fd = (flags & 0x02) != 0;
    frame.brs = (flags & 0x04) != 0;
    frame.length = length;
    std::copy_n(data, length, frame.data.begin());
    g_port->send(frame);
    return 1;
}

sim::XcpEcuConfig makeEcu(const BusForm& form) {
    sim::XcpEcuConfig config;
    config.masterId = kMasterId;
    config.slaveId = kSlaveId;
    config.fd = config.brs = form.fd;
    config.maxCto = form.fd ? 64 : 8;
    config.slaveBlockMode = config.masterBlockMode = true;
    config.maxBs = 43;
    config.memory = {sim::plainSegment(kBase, 0x1000)};
    return config;
}

EcuProtoCfg makeConfig(const BusForm& form) {
    EcuProtoCfg cfg;
    cfg.canIdMaster = kMasterId;
    cfg.canIdSlave = kSlaveId;
    cfg.masterFd = cfg.masterBrs = form.fd ? 1 : 0;
    cfg.maxCto = form.fd ? 64 : 8;
    cfg.xcp.t1 = cfg.xcp.t6 = 1'000;
    return cfg;
}

/// A bus in real time with an ECU that answers at once, the library's master and a bare one.
class Bench {
public:
    explicit Bench(const BusForm& form)
        : m_form(form),
          m_bus(sim::VirtualBusConfig{.rates = form.rates}),
          m_ecu(makeEcu(form)),
          m_ecuPort(m_bus.attach(m_ecu)),
          m_hostPort(m_bus.attach(m_host)) {
        g_port = m_hostPort.get();
        m_ecu.powerOn(*m_ecuPort);
        CallBackFuns callBacks;
        callBacks.sndFun = sendToBus;
        m_master = std::make_unique<XCP_MOUDLE::XcpProtoTransmit>(makeConfig(form), callBacks);
        bareCommand({0xFF, 0x00});
    }

    ~Bench() { m_ecu.powerOff(); }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    // Each moves a block of 255 bytes, or parts of it in pairs of a command and its answer.

    void uploadBlocks() {
        m_master->m_cfg.xcp.useSlaveBlockMode = 1;
        note(m_master->uploadBlock(m_bytes.data(), kBlock, 1) == kBlock);
    }
    void bareUploadBlocks() {
        bareSend({0xF5, kBlock});
        m_host.await(kBlock / (cto() - 1) + (kBlock % (cto() - 1) != 0 ? 1 : 0));
    }

    void downloadBlocks() { note(m_master->downloadBlock(m_bytes.data(), kBlock, 1) == kBlock); }
    void bareDownloadBlocks() {
        const std::size_t part = cto() - 2;
        for (std::size_t sent = 0; sent < kBlock; sent += part) {
            std::vector<std::uint8_t> frame(2 + std::min(part, kBlock - sent));
            frame[0] = sent == 0 ? 0xF0 : 0xEF;
            frame[1] = static_cast<std::uint8_t>(kBlock - sent);
            bareSend(frame);
        }
        m_host.await(1);
    }

    void uploadPairs() {
        m_master->m_cfg.xcp.useSlaveBlockMode = 0;
        note(m_master->uploadBlock(m_bytes.data(), kBlock, 1) == kBlock);
    }
    void bareUploadPairs() {
        const std::size_t part = cto() - 1;
        for (std::size_t left = kBlock; left > 0; left -= std::min(left, part)) {
            bareCommand({0xF5, static_cast<std::uint8_t>(std::min(left, part))});
        }
    }

    using Transfer = void (Bench::*)();

    bench::Block subject(Transfer transfer) {
        return bench::wallBlock(1, [this, transfer] { run(transfer, true); });
    }
    bench::Block baseline(Transfer transfer) {
        return bench::wallBlock(1, [this, transfer] { run(transfer, false); });
    }

    /// The time that the bus was busy of the time that a transfer took, in the median of many.
    double share(Transfer transfer) {
        std::vector<double> shares;
        for (std::size_t i = 0; i < bench::kBlocks; ++i) {
            const sim::BusCounters before = m_bus.counters();
            const std::uint64_t begin = bench::wallNs();
            run(transfer, true);
            const std::uint64_t taken = bench::wallNs() - begin;
            shares.push_back(static_cast<double>(m_bus.counters().busy - before.busy) /
                             static_cast<double>(taken));
        }
        return bench::median(shares);
    }

    [[nodiscard]] std::size_t failures() const { return m_failures; }

private:
    [[nodiscard]] std::size_t cto() const { return m_form.fd ? 64 : 8; }
    void note(bool done) { m_failures += done ? 0U : 1U; }

    void run(Transfer transfer, bool forLibrary) {
        for (std::size_t i = 0; i < kTransfers; ++i) {
            m_host.serveLibrary(false);
            bareCommand({0xF6, 0, 0, 0, kBase & 0xFF, kBase >> 8, 0, 0});
            m_host.serveLibrary(forLibrary);
            (this->*transfer)();
        }
    }

    void bareSend(const std::vector<std::uint8_t>& bytes) {
        const std::uint8_t flags = m_form.fd ? 0x06 : 0x00;
        sendToBus(0, kMasterId, flags, static_cast<std::uint8_t>(bytes.size()), bytes.data());
    }

    void bareCommand(const std::vector<std::uint8_t>& bytes) {
        m_host.serveLibrary(false);
        bareSend(bytes);
        m_host.await(1);
    }

    const BusForm& m_form;
    sim::VirtualBus m_bus;
    Host m_host;
    sim::XcpEcu m_ecu;
    std::unique_ptr<sim::BusPort> m_ecuPort;
    std::unique_ptr<sim::BusPort> m_hostPort;
    std::unique_ptr<XCP_MOUDLE::XcpProtoTransmit> m_master;
    std::array<std::uint8_t, kBlock> m_bytes{};
    std::size_t m_failures = 0;
};

struct Operation {
    const char* name;
    Bench::Transfer library;
    Bench::Transfer bare;
    bool blocks;
};

constexpr std::array<Operation, 3> kOperations = {{
    {"upload in blocks", &Bench::uploadBlocks, &Bench::bareUploadBlocks, true},
    {"download in blocks", &Bench::downloadBlocks, &Bench::bareDownloadBlocks, true},
    {"upload in pairs", &Bench::uploadPairs, &Bench::bareUploadPairs, false},
}};

bench::Figure orFailed(const Bench& bench, const bench::Figure& figure) {
    return bench.failures() == 0 ? figure
                                 : bench::failed(std::to_string(bench.failures()) + " transfers failed");
}

bench::Figure againstBareMaster(const Operation& operation, const BusForm& form) {
    Bench bench(form);
    const bench::Figure figure =
        bench::compareInterleaved(bench.subject(operation.library), bench.baseline(operation.bare));
    return orFailed(bench, figure);
}

bench::Figure shareOfLimit(const Operation& operation, const BusForm& form) {
    Bench bench(form);
    const bench::Figure figure = bench::measured(bench.share(operation.library));
    return orFailed(bench, figure);
}

// P16

constexpr std::uint8_t kMinSt = 3;
std::vector<std::uint64_t> g_moments;

/// Notes when a frame comes, and answers the one that ends its block.
std::uint32_t noteMoment(std::uint8_t, std::uint32_t, std::uint8_t, std::uint8_t, const std::uint8_t* data) {
    constexpr std::array<std::uint8_t, 1> kAnswer{0xFF};
    g_moments.push_back(bench::wallNs());
    if (data[1] <= 6) {
        recvCanMsg(0, 0, 0, kSlaveId, kAnswer.size(), kAnswer.data());
    }
    return 1;
}

/// The microseconds between the frames of 10 blocks.
std::vector<double> gaps() {
    EcuProtoCfg cfg = makeConfig(kBuses[0]);
    cfg.xcp.minSt = kMinSt;
    CallBackFuns callBacks;
    callBacks.sndFun = noteMoment;
    XCP_MOUDLE::XcpProtoTransmit master(cfg, callBacks);
    const std::array<std::uint8_t, kBlock> bytes{};
    std::vector<double> all;
    for (int block = 0; block < 10; ++block) {
        g_moments.clear();
        if (master.downloadBlock(bytes.data(), kBlock, 1) != kBlock) {
            return {};
        }
        for (std::size_t i = 1; i < g_moments.size(); ++i) {
            all.push_back(static_cast<double>(g_moments[i] - g_moments[i - 1]) / 1e3);
        }
    }
    return all;
}

bench::Figure shortestGap() {
    const std::vector<double> all = gaps();
    return all.empty() ? bench::failed("a block failed")
                       : bench::measured(*std::min_element(all.begin(), all.end()));
}

bench::Figure medianGap() {
    const std::vector<double> all = gaps();
    return all.empty() ? bench::failed("a block failed") : bench::measured(bench::median(all));
}

bool addTransferRows() {
    for (const BusForm& form : kBuses) {
        for (const Operation& operation : kOperations) {
            const std::string name = std::string(operation.name) + ", " + form.name;
            bench::addRow(
                {"P6", name, "a bare blocking master", "ns", bench::atMost(operation.blocks ? 1.05 : 1.10),
                 [&operation, &form] { return againstBareMaster(operation, form); }, bench::Processors::All});
            bench::addRow({"P6", name + ", share of the limit", "", "",
                           bench::atLeast(operation.blocks ? form.blockShare : form.plainShare),
                           [&operation, &form] { return shareOfLimit(operation, form); },
                           bench::Processors::All});
        }
    }
    return true;
}

[[maybe_unused]] const bool kAdded[] = {
    addTransferRows(),
    bench::addRow(
        {"P16", "block download with MIN_ST 3, shortest gap", "", "us", bench::atLeast(300.0), shortestGap}),
    bench::addRow(
        {"P16", "block download with MIN_ST 3, median gap", "", "us", bench::atMost(315.0), medianGap}),
};

}  // namespace
