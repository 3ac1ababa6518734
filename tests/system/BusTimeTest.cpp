// What programming and short blocks cost on the bus: the frames that go in both directions, counted bit by
// bit.
#include "sim/BitTiming.h"
#include "tests/support/TempFolder.h"
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace systemtest {
namespace {

constexpr std::uint32_t kImageBase = 0x500000;
constexpr std::uint32_t kImageSize = 0x10000;

struct BusForm {
    const char* name;
    sim::BitRates rates;
    bool fd;
    sim::Time blocksOf70;  ///< nanoseconds of a download in such blocks; 0 for CAN FD
    sim::Time force;       ///< nanoseconds of a forced download
};

/// At 500 kbit/s a download of 64 KiB in blocks of 70 bytes takes SET_MTA and its answer of 8 and 1 bytes,
/// 111 and 55 bits; 936 blocks of 11 frames of 8 bytes, one of 6 bytes (95 bits) and an answer; and a block
/// of two frames of 8 bytes, one of 6 and an answer for the last 16 bytes. That is 1,283,794 bits of 2 us.
///
/// A forced download takes SET_CAL_PAGE (79 and 55 bits), PROGRAM_START (55 and 103), SET_MTA and
/// PROGRAM_CLEAR (111 and 55 each) and SET_MTA again; 312 blocks of 35 frames and an answer; two frames of 8
/// bytes, one of 6 and an answer; and PROGRAM_RESET (55 and 55). That is 1,230,552 bits.
///
/// With CAN FD a block of 210 bytes is three frames of 64 bytes, one of 32 and an answer, and the last 16
/// bytes a frame of 20.
constexpr std::array<BusForm, 4> kBuses = {{
    {"500k", {.nominal = 500'000, .data = 500'000}, false, 2'567'588'000, 2'461'104'000},
    {"1M", {.nominal = 1'000'000, .data = 1'000'000}, false, 1'283'794'000, 1'230'552'000},
    {"FD500k2M", {.nominal = 500'000, .data = 2'000'000}, true, 0, 401'437'500},
    {"FD1M8M", {.nominal = 1'000'000, .data = 8'000'000}, true, 0, 123'182'375},
}};

void PrintTo(const BusForm& form, std::ostream* out) {
    *out << form.name;
}

/// An ECU with one segment of data for the image, as a page of flash if @p inFlash is set.
EcuPair makePair(const BusForm& form, bool inFlash) {
    EcuPair pair = memoryEcu(!inFlash, form.fd);
    if (!inFlash) {
        forgetPages(pair);
    }
    mcMemoryInfo segment;
    segment.address = kImageBase;
    segment.length = kImageSize;
    segment.memoryType = 2;
    segment.pages.resize(inFlash ? 1 : 0);
    pair.cfg.dataSegments = {segment};
    sim::MemorySegment memory = sim::plainSegment(kImageBase, kImageSize);
    if (inFlash) {
        memory.access = sim::MemoryAccess::readOnly;
        memory.calibration = true;
        pair.ecu.memory[kDataSegment].calibration = pair.ecu.memory[kMoreDataSegment].calibration = false;
        pair.ecu.program.flash.sectors.push_back({.base = kImageBase, .size = kImageSize});
    }
    pair.ecu.memory.push_back(memory);
    return pair;
}

class BusTime : public testing::TestWithParam<BusForm> {
protected:
    /// Runs an operation and holds the time that its frames took on the bus against @p expected.
    template <typename Run>
    void expectTime(const EcuPair& pair, sim::Time expected, Run run) {
        sim::VirtualBusConfig config = fastBus();
        config.rates = GetParam().rates;
        MemoryBench bench(pair, config);
        const sim::BusCounters before = bench.bus.counters();
        sim::Time sum = 0;
        bench.bus.setMonitor([&](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
            sum += sim::duration(frame, GetParam().rates, sim::Stuffing::None);
        });
        run(bench);
        bench.bus.setMonitor(nullptr);
        EXPECT_EQ(sum, expected);
        EXPECT_EQ(bench.bus.counters().busy - before.busy, expected);
        EXPECT_EQ(bench.bus.now() - before.now, expected) << "bus time passed beside the frames";
        EXPECT_EQ(bench.ecu.read(kImageBase, 0, kImageSize), noise(kImageSize));
    }
};

using ClassicBusTime = BusTime;

TEST_P(ClassicBusTime, OfADownloadInBlocksOf70Bytes) {
    EcuPair pair = makePair(GetParam(), false);
    pair.ecu.maxBs = 10;
    pair.ecu.blockFrames = 12;  // a block of 10 times 7 bytes has 12 frames
    expectTime(pair, GetParam().blocksOf70, [](MemoryBench& bench) {
        ASSERT_EQ(bench.downloads(mcMemDataWorking, {{kImageBase, noise(kImageSize)}}), 0);
    });
}

TEST_P(BusTime, OfAForcedDownload) {
    const support::TempFolder folder;
    ASSERT_TRUE(SaveToHexFile({{kImageBase, noise(kImageSize)}}, folder.path("image.hex")));
    expectTime(makePair(GetParam(), true), GetParam().force,
               [&folder](MemoryBench& bench) { ASSERT_EQ(bench.forces(folder.path("image.hex")), 0); });
}

std::string nameOf(const testing::TestParamInfo<BusForm>& info) {
    return info.param.name;
}

bool isClassic(const BusForm& form) {
    return !form.fd;
}

std::vector<BusForm> classicBuses() {
    std::vector<BusForm> buses;
    std::copy_if(kBuses.begin(), kBuses.end(), std::back_inserter(buses), isClassic);
    return buses;
}

INSTANTIATE_TEST_SUITE_P(All, BusTime, testing::ValuesIn(kBuses), nameOf);
// Blocks of CAN FD are longer than 70 bytes.
INSTANTIATE_TEST_SUITE_P(All, ClassicBusTime, testing::ValuesIn(classicBuses()), nameOf);

}  // namespace
}  // namespace systemtest
