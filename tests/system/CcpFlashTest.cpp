// Erasing, programming and checking the flash of a simulated CCP ECU.
#include "tests/support/TempFolder.h"
#include "tests/system/CcpMemoryBench.h"

#include <gtest/gtest.h>

#include <string>

namespace systemtest {
namespace {

using sim::ByteOrder;

constexpr int kOther = 73;
constexpr int kNothingInRange = 29;
constexpr int kNoTaskCmd = 1;
constexpr std::uint8_t kSelectCalPage = 0x11;
constexpr std::uint8_t kProgramCode = 0x18;
constexpr std::uint8_t kProgram6Code = 0x22;
constexpr std::uint8_t kClearMemoryCode = 0x10;

/// Clears the code of the ECU, whatever its byte order.
void erasesCode(CcpMemoryBench& bench, CcpPair pair) {
    pair.twin.cfg.codeSegments[0].length = clearSize(pair, kCodeSize);
    bench.reconfigures(pair);
    ASSERT_EQ(bench.erases(mcMemCode), 0);
    bench.expected.clear(kCodeBase, kCodeSize);
    bench.expected.expectIn(bench.ecu);
}

class CcpFlashOrders : public testing::TestWithParam<ByteOrder> {
protected:
    [[nodiscard]] static CcpPair makePair() {
        CcpPair pair = ccpMemoryEcu();
        setByteOrder(pair, GetParam());
        return pair;
    }

    std::string image(const std::list<mem_buf>& blocks) {
        EXPECT_TRUE(SaveToHexFile(blocks, m_folder.path("image.hex")));
        return m_folder.path("image.hex");
    }

    support::TempFolder m_folder;
};

INSTANTIATE_TEST_SUITE_P(All, CcpFlashOrders, testing::Values(ByteOrder::intel, ByteOrder::motorola),
                         [](const auto& order) {
                             return order.param == ByteOrder::intel ? "LittleEndian" : "BigEndian";
                         });

TEST_P(CcpFlashOrders, CodeIsErasedProgrammedAndChecked) {
    const CcpPair pair = makePair();
    CcpMemoryBench bench(pair);
    erasesCode(bench, pair);
    bench.reconfigures(pair);
    const Bytes code = noise(kCodeSize - 0x123, 3);
    const std::list<mem_buf> blocks = {{kCodeBase + 0x10, code}, {kCodeBase + kCodeSize, noise(7)}};
    ASSERT_EQ(bench.downloads(mcMemCode, blocks), 0);
    bench.expected.put(kCodeBase + 0x10, code);
    bench.expected.expectIn(bench.ecu);
    expectRisingTo100(CcpMemoryBench::takeProgress(kDownloadPercent));
    EXPECT_EQ(bench.ecu.counters().commands[kProgram6Code], 0U);
    ASSERT_EQ(bench.checks(mcMemCode, blocks), 0);
    EXPECT_EQ(bench.host.memoryData().size(), 2U);
}

TEST_P(CcpFlashOrders, AnImageIsForcedIntoTheFlashInGroupsOfSix) {
    CcpPair pair = makePair();
    makeForcible(pair);
    CcpMemoryBench bench(pair);
    const Bytes data = noise(100, 4);
    CcpPair swapped = pair;
    swapped.twin.cfg.dataSegments[0].length = clearSize(pair, kCcpPageSize);
    if (GetParam() == ByteOrder::motorola) {
        // The size that is cleared is also the size of the segment that cuts the image: 0x80000 bytes here.
        ASSERT_EQ(swapped.twin.cfg.dataSegments[0].length, 0x00080000U);
        bench.reconfigures(swapped);
    }
    ASSERT_EQ(bench.forces(image({{kCcpReferencePage, data}})), 0);
    bench.expected.clear(kCcpReferencePage, kCcpPageSize);
    bench.expected.put(kCcpReferencePage, data);
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.ecu.counters().commands[kProgram6Code], 16U);
    EXPECT_EQ(bench.ecu.counters().commands[kProgramCode], 1U) << "the last 4 bytes";
}

class CcpForcedFlash : public testing::Test {
protected:
    CcpForcedFlash() { makeForcible(m_pair); }

    std::string image(const std::list<mem_buf>& blocks) {
        EXPECT_TRUE(SaveToHexFile(blocks, m_folder.path("image.hex")));
        return m_folder.path("image.hex");
    }

    CcpPair m_pair = ccpMemoryEcu();
    support::TempFolder m_folder;
};

TEST_F(CcpForcedFlash, ClosesTheGapsOfItsImage) {
    CcpMemoryBench bench(m_pair);
    const Bytes all = noise(12, 5);
    ASSERT_EQ(bench.forces(image({{kCcpReferencePage, Bytes(all.begin(), all.begin() + 4)},
                                  {kCcpReferencePage + 0x40, Bytes(all.begin() + 4, all.end())}})),
              0);
    bench.expected.clear(kCcpReferencePage, kCcpPageSize);
    bench.expected.put(kCcpReferencePage, all);
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.ecu.counters().commands[kProgram6Code], 2U);
    EXPECT_EQ(bench.ecu.counters().commands[kProgramCode], 0U);
}

/// The image goes on from the address that was set last. With page commands that is the working page.
TEST_F(CcpForcedFlash, GoesToTheWorkingPageIfTheHostSelectsIt) {
    m_pair.twin.cfg.supportedCmds.insert(kSelectCalPage);
    CcpMemoryBench bench(m_pair);
    ASSERT_EQ(bench.forces(image({{kCcpReferencePage, noise(12)}})), 0) << "no refusal shows";
    bench.expected.clear(kCcpReferencePage, kCcpPageSize);
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.host.logCount(3, "Access denied"), 1U) << "RAM cannot be programmed";

    m_pair.twin.cfg.ccp.workingPageAddress = kCcpReferencePage;
    bench.reconfigures(m_pair);
    ASSERT_EQ(bench.forces(image({{kCcpReferencePage, noise(12)}})), 0);
    bench.expected.put(kCcpReferencePage, noise(12));
    bench.expected.expectIn(bench.ecu);
}

TEST_F(CcpForcedFlash, FailsWithItsCodes) {
    CcpMemoryBench bench(m_pair);
    EXPECT_EQ(bench.forces("nowhere.hex"), kOther);
    bench.expected.clear(kCcpReferencePage, kCcpPageSize);
    bench.expected.expectIn(bench.ecu);
    EXPECT_EQ(bench.forces(image({{kCodeBase, {1, 2, 3}}})), kNothingInRange);
    bench.expected.expectIn(bench.ecu);
    m_pair.twin.cfg.ccp.unlockMask = 0xFF;
    bench.reconfigures(m_pair);
    EXPECT_EQ(bench.forces(image({{kCcpReferencePage, {1, 2, 3}}})), kNoTaskCmd)
        << "a seed for several resources at once";
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpFlash, ThatIsLockedIsOpenedByItsKey) {
    CcpPair pair = ccpMemoryEcu();
    addLock(pair, sim::ccp::kPgm);
    pair.twin.cfg.seedkey_path.clear();
    CcpMemoryBench bench(pair);
    EXPECT_EQ(bench.erases(mcMemCode), 0) << "no refusal shows";
    EXPECT_EQ(bench.host.logCount(4, "CLEAR_MEMORY failed"), 1U);
    bench.expected.expectIn(bench.ecu);
    pair.twin.cfg.seedkey_path = kKeyLibrary;
    erasesCode(bench, pair);
}

TEST(CcpFlash, ThatWasNotErasedIsNotProgrammed) {
    CcpMemoryBench bench(ccpMemoryEcu());
    EXPECT_EQ(bench.downloads(mcMemCode, {{kCodeBase, Bytes(5, 0xFF)}}), 0) << "no refusal shows";
    EXPECT_EQ(bench.host.logCount(3, "Access denied"), 1U);
    bench.expected.expectIn(bench.ecu);
}

TEST(CcpFlash, ThatIsSlowAnswersLate) {
    CcpPair pair = ccpMemoryEcu();
    pair.ecu.flash.clearTime = 40'000'000;
    pair.ecu.flash.programTime = 2'000'000;
    pair.twin.cfg.ccp.timeoutMs = 0;  // 30 s to clear, 100 ms to program
    CcpMemoryBench bench(pair);
    const sim::Time before = bench.bus.now();
    erasesCode(bench, pair);
    ASSERT_EQ(bench.downloads(mcMemCode, {{kCodeBase, noise(500)}}), 0);
    bench.expected.put(kCodeBase, noise(500));
    bench.expected.expectIn(bench.ecu);
    EXPECT_GE(bench.bus.now() - before, kCodeSize / kSectorSize * 40'000'000ULL + 100 * 2'000'000ULL);
}

/// Each command but the first meets a flash that is at work, and goes out once more after a pause.
TEST(CcpFlash, ThatIsBusyIsAskedAgain) {
    CcpPair pair = ccpMemoryEcu();
    pair.ecu.busy = sim::CcpBusy::refused;
    pair.ecu.flash.programTime = 35'000'000;
    pair.twin.cfg.ccp.retryDelayMs = 40;
    forgetPages(pair);
    CcpMemoryBench bench(pair, realTimeBus());
    erasesCode(bench, pair);
    ASSERT_EQ(bench.downloads(mcMemCode, {{kCodeBase, noise(30)}}), 0);
    bench.expected.put(kCodeBase, noise(30));
    bench.expected.expectIn(bench.ecu);
    EXPECT_GT(bench.ecu.counters().commands[kProgramCode], 6U);
    EXPECT_EQ(bench.ecu.counters().commands[kClearMemoryCode], 1U);
}

}  // namespace
}  // namespace systemtest
