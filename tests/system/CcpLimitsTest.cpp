// What the operations of CCP cost on the bus: the frames that go in both directions, counted bit by bit.
#include "sim/BitTiming.h"
#include "tests/support/TempFolder.h"
#include "tests/system/CcpStation.h"
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>

namespace systemtest {
namespace {

constexpr std::uint32_t kImageBase = 0x100000;
constexpr std::uint32_t kImageSize = 0x10000;
constexpr std::uint8_t kProgram = 0x18;
constexpr std::uint8_t kProgram6 = 0x22;

const Bytes& image() {
    static const Bytes bytes = noise(kImageSize, 31);
    return bytes;
}

struct Exchange {
    BusHost& host;
    sim::CcpEcu& ecu;
    const CcpPair& pair;
};

/// An operation, and the bits of its frames, commands as short as they are or filled up to 8 bytes. Each
/// frame of n bytes takes 47 + 8 n bits; all answers have 8 bytes, 111 bits.
///
/// For example the upload of 64 KiB: SET_MTA has 8 bytes (222 bits with its answer); 16 steps of 4096 bytes
/// take 819 UPLOADs of 5 bytes (8 in the frame, 222 bits) and one of 1 byte (4 in the frame, 190 bits). That
/// is 2,912,350 bits, or 5.825 s at 500 kbit/s. Filled up, the last of each step has 222 bits as well.
struct Operation {
    const char* name;
    void (*run)(const Exchange& exchange);
    bool imageInEcu;  ///< from the start
    std::uint64_t bits;
    std::uint64_t paddedBits;
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

void upload(const Exchange& exchange) {
    UploadFromEcuMem("ecu", mcMemCode);
    ASSERT_EQ(exchange.host.awaitResult(kUpload).result, 0);
    const std::vector<mcMemoryData> data = exchange.host.memoryData();
    ASSERT_EQ(data.size(), 1U);
    EXPECT_EQ(data[0].data, image());
}

void download(const Exchange& exchange) {
    DownToEcuMem("ecu", mcMemDataWorking, {mem_buf{kImageBase, image()}});
    ASSERT_EQ(exchange.host.awaitResult(kDownload).result, 0);
    EXPECT_EQ(exchange.ecu.read(kImageBase, 0, kImageSize), image());
}

void force(const Exchange& exchange) {
    const support::TempFolder folder;
    ASSERT_TRUE(SaveToHexFile({{kImageBase, image()}}, folder.path("image.hex")));
    ForceDataDownToEcu("ecu", folder.path("image.hex"));
    ASSERT_EQ(exchange.host.awaitResult(kForce).result, 0);
    EXPECT_EQ(exchange.ecu.read(kImageBase, 0, kImageSize), image());
}

void read(const Exchange& exchange, const std::string& name) {
    MeasureVars("ecu", {variableOf(exchange.pair.twin, name)});
    ASSERT_EQ(exchange.host.awaitResult(kMeasureVars).result, 0);
    EXPECT_EQ(exchange.host.proofOf("ecu").polled(name), 1U);
}

void readFour(const Exchange& exchange) {
    read(exchange, "four");
}

void readEight(const Exchange& exchange) {
    read(exchange, "eight");
}

void writeFour(const Exchange& exchange) {
    mcMeasureVariable variable;
    variable.name = "written";
    variable.address = kScratchBase;
    variable.size = 4;
    CalibrationVar("ecu", variable, {1, 2, 3, 4});
    ASSERT_EQ(exchange.host.awaitResult(kCalibrate).result, 0);
    EXPECT_EQ(exchange.ecu.read(kScratchBase, 0, 4), (Bytes{1, 2, 3, 4}));
}

const Operation kOperations[] = {
    {"Upload", upload, true, 2'912'350, 2'912'862},
    // 257 times SET_MTA and 51 DNLOADs of 5 bytes, then SET_MTA and DNLOAD of 1 byte.
    {"Download", download, false, 2'967'220, 2'967'252},
    // GET_SEED, SET_MTA, CLEAR_MEMORY, 10,922 times PROGRAM_6, PROGRAM of 4 bytes.
    {"Force", force, false, 2'425'508, 2'425'572},
    {"ReadOfFourBytes", readFour, false, 222, 222},    // SHORT_UP
    {"ReadOfEightBytes", readEight, false, 650, 666},  // SET_MTA, UPLOAD of 5 and of 3 bytes
    {"WriteOfFourBytes", writeFour, false, 436, 444},  // SET_MTA, DNLOAD
};

CcpPair makePair(bool padded) {
    CcpPair pair = ccpEcu("ecu");
    EcuProtoCfg& cfg = pair.twin.cfg;
    cfg.padFrames = padded ? 1 : 0;
    cfg.ccp.statusPeriodMs = 0;
    cfg.ccp.unlockMask = sim::ccp::kPgm;
    addCounter(pair.twin, "four", 0);
    addSignal(
        pair.twin,
        {.name = "eight", .type = sim::SignalType::f64, .kind = sim::SignalKind::constant, .offset = 3.25});
    mcMemoryInfo segment;
    segment.address = kImageBase;
    segment.length = kImageSize;
    cfg.codeSegments = cfg.dataSegments = {segment};
    pair.ecu.memory.push_back(sim::plainSegment(kImageBase, kImageSize));
    pair.ecu.flash.sectors = {{.base = kImageBase, .size = kImageSize}};
    return pair;
}

/// An operation, the rate of the bus in kbit/s, and whether commands are filled up.
using Limit = std::tuple<Operation, std::uint32_t, bool>;

class CcpSequenceLimits : public testing::TestWithParam<Limit> {
protected:
    static constexpr std::uint64_t kNsPerMs = 1'000'000;

    CcpSequenceLimits() {
        sim::VirtualBusConfig config = fastBus();
        config.rates.nominal = std::get<1>(GetParam()) * 1'000;
        m_rates = config.rates;
        m_bus = &m_host.addBus(config);
    }

    /// Nanoseconds that @p bits take.
    static sim::Time timeOf(std::uint64_t bits) { return bits * kNsPerMs / std::get<1>(GetParam()); }

    BusHost m_host;
    sim::VirtualBus* m_bus = nullptr;
    sim::BitRates m_rates;
};

TEST_P(CcpSequenceLimits, AreTheSumOfTheFramesThatWereExchanged) {
    const Operation& operation = std::get<0>(GetParam());
    const bool padded = std::get<2>(GetParam());
    const CcpPair pair = makePair(padded);
    CcpStation station(m_host, *m_bus, pair);
    if (operation.imageInEcu) {
        ASSERT_TRUE(station.ecu.write(kImageBase, 0, image()));
    }
    ASSERT_EQ(m_host.connects({"ecu"}), 0);

    const sim::BusCounters before = m_bus->counters();
    sim::Time sum = 0;
    m_bus->setMonitor([&](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
        sum += sim::duration(frame, m_rates, sim::Stuffing::None);
    });
    operation.run({m_host, station.ecu, pair});
    m_bus->setMonitor(nullptr);
    const sim::Time expected = timeOf(padded ? operation.paddedBits : operation.bits);
    EXPECT_EQ(sum, expected);
    EXPECT_EQ(m_bus->counters().busy - before.busy, expected);
    EXPECT_EQ(m_bus->now() - before.now, expected) << "bus time passed beside the frames";
}

std::string nameOfLimit(const testing::TestParamInfo<Limit>& info) {
    const auto& [operation, rate, padded] = info.param;
    return operation.name + std::string(padded ? "Padded" : "") + "At" + std::to_string(rate) + "k";
}

INSTANTIATE_TEST_SUITE_P(All, CcpSequenceLimits,
                         testing::Combine(testing::ValuesIn(kOperations), testing::Values(500U, 1'000U),
                                          testing::Bool()),
                         nameOfLimit);

/// The stream of a forced download alone, without what goes ahead of it.
TEST(CcpForcedStream, Of64KiBIsTenThousandNineHundredAndTwentyThreePairsOfFrames) {
    const CcpPair pair = makePair(true);
    BusHost host;
    sim::VirtualBus& bus = host.addBus(fastBus());
    CcpStation station(host, bus, pair);
    ASSERT_EQ(host.connects({"ecu"}), 0);
    std::uint64_t pairs = 0;
    sim::Time first = 0;
    sim::Time last = 0;
    bus.setMonitor([&](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time end) {
        const bool programs = frame.data[0] == kProgram || frame.data[0] == kProgram6;
        if (frame.id == pair.ecu.croId && programs) {
            first = pairs == 0 ? end - sim::duration(frame, {}, sim::Stuffing::None) : first;
            ++pairs;
        }
        last = end;
    });
    force({host, station.ecu, pair});
    bus.setMonitor(nullptr);
    EXPECT_EQ(pairs, 10'923U);
    EXPECT_EQ(last - first, 4'849'812'000U) << "10,923 times 222 bits of 2 us";
}

}  // namespace
}  // namespace systemtest
