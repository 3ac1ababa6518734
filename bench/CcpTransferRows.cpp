// Row P6 for CCP: moving memory over a virtual bus in real time. CCP has no blocks, only pairs of a command
// and its answer.

#include "TalvexSDK.h"
#include "bench/Harness.h"
#include "ccp/CcpProtoTransmit.h"
#include "sim/BusPort.h"
#include "sim/CcpEcu.h"
#include "sim/VirtualBus.h"

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
constexpr std::uint16_t kStation = 1;
constexpr std::size_t kBlock = 255;  ///< bytes that are moved at a time
constexpr std::size_t kPart = 5;     ///< bytes of a frame
constexpr std::size_t kTransfers = 4;

struct BusForm {
    const char* name;
    std::uint32_t rate;
    double share;  ///< least share of the limit
};

constexpr std::array<BusForm, 2> kBuses = {{{"500k", 500'000, 0.80}, {"1M", 1'000'000, 0.70}}};

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
            m_came = true;
        }
        m_condition.notify_one();
    }

    void serveLibrary(bool forLibrary) { m_forLibrary = forLibrary; }

    /// Waits for a frame.
    void await() {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [this] { return m_came; });
        m_came = false;
    }

private:
    std::atomic<bool> m_forLibrary{false};
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_came = false;
};

sim::BusPort* g_port = nullptr;

std::uint32_t sendToBus(std::uint8_t, std::uint32_t id, std::uint8_t, std::uint8_t length,
                        const std::uint8_t* data) {
    sim::Frame frame;
    frame.id = id;
    frame.length = length;
    std::copy_n(data, length, frame.data.begin());
    g_port->send(frame);
    return 1;
}

sim::CcpEcuConfig makeEcu() {
    sim::CcpEcuConfig config;
    config.croId = kMasterId;
    config.dtoId = kSlaveId;
    config.stationAddress = kStation;
    config.memory = {sim::plainSegment(kBase, 0x1000)};
    return config;
}

EcuProtoCfg makeConfig() {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    cfg.canIdMaster = kMasterId;
    cfg.canIdSlave = kSlaveId;
    cfg.ccp.timeoutMs = 1'000;
    cfg.ccp.stationAddress = kStation;
    return cfg;
}

/// A bus in real time with an ECU that answers at once, the library's master and a bare one.
class CcpBench {
public:
    explicit CcpBench(const BusForm& form)
        : m_bus(sim::VirtualBusConfig{.rates = {.nominal = form.rate, .data = form.rate}}),
          m_ecu(makeEcu()),
          m_ecuPort(m_bus.attach(m_ecu)),
          m_hostPort(m_bus.attach(m_host)) {
        g_port = m_hostPort.get();
        m_ecu.powerOn(*m_ecuPort);
        CallBackFuns callBacks;
        callBacks.sndFun = sendToBus;
        m_master = std::make_unique<CCP_MOUDLE::CcpProtoTransmit>(makeConfig(), callBacks);
        bareCommand({0x01, 0, kStation, 0});
    }

    ~CcpBench() { m_ecu.powerOff(); }
    CcpBench(const CcpBench&) = delete;
    CcpBench& operator=(const CcpBench&) = delete;

    using Transfer = void (CcpBench::*)();

    void upload() { note(m_master->uploadBlock(m_bytes.data(), kBlock) == kBlock); }
    void bareUpload() {
        for (std::size_t done = 0; done < kBlock; done += kPart) {
            bareCommand({0x04, 0, kPart, 0, 0, 0, 0, 0});
        }
    }

    void download() {
        m_master->downloadBytes(kBlock, m_bytes.data(), false);
        note(!m_master->m_linkLost);
    }
    void bareDownload() {
        for (std::size_t done = 0; done < kBlock; done += kPart) {
            bareCommand({0x03, 0, kPart, 0, 0, 0, 0, 0});
        }
    }

    bench::Block block(Transfer transfer, bool byLibrary) {
        return bench::wallBlock(1, [this, transfer, byLibrary] { run(transfer, byLibrary); });
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

    bench::Figure orFailed(const bench::Figure& figure) const {
        return m_failures == 0 ? figure : bench::failed(std::to_string(m_failures) + " transfers failed");
    }

private:
    void note(bool done) { m_failures += done ? 0U : 1U; }

    void run(Transfer transfer, bool byLibrary) {
        for (std::size_t i = 0; i < kTransfers; ++i) {
            m_host.serveLibrary(false);
            bareCommand({0x02, 0, 0, 0, kBase & 0xFF, kBase >> 8, 0, 0});
            m_host.serveLibrary(byLibrary);
            (this->*transfer)();
        }
    }

    void bareCommand(const std::vector<std::uint8_t>& bytes) {
        sendToBus(0, kMasterId, 0, static_cast<std::uint8_t>(bytes.size()), bytes.data());
        m_host.await();
    }

    sim::VirtualBus m_bus;
    Host m_host;
    sim::CcpEcu m_ecu;
    std::unique_ptr<sim::BusPort> m_ecuPort;
    std::unique_ptr<sim::BusPort> m_hostPort;
    std::unique_ptr<CCP_MOUDLE::CcpProtoTransmit> m_master;
    std::array<std::uint8_t, kBlock> m_bytes{};
    std::size_t m_failures = 0;
};

struct Operation {
    const char* name;
    CcpBench::Transfer library;
    CcpBench::Transfer bare;
};

constexpr std::array<Operation, 2> kOperations = {{
    {"CCP upload", &CcpBench::upload, &CcpBench::bareUpload},
    {"CCP download", &CcpBench::download, &CcpBench::bareDownload},
}};

bench::Figure againstBareMaster(const Operation& operation, const BusForm& form) {
    CcpBench bench(form);
    return bench.orFailed(
        bench::compareInterleaved(bench.block(operation.library, true), bench.block(operation.bare, false)));
}

bench::Figure shareOfLimit(const Operation& operation, const BusForm& form) {
    CcpBench bench(form);
    const bench::Figure figure = bench::measured(bench.share(operation.library));
    return bench.orFailed(figure);
}

bool addCcpTransferRows() {
    for (const BusForm& form : kBuses) {
        for (const Operation& operation : kOperations) {
            const std::string name = std::string(operation.name) + ", " + form.name;
            bench::addRow({"P6", name, "a bare blocking master", "ns", bench::atMost(1.10),
                           [&operation, &form] { return againstBareMaster(operation, form); },
                           bench::Processors::All});
            bench::addRow({"P6", name + ", share of the limit", "", "", bench::atLeast(form.share),
                           [&operation, &form] { return shareOfLimit(operation, form); },
                           bench::Processors::All});
        }
    }
    return true;
}

[[maybe_unused]] const bool kAdded = addCcpTransferRows();

}  // namespace
