// Programming the flash of the simulated XCP ECU.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// 16 bytes of code at 0x8000 in two sectors, 8 bytes of data at 0x9000 as page 1 behind a page of RAM. All
/// hold zeros, so that nothing can be programmed ahead of a clear. Granularity 1.
XcpEcuConfig flashEcu() {
    XcpEcuConfig config = smallEcu();
    config.resources = xcp::kCalPag | xcp::kDaq | xcp::kPgm;
    MemorySegment data = plainSegment(0x9000, 8);
    data.calibration = true;
    data.pages.push_back(MemoryPage{.bytes = std::vector<std::uint8_t>(8), .toolWritable = false});
    config.memory.push_back(plainSegment(0x8000, 16, MemoryAccess::readOnly));
    config.memory.push_back(data);
    config.program.flash.sectors = {
        {.base = 0x8000, .size = 8, .name = "boot"},
        {.base = 0x8008, .size = 8, .name = "code"},
        {.base = 0x9000, .size = 8, .area = FlashArea::calibration, .page = 1, .name = "maps"}};
    return config;
}

XcpEcuConfig blockEcu() {
    XcpEcuConfig config = flashEcu();
    config.program.masterBlockMode = true;
    config.program.maxBs = 3;
    config.program.minSt = 2;
    return config;
}

XcpEcuConfig slowEcu(XcpFlashAnswer answer) {
    XcpEcuConfig config = flashEcu();
    config.program.answer = answer;
    config.program.flash.clearTime = 25 * kMs;
    config.program.flash.programTime = 2 * kMs;
    config.program.pendingPeriod = 10 * kMs;
    return config;
}

const std::string kToCode = "f6 00 00 00 00 80 00 00";
const std::string kClearCode = "d1 00 00 00 10 00 00 00";
const std::vector<std::string> kCleared = {"d2", kToCode, kClearCode};

/// A bench whose ECU has its code cleared and the MTA at its start.
struct Cleared : Session {
    explicit Cleared(XcpEcuConfig config) : Session(std::move(config)) {
        for (const std::string& command : kCleared) {
            ask(command);
            pass(100 * kMs);
        }
    }
};

std::string codeOf(Bench& bench, std::size_t size, std::uint32_t address = 0x8000) {
    return textOf(bench.ecu.readFlash(address, 0, size));
}

// PROGRAM_START

TEST(XcpEcuProgramStart, TellsTheLimitsOfProgramming) {
    XcpEcuConfig config = flashEcu();
    config.fd = true;
    config.maxCto = 64;
    EXPECT_EQ(Session(config).ask("d2"), "ff 00 00 40 00 00 00");
    config.program = {.flash = config.program.flash,
                      .maxCto = 32,
                      .masterBlockMode = true,
                      .maxBs = 5,
                      .minSt = 7,
                      .queueSize = 9};
    Session bench(config);
    EXPECT_FALSE(bench.ecu.programming());
    EXPECT_EQ(bench.ask("d2"), "ff 00 01 20 05 07 09");
    EXPECT_TRUE(bench.ecu.programming());
}

TEST(XcpEcuProgramStart, IsRefusedWhileDaqRuns) {
    Session bench(flashEcu());
    ASSERT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
                           "e1 ff 02 00 00 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.ask("d2"), "fe 11");
    ASSERT_EQ(bench.setUp({"de 00 00 00", "d2"}), "");
    EXPECT_EQ(bench.ask("de 01 00 00"), "fe 12") << "nor does DAQ start while the ECU is programmed";
}

TEST(XcpEcuProgramStart, NeedsFlashAndTheResource) {
    XcpEcuConfig config = flashEcu();
    config.program.flash.sectors.clear();
    EXPECT_EQ(Session(config).ask("d2"), "fe 31");
    config = flashEcu();
    config.resources = xcp::kCalPag | xcp::kDaq;
    for (const char* command :
         {"d2", "d1 00 00 00 01 00 00 00", "d0 01 00", "cf", "ce", "cd 00 00", "cc 00 01 00",
          "cb 00 00 00 00", "ca 01 00", "c9 01 02 03 04 05 06 07", "c8 00 01 00 00 00 00 00"}) {
        EXPECT_EQ(Session(config).ask(command), "fe 20") << command;
    }
}

TEST(XcpEcuProgramming, IsLockedUntilItsKeyWasGiven) {
    XcpEcuConfig config = flashEcu();
    config.locks = {
        {.resource = xcp::kPgm, .seedLength = 1, .key = [](std::uint8_t, std::span<const std::uint8_t>) {
             return std::vector<std::uint8_t>{0x42};
         }}};
    Session bench(config);
    for (const char* command : {"d2", "cf", "ce", "cd 00 00"}) {
        EXPECT_EQ(bench.ask(command), "fe 25") << command;
    }
    bench.ask("f8 00 10");
    EXPECT_EQ(bench.ask("f7 01 42"), "ff 00");
    EXPECT_EQ(bench.ask("d2"), "ff 00 00 08 00 00 00");
}

TEST(XcpEcuProgramming, OutsideASequenceIsASequenceError) {
    Session bench(flashEcu());
    bench.ask(kToCode);
    for (const char* command : {"d1 00 00 00 01 00 00 00", "d0 01 00", "d0 00", "c9 01 02 03 04 05 06 07",
                                "cb 00 00 00 00", "c8 00 02 00 00 00 00 00"}) {
        EXPECT_EQ(bench.ask(command), "fe 29") << command;
    }
    EXPECT_EQ(codeOf(bench, 2), "00 00");
}

TEST(XcpEcuProgramming, ThatLacksBytesIsASyntaxError) {
    Cleared bench(flashEcu());
    for (const char* command : {"d1 00 00 00 01 00 00", "d0", "d0 03 01 02", "cd 00", "cc 00 01",
                                "cb 00 00 00", "c9 01 02 03 04 05 06", "c8 00 02 00 00 00 00"}) {
        EXPECT_EQ(bench.ask(command), "fe 21") << command;
    }
    EXPECT_EQ(codeOf(bench, 2), "ff ff");
}

// PROGRAM_CLEAR

TEST(XcpEcuProgramClear, ClearsWholeSectorsAtTheMta) {
    Session bench(flashEcu());
    EXPECT_EQ(bench.setUp({"d2", "f6 00 00 00 0c 80 00 00", "d1 00 00 00 01 00 00 00"}), "");
    EXPECT_EQ(codeOf(bench, 16), "00 00 00 00 00 00 00 00 ff ff ff ff ff ff ff ff");
    EXPECT_EQ(bench.ask("d0 01 a1"), "ff");
    EXPECT_EQ(codeOf(bench, 2, 0x800C), "a1 ff") << "the MTA stood where it was";
}

TEST(XcpEcuProgramClear, RefusesWrongRanges) {
    Session bench(flashEcu());
    bench.ask("d2");
    bench.ask(kToCode);
    EXPECT_EQ(bench.ask("d1 00 00 00 00 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("d1 00 00 00 11 00 00 00"), "fe 24");
    EXPECT_EQ(bench.ask("d1 02 00 00 01 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("d1 01 00 00 01 00 00 00"), "fe 22") << "no functional mode";
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("d1 00 00 00 01 00 00 00"), "fe 24") << "RAM";
    bench.ask("d7 00 00 00");
    EXPECT_EQ(codeOf(bench, 16), "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(XcpEcuProgramClear, OfAreasNeedsNoAddress) {
    XcpEcuConfig config = flashEcu();
    config.program.functionalMode = true;
    Session bench(motorola(config));
    EXPECT_EQ(bench.setUp({"d2", "d1 01 00 00 00 00 00 01"}), "");
    EXPECT_EQ(codeOf(bench, 8, 0x9000), "ff ff ff ff ff ff ff ff");
    EXPECT_EQ(codeOf(bench, 2), "00 00");
    EXPECT_EQ(bench.ask("d1 01 00 00 00 00 00 06"), "ff");
    EXPECT_EQ(codeOf(bench, 2), "ff ff");
    EXPECT_EQ(bench.ask("d1 01 00 00 00 00 00 08"), "fe 22");
    EXPECT_EQ(bench.ask("d1 01 00 00 00 00 00 00"), "fe 22");
}

// PROGRAM

TEST(XcpEcuProgram, WritesClearedCellsAndMovesTheMtaOn) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.setUp({"d0 06 a1 a2 a3 a4 a5 a6", "d0 01 a7 55 55 55 55 55", "d0 04 a8 a9 aa ab"}), "");
    EXPECT_EQ(codeOf(bench, 12), "a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ff");
    EXPECT_EQ(bench.ask("f4 02 00 00 00 80 00 00"), "ff a1 a2") << "everybody sees it";
}

TEST(XcpEcuProgram, OfCellsThatWereNotClearedIsAVerifyError) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.ask("d0 02 f0 f0"), "ff");
    bench.ask(kToCode);
    EXPECT_EQ(bench.ask("d0 02 f1 f0"), "fe 32");
    EXPECT_EQ(bench.ask("d0 02 70 f0"), "ff") << "the MTA did not move, and bits may fall";
    EXPECT_EQ(codeOf(bench, 3), "70 f0 ff");
}

TEST(XcpEcuProgram, RefusesWrongCountsAndPlaces) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.ask("d0 07 00 00 00 00 00 00"), "fe 22");
    bench.ask("f6 00 00 00 0f 80 00 00");
    EXPECT_EQ(bench.ask("d0 02 00 00"), "fe 24");
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("d0 01 00"), "fe 24");
    bench.ask("cd 02 00");
    EXPECT_EQ(bench.ask("d0 01 00"), "fe 24") << "a text that was left for upload";
    EXPECT_EQ(codeOf(bench, 2, 0x800E), "ff ff");
}

TEST(XcpEcuProgram, OfNothingEndsTheSegmentUntilTheNextAddress) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.ask("d0 00"), "ff");
    EXPECT_EQ(bench.ask("d0 01 a1"), "fe 29");
    EXPECT_EQ(bench.ask("c9 a1 a2 a3 a4 a5 a6 a7"), "fe 29");
    bench.ask("f6 00 00 00 02 80 00 00");
    EXPECT_EQ(bench.ask("d0 01 a1"), "ff");
    EXPECT_EQ(codeOf(bench, 4), "ff ff a1 ff");
}

TEST(XcpEcuProgram, GoesToTheFlashPageWhicheverIsSwitchedTo) {
    Session bench(flashEcu());
    ASSERT_EQ(bench.setUp(
                  {"eb 03 00 00", "d2", "f6 00 00 00 00 90 00 00", "d1 00 00 00 08 00 00 00", "d0 02 a1 a2"}),
              "");
    EXPECT_EQ(textOf(bench.ecu.read(0x9000, 0, 2)), "00 00");
    EXPECT_EQ(codeOf(bench, 3, 0x9000), "a1 a2 ff");
    EXPECT_EQ(textOf(bench.ecu.readPage(4, 0)), "00 00 00 00 00 00 00 00");
    EXPECT_EQ(textOf(bench.ecu.readPage(4, 1)), "a1 a2 ff ff ff ff ff ff");
    ASSERT_EQ(bench.setUp({"eb 03 00 01"}), "");
    EXPECT_EQ(textOf(bench.ecu.read(0x9000, 0, 3)), "a1 a2 ff");
}

TEST(XcpEcuProgram, OfWordsAndDoubleWordsCountsElementsAndAlignsItsData) {
    XcpEcuConfig config = flashEcu();
    config.granularity = 2;
    config.program.flash.sectors[1].base = 0x8004;
    Session two(config);
    ASSERT_EQ(two.setUp({"d2", kToCode, "d1 00 00 00 08 00 00 00", "d0 03 a1 a2 a3 a4 a5 a6", "d0 01 a7 a8"}),
              "");
    EXPECT_EQ(two.ask("d0 04 a1 a2 a3 a4 a5 a6"), "fe 22");
    EXPECT_EQ(codeOf(two, 10), "a1 a2 a3 a4 a5 a6 a7 a8 ff ff");
    config.granularity = 4;
    config.program.flash.sectors[1].base = 0x8002;
    Session four(config);
    ASSERT_EQ(four.setUp({"d2", kToCode, "d1 00 00 00 04 00 00 00", "d0 01 00 00 a1 a2 a3 a4",
                          "c9 00 00 00 a5 a6 a7 a8"}),
              "");
    EXPECT_EQ(codeOf(four, 10), "a1 a2 a3 a4 a5 a6 a7 a8 ff ff");
}

TEST(XcpEcuProgram, TakesMotorolaNumbers) {
    Session bench(motorola(flashEcu()));
    ASSERT_EQ(bench.setUp({"d2", "f6 00 00 00 00 00 80 00", "d1 00 00 00 00 00 00 10", "d0 02 a1 a2"}), "");
    EXPECT_EQ(codeOf(bench, 3), "a1 a2 ff");
}

TEST(XcpEcuProgramMax, FillsAWholeCommandOfProgramming) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.setUp({"c9 a1 a2 a3 a4 a5 a6 a7", "d0 01 a8"}), "");
    EXPECT_EQ(codeOf(bench, 9), "a1 a2 a3 a4 a5 a6 a7 a8 ff");
    XcpEcuConfig config = flashEcu();
    config.fd = true;
    config.maxCto = 64;
    config.program.maxCto = 12;
    Cleared fd(config);
    EXPECT_EQ(fd.ask("c9 a1 a2 a3 a4 a5 a6 a7 a8 a9 aa"), "fe 21");
    EXPECT_EQ(fd.ask("c9 a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab"), "ff");
    EXPECT_EQ(fd.ask("d0 0b a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab"), "fe 22") << "10 go into 12 bytes";
    EXPECT_EQ(codeOf(fd, 12), "a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ff");
}

// Block mode

TEST(XcpEcuProgramBlock, AnswersOnceAtItsEnd) {
    Cleared bench(blockEcu());
    EXPECT_EQ(bench.ask("d0 0e a1 a2 a3 a4 a5 a6"), "");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ca 08 a7 a8 a9 aa ab ac"), "");
    bench.pass(200'000);
    EXPECT_EQ(bench.ask("ca 02 ad ae"), "ff");
    EXPECT_EQ(bench.ask("d0 01 af"), "ff");
    EXPECT_EQ(codeOf(bench, 16), "a1 a2 a3 a4 a5 a6 a7 a8 a9 aa ab ac ad ae af ff");
}

TEST(XcpEcuProgramBlock, FasterThanMinStOrLongerThanMaxBsIsRefusedAtItsEnd) {
    Cleared fast(blockEcu());
    fast.ask("d0 0d a1 a2 a3 a4 a5 a6");
    fast.pass(199'999);
    EXPECT_EQ(fast.ask("ca 07 a7 a8 a9 aa ab ac"), "");
    fast.pass(kMs);
    EXPECT_EQ(fast.ask("ca 01 ad"), "fe 29 00");
    EXPECT_EQ(codeOf(fast, 2), "ff ff");
    XcpEcuConfig config = blockEcu();
    config.program.maxBs = 2;
    config.program.minSt = 0;
    Cleared many(config);
    many.ask("d0 0d a1 a2 a3 a4 a5 a6");
    many.ask("ca 07 a7 a8 a9 aa ab ac");
    EXPECT_EQ(many.ask("ca 01 ad"), "fe 29 00");
    EXPECT_EQ(codeOf(many, 2), "ff ff");
}

TEST(XcpEcuProgramBlock, WithAWrongCountTellsTheOneExpected) {
    Cleared bench(blockEcu());
    bench.ask("d0 0e a1 a2 a3 a4 a5 a6");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ca 02 a7 a8"), "fe 29 08");
    EXPECT_EQ(bench.ask("ca 08 a7 a8 a9 aa ab ac"), "fe 29 00") << "the block is forgotten";
    EXPECT_EQ(codeOf(bench, 2), "ff ff");
}

TEST(XcpEcuProgramBlock, GoesOnWithProgramNextAlone) {
    Cleared bench(blockEcu());
    bench.ask("d0 07 a1 a2 a3 a4 a5 a6");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 01 a7"), "fe 20") << "no block mode of DOWNLOAD";
    EXPECT_EQ(bench.ask("ca 01 a7"), "fe 29 00");
    XcpEcuConfig config = blockEcu();
    config.masterBlockMode = true;
    config.maxBs = 3;
    Cleared both(config);
    both.ask("d0 07 a1 a2 a3 a4 a5 a6");
    EXPECT_EQ(both.ask("ef 01 a7"), "fe 29 00");
    both.ask("f6 00 00 00 00 10 00 00");
    both.ask("f0 07 a1 a2 a3 a4 a5 a6");
    EXPECT_EQ(both.ask("ca 01 a7"), "fe 29 00") << "nor does a download with PROGRAM_NEXT";
}

TEST(XcpEcuProgramBlock, GoesOnWithDownloadNextWhereTheEcuTakesIt) {
    XcpEcuConfig config = blockEcu();
    config.program.takesDownloadNext = true;
    Cleared bench(config);
    bench.ask("d0 07 a1 a2 a3 a4 a5 a6");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("ef 01 a7"), "ff");
    EXPECT_EQ(codeOf(bench, 8), "a1 a2 a3 a4 a5 a6 a7 ff");
}

TEST(XcpEcuProgramBlock, IsForgottenWithAnyOtherCommand) {
    Cleared bench(blockEcu());
    bench.ask("d0 07 a1 a2 a3 a4 a5 a6");
    bench.ask("fd");
    EXPECT_EQ(bench.ask("ca 01 a7"), "fe 29 00");
}

TEST(XcpEcuProgramBlock, IsUnknownWithoutBlockMode) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.ask("ca 01 00"), "fe 20");
    EXPECT_EQ(bench.ask("d0 07 a1 a2 a3 a4 a5 a6"), "fe 22");
}

// PROGRAM_RESET

TEST(XcpEcuProgramReset, EndsTheSessionAndTheFlashForgetsNothing) {
    Cleared bench(flashEcu());
    bench.ask("d0 02 a1 a2");
    EXPECT_EQ(bench.ask("cf"), "ff");
    EXPECT_FALSE(bench.ecu.connected());
    EXPECT_FALSE(bench.ecu.programming());
    EXPECT_EQ(bench.ask("fd"), "");
    ASSERT_EQ(bench.setUp({"ff 00", kToCode}), "");
    EXPECT_EQ(bench.ask("d0 01 00"), "fe 29");
    ASSERT_EQ(bench.setUp({"d2", "f6 00 00 00 02 80 00 00", "d0 01 a3"}), "")
        << "cleared in the session before";
    EXPECT_EQ(codeOf(bench, 4), "a1 a2 a3 ff");
}

TEST(XcpEcuProgramReset, WorksOutsideASequenceToo) {
    Session bench(flashEcu());
    EXPECT_EQ(bench.ask("cf"), "ff");
    EXPECT_FALSE(bench.ecu.connected());
}

TEST(XcpEcuProgramming, EndsWithTheSession) {
    for (const char* command : {"fe", "ff 00"}) {
        Cleared bench(flashEcu());
        bench.ask(command);
        EXPECT_FALSE(bench.ecu.programming()) << command;
    }
}

// Time

TEST(XcpEcuFlashTime, LetsTheAnswerComeLate) {
    Session bench(slowEcu(XcpFlashAnswer::whenDone));
    ASSERT_EQ(bench.setUp({"d2", kToCode}), "");
    EXPECT_EQ(bench.ask(kClearCode), "");
    EXPECT_EQ(bench.pass(50 * kMs - 1), "") << "two sectors of 25 ms";
    EXPECT_EQ(bench.pass(1), "ff");
    EXPECT_EQ(bench.ask("d0 01 a1"), "");
    EXPECT_EQ(bench.pass(2 * kMs), "ff");
    EXPECT_EQ(bench.ask("d0 01 a2"), "");
    EXPECT_EQ(bench.pass(2 * kMs), "ff");
}

TEST(XcpEcuFlashTime, RefusesCommandsMeanwhileButThoseOfTheSession) {
    Session bench(slowEcu(XcpFlashAnswer::atOnce));
    ASSERT_EQ(bench.setUp({"d2", kToCode}), "");
    EXPECT_EQ(bench.ask(kClearCode), "ff");
    EXPECT_EQ(bench.ask("d0 01 a1"), "fe 10");
    EXPECT_EQ(bench.ask("cf"), "fe 10");
    EXPECT_EQ(bench.ask(kToCode), "fe 12");
    EXPECT_EQ(bench.ask("f4 01 00 00 00 80 00 00"), "fe 12");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
    EXPECT_EQ(bench.ask("fc"), "fe 00");
    bench.pass(50 * kMs);
    EXPECT_EQ(bench.ask("d0 01 a1"), "ff");
    EXPECT_EQ(bench.ask("d0 01 a2"), "fe 10");
    bench.pass(2 * kMs);
    EXPECT_EQ(bench.ask("d0 01 a2"), "ff");
    EXPECT_EQ(codeOf(bench, 3), "a1 a2 ff");
    EXPECT_EQ(bench.ask("ff 00"), "ff 15 80 08 08 00 01 01");
}

TEST(XcpEcuFlashTime, IsAnnouncedByEventsUntilTheAnswer) {
    Session bench(slowEcu(XcpFlashAnswer::pending));
    ASSERT_EQ(bench.setUp({"d2", kToCode}), "");
    EXPECT_EQ(bench.ask(kClearCode), "fd 05");
    EXPECT_EQ(bench.pass(10 * kMs), "fd 05");
    EXPECT_EQ(bench.pass(39 * kMs), "fd 05 | fd 05 | fd 05");
    EXPECT_EQ(bench.pass(kMs), "ff");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00") << "no event ahead of an answer that comes at once";
}

TEST(XcpEcuFlashTime, IsNotSpentOnWhatIsRefused) {
    Session bench(slowEcu(XcpFlashAnswer::whenDone));
    ASSERT_EQ(bench.setUp({"d2", kToCode}), "");
    EXPECT_EQ(bench.ask("d0 01 01"), "fe 32");
}

// PROGRAM_PREPARE, PROGRAM_FORMAT, PROGRAM_VERIFY

TEST(XcpEcuProgramPrepare, NeedsRoomForTheCodeAtTheMta) {
    XcpEcuConfig config = flashEcu();
    config.program.codeRoom = 32;
    Session bench(config);
    bench.ask("f6 00 00 00 00 10 00 00");
    EXPECT_EQ(bench.ask("cc 00 20 00"), "ff");
    EXPECT_EQ(bench.ask("cc 00 21 00"), "fe 31");
    EXPECT_EQ(bench.ask("cc 00 00 00"), "fe 31");
    bench.ask("f6 00 00 00 e1 10 00 00");
    EXPECT_EQ(bench.ask("cc 00 20 00"), "fe 31") << "one byte too far";
}

TEST(XcpEcuProgramFormat, TakesPlainDataAtAddresses) {
    Cleared bench(flashEcu());
    EXPECT_EQ(bench.ask("cb 00 00 00 00"), "ff");
    EXPECT_EQ(bench.ask("cb 00 00 01 00"), "ff") << "in any order";
    for (const char* command : {"cb 01 00 00 00", "cb 00 01 00 00", "cb 00 00 02 00", "cb 00 00 00 01"}) {
        EXPECT_EQ(bench.ask(command), "fe 22") << command;
    }
}

TEST(XcpEcuProgramFormat, OfFunctionalAccessProgramsTheSectorsInTurnUntilTheNextAddress) {
    XcpEcuConfig config = flashEcu();
    config.program.functionalMode = true;
    Session bench(config);
    ASSERT_EQ(bench.setUp({"d2", "d1 01 00 00 02 00 00 00", "cb 00 00 00 01", "c9 01 02 03 04 05 06 07",
                           "d0 02 08 09", "f6 00 00 00 0e 80 00 00", "d0 01 a1"}),
              "");
    EXPECT_EQ(codeOf(bench, 16), "01 02 03 04 05 06 07 08 09 ff ff ff ff ff a1 ff");
}

TEST(XcpEcuProgramVerify, ComparesTheChecksumOfAnArea) {
    XcpEcuConfig config = flashEcu();
    config.checksum = XcpChecksum::add14;
    Cleared bench(config);
    ASSERT_EQ(bench.setUp({"d0 02 01 02"}), "");
    // 14 cells of 0xFF, and 3
    EXPECT_EQ(bench.ask("c8 01 02 00 f5 0d 00 00"), "ff");
    EXPECT_EQ(bench.ask("c8 01 02 00 f4 0d 00 00"), "fe 32");
    EXPECT_EQ(bench.ask("c8 01 01 00 00 00 00 00"), "ff") << "8 cells of 0 in the maps";
    EXPECT_EQ(bench.ask("c8 01 04 00 f5 0d 00 00"), "ff") << "everything";
    EXPECT_EQ(bench.ask("c8 01 00 00 f5 0d 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("c8 01 08 00 f5 0d 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("c8 02 02 00 f5 0d 00 00"), "fe 22");
}

TEST(XcpEcuProgramVerify, FindsSectorsWithoutAProgram) {
    Cleared bench(flashEcu());
    ASSERT_EQ(bench.setUp({"d0 02 01 02"}), "");
    EXPECT_EQ(bench.ask("c8 00 02 00 00 00 00 00"), "fe 32") << "the second sector is blank";
    ASSERT_EQ(bench.setUp({"f6 00 00 00 08 80 00 00", "d0 01 01"}), "");
    EXPECT_EQ(bench.ask("c8 00 02 00 00 00 00 00"), "ff");
}

// Information

TEST(XcpEcuProgramInfo, TellsTheProcessorAndItsSectors) {
    XcpEcuConfig config = flashEcu();
    EXPECT_EQ(Session(config).ask("ce"), "ff 41 03");
    config.program.functionalMode = true;
    Session bench(config);
    EXPECT_EQ(bench.ask("ce"), "ff 43 03");
    EXPECT_EQ(bench.ask("cd 00 01"), "ff 01 01 00 08 80 00 00");
    EXPECT_EQ(bench.ask("cd 01 02"), "ff 02 02 00 08 00 00 00");
    EXPECT_EQ(bench.ask("cd 02 02"), "ff 04");
    EXPECT_EQ(bench.ask("f5 04"), "ff 6d 61 70 73");
    EXPECT_EQ(bench.ask("cd 03 00"), "fe 27");
    EXPECT_EQ(bench.ask("cd 00 03"), "fe 28");
    EXPECT_EQ(Session(motorola(config)).ask("cd 00 01"), "ff 01 01 00 00 00 80 08");
}

TEST(XcpEcuProgramConfig, ThatCannotBeIsRefused) {
    const auto refused = [](auto change) {
        XcpEcuConfig config = flashEcu();
        change(config);
        EXPECT_THROW(XcpEcu ecu(config), std::invalid_argument);
    };
    refused([](XcpEcuConfig& config) { config.program.maxCto = 7; });
    refused([](XcpEcuConfig& config) { config.program.maxCto = 9; });
    refused([](XcpEcuConfig& config) { config.program.flash.sectors[0].base = 0x7FFF; });
    refused([](XcpEcuConfig& config) { config.program.flash.sectors[0].size = 9; });
    refused([](XcpEcuConfig& config) { config.program.flash.sectors[0].name = std::string(256, 'x'); });
    refused([](XcpEcuConfig& config) {
        config.program.answer = XcpFlashAnswer::pending;
        config.program.pendingPeriod = 0;
    });
    refused([](XcpEcuConfig& config) {
        config.granularity = 4;
        config.program.flash.sectors = {{.base = 0x8000, .size = 6}};
    });
}

}  // namespace
}  // namespace sim::test
