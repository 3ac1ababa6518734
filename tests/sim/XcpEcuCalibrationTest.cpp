// Writing memory and switching pages of the simulated XCP ECU.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

XcpEcuConfig blockEcu() {
    XcpEcuConfig config = smallEcu();
    config.masterBlockMode = true;
    config.maxBs = 3;
    config.minSt = 2;
    return config;
}

/// Segment 0: pages RAM and flash at 0x5000. Segment 1: one RAM page of another size at 0x6000.
XcpEcuConfig pagedEcu() {
    XcpEcuConfig config = smallEcu();
    MemorySegment first = plainSegment(0x5000, 4);
    first.calibration = true;
    first.pages[0].bytes = {1, 2, 3, 4};
    first.pages.push_back(
        MemoryPage{.bytes = {5, 6, 7, 8}, .toolWritable = false, .properties = 0x0F, .initSegment = 1});
    MemorySegment second = plainSegment(0x6000, 8, MemoryAccess::readWrite, 2);
    second.calibration = true;
    config.memory.push_back(first);
    config.memory.push_back(second);
    return config;
}

std::string memoryOf(Bench& bench, std::uint32_t address, std::size_t size) {
    return textOf(bench.ecu.read(address, 0, size));
}

// Download

TEST(XcpEcuDownload, WritesAtTheMtaAndMovesItOn) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.setUp({"f6 00 00 00 10 10 00 00", "f0 06 a1 a2 a3 a4 a5 a6", "f0 01 a7 55 55 55 55 55"}),
              "");
    EXPECT_EQ(memoryOf(bench, 0x1010, 8), "a1 a2 a3 a4 a5 a6 a7 17");
}

TEST(XcpEcuDownload, RefusesWrongCountsAndMissingBytes) {
    Session bench(smallEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    EXPECT_EQ(bench.ask("f0 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f0 07 00 00 00 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("f0 03 01 02"), "fe 21");
    EXPECT_EQ(bench.ask("f0 01"), "fe 21");
    EXPECT_EQ(memoryOf(bench, 0x1010, 3), "10 11 12");
}

TEST(XcpEcuDownload, RefusesProtectedAndMissingMemory) {
    Session bench(smallEcu());
    bench.ask("f6 00 00 00 00 20 00 00");
    EXPECT_EQ(bench.ask("f0 01 01"), "fe 23");
    bench.ask("f6 00 00 00 00 30 00 00");
    EXPECT_EQ(bench.ask("f0 01 01"), "fe 24");
    bench.ask("f6 00 00 00 ff 10 00 00");
    EXPECT_EQ(bench.ask("f0 02 01 02"), "fe 24");
    EXPECT_EQ(memoryOf(bench, 0x10FF, 1), "ff");
}

TEST(XcpEcuDownload, CannotWriteATextThatWasLeftForUpload) {
    Session bench(smallEcu());
    bench.ask("d7 00 00 00");
    EXPECT_EQ(bench.ask("f0 01 01"), "fe 24");
}

TEST(XcpEcuDownload, OfWordsAndDoubleWordsAlignsItsData) {
    Session words(smallEcu(2));
    words.ask("f6 00 00 00 01 10 00 00");
    EXPECT_EQ(words.ask("f0 03 a1 a2 a3 a4 a5 a6"), "ff");
    EXPECT_EQ(words.ask("f0 04 a1 a2 a3 a4 a5 a6"), "fe 22");
    EXPECT_EQ(words.ask("f5 01"), "ff 00 08 09");
    EXPECT_EQ(memoryOf(words, 0x1001, 8), "a1 a2 a3 a4 a5 a6 08 09");
    Session doubles(smallEcu(4));
    doubles.ask("f6 00 00 00 01 10 00 00");
    EXPECT_EQ(doubles.ask("f0 01 00 00 a1 a2 a3 a4"), "ff");
    EXPECT_EQ(doubles.ask("f0 02 00 00 a1 a2 a3 a4"), "fe 22");
    EXPECT_EQ(memoryOf(doubles, 0x1001, 8), "a1 a2 a3 a4 08 09 0a 0b");
}

TEST(XcpEcuDownloadMax, FillsAWholeCommand) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.setUp({"f6 00 00 00 10 10 00 00", "ee a1 a2 a3 a4 a5 a6 a7"}), "");
    EXPECT_EQ(memoryOf(bench, 0x1010, 8), "a1 a2 a3 a4 a5 a6 a7 17");
    EXPECT_EQ(bench.ask("ee a1 a2"), "fe 21");
    Session doubles(smallEcu(4));
    EXPECT_EQ(doubles.setUp({"f6 00 00 00 01 10 00 00", "ee 00 00 00 a1 a2 a3 a4"}), "");
    EXPECT_EQ(memoryOf(doubles, 0x1001, 5), "a1 a2 a3 a4 08");
}

TEST(XcpEcuShortDownload, CarriesItsAddressWhereThereIsRoom) {
    XcpEcuConfig config = motorola(smallEcu());
    EXPECT_EQ(Session(config).ask("ed 01 00 00 00 00 10 10"), "fe 22") << "no room in eight bytes";
    config.fd = true;
    config.maxCto = 12;
    Session bench(config);
    EXPECT_EQ(bench.ask("ed 04 00 00 00 00 10 10 a1 a2 a3 a4"), "ff");
    EXPECT_EQ(bench.ask("f0 01 a5"), "ff");
    EXPECT_EQ(memoryOf(bench, 0x1010, 6), "a1 a2 a3 a4 a5 15");
    EXPECT_EQ(bench.ask("ed 05 00 00 00 00 10 10 a1 a2 a3 a4 a5 a6 a7 a8"), "fe 22");
    EXPECT_EQ(bench.ask("ed 02 00 00 00 00 10 10 a1"), "fe 21");
    EXPECT_EQ(bench.ask("ed 00 00 00 00 00 10 10"), "fe 22");
}

TEST(XcpEcuModifyBits, ClearsThenFlipsAndLeavesTheMta) {
    Session bench(smallEcu());
    ASSERT_TRUE(bench.ecu.write(0x1010, 0, bytesOf("ff ff 00 00")));
    // AND with 0xFFF0 and XOR with 0x0105, both shifted by 8
    EXPECT_EQ(bench.setUp({"f6 00 00 00 10 10 00 00", "ec 08 f0 ff 05 01"}), "");
    EXPECT_EQ(memoryOf(bench, 0x1010, 4), "ff f5 01 00");
    EXPECT_EQ(bench.ask("f5 01"), "ff ff");
}

TEST(XcpEcuModifyBits, TakesMotorolaMasksAndValues) {
    Session bench(motorola(smallEcu()));
    ASSERT_TRUE(bench.ecu.write(0x1010, 0, bytesOf("00 00 12 34")));
    EXPECT_EQ(bench.setUp({"f6 00 00 00 00 00 10 10", "ec 00 ff 0f 03 02"}), "");
    EXPECT_EQ(memoryOf(bench, 0x1010, 4), "00 00 11 06");
}

TEST(XcpEcuModifyBits, RefusesWideShiftsAndProtectedMemory) {
    Session bench(smallEcu());
    bench.ask("f6 00 00 00 00 20 00 00");
    EXPECT_EQ(bench.ask("ec 20 ff ff 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("ec 00 ff ff 00 00"), "fe 23");
    bench.ask("f6 00 00 00 00 40 00 00");
    EXPECT_EQ(bench.ask("ec 00 ff ff 00 00"), "fe 24");
    EXPECT_EQ(bench.ask("ec 00 ff ff 00"), "fe 21");
}

// Block mode

TEST(XcpEcuBlockDownload, AnswersOnceAtItsEnd) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    EXPECT_EQ(bench.ask("f0 0e a1 a2 a3 a4 a5 a6"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 08 a7 a8 a9 aa ab ac"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 02 ad ae"), "ff");
    EXPECT_EQ(memoryOf(bench, 0x1010, 15), "a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae 1e");
}

TEST(XcpEcuBlockDownload, OfMoreThanMaxBsFramesIsRefusedAtItsEnd) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    EXPECT_EQ(bench.ask("f0 13 a1 a2 a3 a4 a5 a6"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 0d a7 a8 a9 aa ab ac"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 07 ad ae af b0 b1 b2"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 01 b3"), "fe 29 00");
    EXPECT_EQ(memoryOf(bench, 0x1010, 2), "10 11");
}

TEST(XcpEcuBlockDownload, OfAsManyFramesAsTheEcuReallyTakesIsFine) {
    XcpEcuConfig config = blockEcu();
    config.maxBs = 1;
    config.blockFrames = 2;
    config.minSt = 0;
    Session bench(config);
    EXPECT_EQ(bench.ask("fb"), "ff 00 01 00 01 00 00 10");
    bench.ask("f6 00 00 00 10 10 00 00");
    bench.ask("f0 07 a1 a2 a3 a4 a5 a6");
    EXPECT_EQ(bench.ask("ef 01 a7"), "ff");
    EXPECT_EQ(memoryOf(bench, 0x1010, 8), "a1 a2 a3 a4 a5 a6 a7 17");
}

TEST(XcpEcuBlockDownload, WithAWrongCountTellsTheOneExpected) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    bench.ask("f0 0e a1 a2 a3 a4 a5 a6");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 02 a7 a8"), "fe 29 08");
    EXPECT_EQ(bench.ask("ef 08 a7 a8 a9 aa ab ac"), "fe 29 00") << "the block is forgotten";
    EXPECT_EQ(memoryOf(bench, 0x1010, 2), "10 11");
}

TEST(XcpEcuBlockDownload, FasterThanMinStIsRefusedAtItsEnd) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    bench.ask("f0 0d a1 a2 a3 a4 a5 a6");
    bench.pass(199'999);
    EXPECT_EQ(bench.ask("ef 07 a7 a8 a9 aa ab ac"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 01 ad"), "fe 29 00");
    EXPECT_EQ(memoryOf(bench, 0x1010, 2), "10 11");
}

TEST(XcpEcuBlockDownload, AtExactlyMinStIsFine) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    bench.ask("f0 07 a1 a2 a3 a4 a5 a6");
    bench.pass(200'000);
    EXPECT_EQ(bench.ask("ef 01 a7"), "ff");
}

TEST(XcpEcuBlockDownload, IsForgottenWithAnyOtherCommand) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    bench.ask("f0 0e a1 a2 a3 a4 a5 a6");
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    EXPECT_EQ(bench.ask("ef 08 a7 a8 a9 aa ab ac"), "fe 29 00");
}

TEST(XcpEcuBlockDownload, ThatLacksBytesIsASyntaxError) {
    Session bench(blockEcu());
    bench.ask("f6 00 00 00 10 10 00 00");
    EXPECT_EQ(bench.ask("f0 0e a1 a2 a3"), "fe 21");
    EXPECT_EQ(bench.ask("ef 08 a7 a8 a9 aa ab ac"), "fe 29 00");
}

TEST(XcpEcuBlockDownload, IsUnknownWithoutBlockMode) {
    EXPECT_EQ(Session(smallEcu()).ask("ef 01 00"), "fe 20");
}

// Pages

TEST(XcpEcuPaging, TellsSegmentsAndPages) {
    XcpEcuConfig config = pagedEcu();
    config.freezeSupported = true;
    Session bench(config);
    EXPECT_EQ(bench.ask("e9"), "ff 02 01");
    EXPECT_EQ(bench.ask("e8 00 00 00 00"), "ff 00 00 00 00 50 00 00");
    EXPECT_EQ(bench.ask("e8 00 00 01 00"), "ff 00 00 00 04 00 00 00");
    EXPECT_EQ(bench.ask("e8 01 00 00 00"), "ff 02 00 00 00 00");
    EXPECT_EQ(bench.ask("e8 01 01 00 00"), "ff 01 02 00 00 00");
    EXPECT_EQ(bench.ask("e7 00 00 00"), "ff 3f 00");
    EXPECT_EQ(bench.ask("e7 00 00 01"), "ff 0f 01");
    EXPECT_EQ(Session(motorola(pagedEcu())).ask("e8 00 00 00 00"), "ff 00 00 00 00 00 50 00");
}

TEST(XcpEcuPaging, RefusesInformationThatIsNotThere) {
    Session bench(pagedEcu());
    EXPECT_EQ(bench.ask("e8 00 02 00 00"), "fe 28");
    EXPECT_EQ(bench.ask("e8 00 00 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("e8 02 00 00 00"), "fe 22") << "no mappings";
    EXPECT_EQ(bench.ask("e7 00 02 00"), "fe 28");
    EXPECT_EQ(bench.ask("e7 00 00 02"), "fe 26");
    EXPECT_EQ(bench.ask("e7 00 00"), "fe 21");
}

TEST(XcpEcuSetCalPage, SwitchesEcuAndToolApart) {
    Session bench(pagedEcu());
    EXPECT_EQ(bench.ask("eb 01 00 01"), "ff");
    EXPECT_EQ(bench.ask("ea 01 00"), "ff 00 00 01");
    EXPECT_EQ(bench.ask("ea 02 00"), "ff 00 00 00");
    EXPECT_EQ(bench.ask("f4 01 00 00 00 50 00 00"), "ff 01");
    EXPECT_EQ(bench.ask("eb 02 00 01"), "ff");
    EXPECT_EQ(bench.ask("f4 01 00 00 00 50 00 00"), "ff 05");
}

TEST(XcpEcuSetCalPage, OfAllSegmentsNeedsThePageInEach) {
    Session bench(pagedEcu());
    EXPECT_EQ(bench.ask("eb 83 00 01"), "fe 26");
    EXPECT_EQ(bench.ask("ea 01 00"), "ff 00 00 00");
    EXPECT_EQ(bench.ask("eb 03 00 01"), "ff");
    EXPECT_EQ(bench.ask("eb 83 ff 00"), "ff") << "the segment number has no meaning then";
    EXPECT_EQ(bench.ask("ea 01 00"), "ff 00 00 00");
}

TEST(XcpEcuSetCalPage, RefusesWrongModesSegmentsAndPages) {
    Session bench(pagedEcu());
    EXPECT_EQ(bench.ask("eb 00 00 00"), "fe 27");
    EXPECT_EQ(bench.ask("eb 80 00 00"), "fe 27");
    EXPECT_EQ(bench.ask("eb 05 00 00"), "fe 27");
    EXPECT_EQ(bench.ask("eb 03 02 00"), "fe 28");
    EXPECT_EQ(bench.ask("eb 03 ff 00"), "fe 28");
    EXPECT_EQ(bench.ask("eb 03 00 02"), "fe 26");
    EXPECT_EQ(bench.ask("ea 03 00"), "fe 27");
    EXPECT_EQ(bench.ask("ea 01 02"), "fe 28");
}

TEST(XcpEcuPages, OfTheEcuAreMeasuredAndThoseOfTheToolWritten) {
    Session bench(pagedEcu());
    ASSERT_EQ(bench.setUp({"eb 01 00 01", "f6 00 00 00 00 50 00 00", "f0 01 99", "d6", "d5 00 01 00",
                           "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
                           "e1 ff 02 00 00 50 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 05 06");
    ASSERT_EQ(bench.setUp({"eb 01 00 00"}), "");
    EXPECT_EQ(bench.pass(10 * kMs), "00 99 02");
}

TEST(XcpEcuPages, InFlashRefuseADownload) {
    Session bench(pagedEcu());
    ASSERT_EQ(bench.setUp({"eb 02 00 01", "f6 00 00 00 00 50 00 00"}), "");
    EXPECT_EQ(bench.ask("f0 01 99"), "fe 23");
}

TEST(XcpEcuCopyCalPage, CopiesIntoRamOnly) {
    Session bench(pagedEcu());
    EXPECT_EQ(bench.ask("e4 00 01 00 00"), "ff");
    EXPECT_EQ(memoryOf(bench, 0x5000, 4), "05 06 07 08");
    EXPECT_EQ(bench.ask("e4 00 00 00 01"), "fe 23");
    EXPECT_EQ(bench.ask("e4 00 00 01 00"), "fe 22") << "another size";
    EXPECT_EQ(bench.ask("e4 02 00 00 00"), "fe 28");
    EXPECT_EQ(bench.ask("e4 00 00 02 00"), "fe 28");
    EXPECT_EQ(bench.ask("e4 00 02 00 00"), "fe 26");
    EXPECT_EQ(bench.ask("e4 00 00 00 00"), "ff") << "onto itself";
    EXPECT_EQ(bench.ask("e4 00 00 00"), "fe 21");
}

TEST(XcpEcuSegmentMode, MarksSegmentsToFreeze) {
    XcpEcuConfig config = pagedEcu();
    EXPECT_EQ(Session(config).ask("e6 01 00"), "fe 20");
    EXPECT_EQ(Session(config).ask("e5 00 00"), "fe 20");
    config.freezeSupported = true;
    Session bench(config);
    EXPECT_EQ(bench.ask("e6 01 01"), "ff");
    EXPECT_EQ(bench.ask("e5 00 01"), "ff 00 01");
    EXPECT_EQ(bench.ask("e5 00 00"), "ff 00 00");
    EXPECT_EQ(bench.ask("e6 00 01"), "ff");
    EXPECT_EQ(bench.ask("e5 00 01"), "ff 00 00");
    EXPECT_EQ(bench.ask("e6 02 00"), "fe 27");
    EXPECT_EQ(bench.ask("e6 01 02"), "fe 28");
    EXPECT_EQ(bench.ask("e5 00 02"), "fe 28");
}

}  // namespace
}  // namespace sim::test
