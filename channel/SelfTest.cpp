/// @file
/// The self-test of the channel interface.
#include "TalvexChannel.h"
#include "TalvexSelfTest.h"
#include "channel/ChannelRegistry.h"
#include "channel/SlaveCommand.h"
#include "platform/OwnThread.h"
#include "transport/StopFlag.h"

#include <array>
#include <atomic>
#include <chrono>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr std::uint8_t kCalPag = 1;
constexpr std::uint8_t kDaq = 4;
constexpr std::uint16_t kListCount = 4;
constexpr std::uint8_t kOdtCount = 5;
constexpr std::uint8_t kEntriesPerOdt = 3;
constexpr int kWaits = 1000;
constexpr std::chrono::milliseconds kWait{10};
constexpr std::uint32_t kFirstAddress = 0x40000000;
constexpr std::array<std::uint8_t, 4> kKey{0x11, 0x22, 0x33, 0x44};
constexpr std::array<std::uint8_t, 4> kUserData{0x00, 0x01, 0x00, 0x00};

/// The script. Every result but that of the slave's making is ignored: what it is for shows on the bus.
class Script {
public:
    Script(const EcuProtoCfg& cfg, const std::atomic<bool>& end) : m_cfg(cfg), m_end(end) {}

    void run() {
        if (!makeSlave()) {
            return;
        }
        openSession();
        unlock(kDaq);
        unlock(kCalPag);
        xcpGetStatus(m_slave, bytes(), size());
        readFacts();
        movePages();
        setUpList();
        xcpStartStopSynch(m_slave, 1, bytes(), size());
        for (int i = 0; i < kWaits && !m_end; ++i) {
            std::this_thread::sleep_for(kWait);
        }
        xcpDisconnect(m_slave, bytes(), size());
        xcpRemoveSlave(m_slave);
        xcpUninitialize(m_channel);
    }

private:
    std::uint8_t* bytes() { return m_buffer.data(); }
    static std::uint16_t size() { return 64; }

    bool makeSlave() {
        XcpCanChannelCfg channel{};
        channel.canChannel = m_cfg.canChannel;
        XcpSlaveCanCfg can{};
        can.masterId = m_cfg.canIdMaster;
        can.slaveId = m_cfg.canIdSlave;
        const XcpCfg& xcp = m_cfg.xcp;
        const XcpSlaveProtoCfg proto{
            xcp.t1, xcp.t2, xcp.t3, xcp.t4, xcp.t5, xcp.t6, xcp.t7, xcp.byteOrder, xcp.addressGranularity,
            0,      0,      0,      {}};
        xcpInitializeCan(&m_channel, channel);
        return xcpAddSlave(m_channel, can, proto, &m_slave) == XCP_MOUDLE::kStatusSuccess;
    }

    void openSession() {
        xcpConnect(m_slave, 0, bytes(), size());
        xcpGetCommModeInfo(m_slave, bytes(), size());
        xcpUserCommand(m_slave, 0x7E, kUserData.data(), kUserData.size(), bytes(), size());
        xcpGetStatus(m_slave, bytes(), size());
    }

    void unlock(std::uint8_t resource) {
        xcpGetSeed(m_slave, 0, resource, bytes(), size());
        xcpUnlock(m_slave, kKey.size(), kKey.data(), bytes(), size());
    }

    void readFacts() {
        xcpGetDaqResolutionInfo(m_slave, bytes(), size());
        xcpGetDaqProcessorInfo(m_slave, bytes(), size());
        for (std::uint16_t list = 0; list < kListCount; ++list) {
            const auto number = static_cast<std::uint8_t>(list);
            const std::array<std::uint8_t, 2> listBytes{number, 0};
            xcpGetDaqListInfo(m_slave, list, bytes(), size());
            xcpGetDaqEventInfo(m_slave, number, bytes(), size());
            xcpGetDaqListMode(m_slave, list, bytes(), size());
            xcpTransportLayerCommand(m_slave, 0xFE, listBytes.data(), listBytes.size(), bytes(), size());
        }
    }

    void movePages() {
        xcpGetCalibrationPage(m_slave, 0, 2, bytes(), size());
        xcpSetCalibrationPage(m_slave, 3, {0, 1}, bytes(), size());
    }

    void setUpList() {
        xcpStartStopSynch(m_slave, 0, bytes(), size());
        xcpClearDaqList(m_slave, 0, bytes(), size());
        xcpSetDaqListMode(m_slave, 10, {0, 0, 1, 0}, bytes(), size());
        xcpStartStopDaqList(m_slave, 2, 0, bytes(), size());
        std::uint32_t address = kFirstAddress;
        for (std::uint8_t odt = 0; odt < kOdtCount; ++odt) {
            xcpSetDaqPtr(m_slave, 0, odt, 0, bytes(), size());
            for (std::uint8_t entry = 0; entry < kEntriesPerOdt; ++entry) {
                xcpWriteDaqListEntry(m_slave, {255, 2, 0, address}, bytes(), size());
                address += 2;
            }
        }
    }

    EcuProtoCfg m_cfg;
    const std::atomic<bool>& m_end;
    std::uint16_t m_channel = 0;
    std::uint32_t m_slave = 0;
    std::array<std::uint8_t, 64> m_buffer{};
};

/// The threads of running self-tests; those that are over go with the next start. Made after what they use
/// and joined before it goes, so that a library that is unloaded in the middle of a test leaves nothing
/// behind.
class SelfTests {
public:
    SelfTests() { channelRegistry(); }

    SelfTests(const SelfTests&) = delete;
    SelfTests& operator=(const SelfTests&) = delete;

    ~SelfTests() {
        m_end = true;
        stopFlag().close();
        for (Run& run : m_runs) {
            run.thread.join();
        }
    }

    void start(EcuProtoCfg cfg) {
        const std::lock_guard lock(m_mutex);
        m_runs.remove_if(isOver);
        Run& run = m_runs.emplace_back();
        run.thread.start([this, &run, own = std::move(cfg)] {
            Script(own, m_end).run();
            run.done = true;
        });
    }

private:
    struct Run {
        std::atomic<bool> done = false;
        platform::OwnThread thread;
    };

    static bool isOver(Run& run) {
        if (run.done) {
            run.thread.join();
        }
        return run.done;
    }

    std::mutex m_mutex;  ///< guards m_runs
    std::list<Run> m_runs;
    std::atomic<bool> m_end = false;
};

SelfTests& selfTests() {
    static SelfTests tests;
    return tests;
}

}  // namespace

void xcpTest(EcuProtoCfg cfg) {
    selfTests().start(std::move(cfg));
}
