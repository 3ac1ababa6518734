// What the operations cost on the bus: the frames that go in both directions, counted bit by bit.
#include "sim/BitTiming.h"
#include "tests/system/BusHost.h"
#include "tests/system/EcuPair.h"

#include <TalvexSDK.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace systemtest {
namespace {

constexpr std::uint32_t kImageBase = 0x100000;
constexpr std::uint32_t kImageSize = 0x10000;
constexpr std::uint8_t kDownloadNext = 0xEF;

struct BusForm {
    const char* name;
    sim::BitRates rates;
    bool fd;
};

constexpr std::array<BusForm, 4> kBuses = {{
    {"500k", {.nominal = 500'000, .data = 500'000}, false},
    {"1M", {.nominal = 1'000'000, .data = 1'000'000}, false},
    {"FD500k2M", {.nominal = 500'000, .data = 2'000'000}, true},
    {"FD1M8M", {.nominal = 1'000'000, .data = 8'000'000}, true},
}};

/// An operation, and the nanoseconds that its frames take on each of the buses.
///
/// For example the upload of 64 KiB at 500 kbit/s: SET_MTA and its answer of 8 and 1 bytes are 111 and 55
/// bits; 257 blocks of 255 bytes take 36 UPLOADs of 7 bytes (63 and 111 bits) and one of 3 bytes (63 and 79),
/// and a last UPLOAD brings 1 byte (63 and 63). That is 1,646,634 bits of 2 us.
struct Operation {
    const char* name;
    void (*run)(BusHost& host, const EcuPair& pair);
    bool blockMode;
    bool imageInEcu;           ///< from the start
    std::uint32_t imageBytes;  ///< of the image that the ECU holds in the end
    std::array<std::uint64_t, kBuses.size()> costs;
};

void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

std::vector<std::uint8_t> makeImage() {
    std::vector<std::uint8_t> image(kImageSize);
    for (std::size_t i = 0; i < image.size(); ++i) {
        image[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    }
    return image;
}

void upload(BusHost& host, const EcuPair& /*pair*/) {
    UploadFromEcuMem("ecu", mcMemCode);
    ASSERT_EQ(host.awaitResult(kUpload).result, 0);
    const std::vector<mcMemoryData> data = host.memoryData();
    ASSERT_EQ(data.size(), 1U);
    EXPECT_EQ(data[0].data, makeImage());
}

void download(BusHost& host, const EcuPair& /*pair*/) {
    DownToEcuMem("ecu", mcMemDataWorking, {mem_buf{kImageBase, makeImage()}});
    ASSERT_EQ(host.awaitResult(kDownload).result, 0);
}

void read(BusHost& host, const EcuPair& pair, const std::string& name) {
    MeasureVars("ecu", {variableOf(pair, name)});
    ASSERT_EQ(host.awaitResult(kMeasureVars).result, 0);
    EXPECT_EQ(host.proofOf("ecu").polled(name), 1U);
}

void readFour(BusHost& host, const EcuPair& pair) {
    read(host, pair, "four");
}

void readEight(BusHost& host, const EcuPair& pair) {
    read(host, pair, "eight");
}

void writeFour(BusHost& host, const EcuPair& /*pair*/) {
    mcMeasureVariable variable;
    variable.name = "written";
    variable.address = kImageBase;
    variable.size = 4;
    const std::vector<std::uint8_t> image = makeImage();
    CalibrationVar("ecu", variable, {image.begin(), image.begin() + 4});
    ASSERT_EQ(host.awaitResult(kCalibrate).result, 0);
}

const Operation kOperations[] = {
    {"Upload", upload, false, true, kImageSize, {3'293'268'000, 1'646'634'000, 471'945'000, 155'309'250}},
    {"UploadInBlocks",
     upload,
     true,
     true,
     kImageSize,
     {2'127'516'000, 1'063'758'000, 387'135'000, 119'200'750}},
    {"Download",
     download,
     false,
     false,
     kImageSize,
     {5'468'008'000, 2'734'004'000, 599'980'500, 210'373'125}},
    {"DownloadInBlocks",
     download,
     true,
     false,
     kImageSize,
     {2'469'840'000, 1'234'920'000, 394'331'000, 120'999'750}},
    {"ReadOfFourBytes", readFour, false, false, 0, {396'000, 198'000, 201'000, 79'250}},
    {"ReadOfEightBytes", readEight, false, false, 0, {932'000, 466'000, 390'000, 155'500}},
    {"WriteOfFourBytes", writeFour, false, false, 4, {632'000, 316'000, 362'000, 148'500}},
};

EcuPair makePair(const BusForm& bus, bool blockMode) {
    EcuPair pair = bus.fd ? fdEcu("ecu", 64) : classicEcu("ecu");
    pair.cfg.xcp.statusPeriodMs = 0;
    addCounter(pair, "four", 0);
    addSignal(
        pair,
        {.name = "eight", .type = sim::SignalType::f64, .kind = sim::SignalKind::constant, .offset = 3.25});
    mcMemoryInfo segment;
    segment.address = kImageBase;
    segment.length = kImageSize;
    pair.cfg.codeSegments = pair.cfg.dataSegments = {segment};
    pair.ecu.memory.push_back(sim::plainSegment(kImageBase, kImageSize));
    if (blockMode) {
        pair.cfg.supportedCmds.insert(kDownloadNext);
        pair.cfg.xcp.useSlaveBlockMode = pair.cfg.xcp.useMasterBlockMode = 1;
        pair.ecu.slaveBlockMode = pair.ecu.masterBlockMode = true;
        pair.ecu.maxBs = 43;  // frames, enough for the 255 bytes of the longest block
    }
    return pair;
}

/// An operation and the number of a bus.
using Limit = std::tuple<Operation, std::size_t>;

class SequenceLimits : public testing::TestWithParam<Limit> {};

TEST_P(SequenceLimits, AreTheSumOfTheFramesThatWereExchanged) {
    const auto& [operation, column] = GetParam();
    const BusForm& form = kBuses[column];
    const EcuPair pair = makePair(form, operation.blockMode);
    BusHost host;
    sim::VirtualBusConfig config = fastBus();
    config.rates = form.rates;
    sim::VirtualBus& bus = host.addBus(config);
    sim::XcpEcu& ecu = host.addEcu(pair);
    if (operation.imageInEcu) {
        ASSERT_TRUE(ecu.write(kImageBase, 0, makeImage()));
    }
    ASSERT_EQ(host.connects({"ecu"}), 0);

    const sim::BusCounters before = bus.counters();
    sim::Time sum = 0;
    bus.setMonitor([&](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
        sum += sim::duration(frame, form.rates, sim::Stuffing::None);
    });
    operation.run(host, pair);
    bus.setMonitor(nullptr);
    EXPECT_EQ(sum, operation.costs[column]);
    EXPECT_EQ(bus.counters().busy - before.busy, operation.costs[column]);
    EXPECT_EQ(bus.now() - before.now, operation.costs[column]) << "bus time passed beside the frames";
    std::vector<std::uint8_t> expected = makeImage();
    expected.resize(operation.imageBytes);
    EXPECT_EQ(ecu.read(kImageBase, 0, operation.imageBytes), expected);
}

std::string nameOfLimit(const testing::TestParamInfo<Limit>& info) {
    const auto& [operation, column] = info.param;
    return std::string(operation.name) + "At" + kBuses[column].name;
}

INSTANTIATE_TEST_SUITE_P(All, SequenceLimits,
                         testing::Combine(testing::ValuesIn(kOperations),
                                          testing::Range(std::size_t{0}, kBuses.size())),
                         nameOfLimit);

}  // namespace
}  // namespace systemtest
