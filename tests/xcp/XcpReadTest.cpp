// Reading variables: single reads and polling.
#include "tests/xcp/XcpTestSupport.h"
#include "transport/SystemClock.h"

using namespace xcp_test;

namespace {

class XcpRead : public XcpTest {
protected:
    XcpRead() { hasMemory(); }

    /// @return the bytes of a variable at 0x1010, as read
    std::string read(std::uint32_t size) {
        const auto values = task().readVariables({variable("a", 0x1010, size)});
        return values.size() == 1 ? support::hexText(values[0].data) : "no value";
    }
};

}  // namespace

TEST_F(XcpRead, FourBytesGoByShortUploadIfSupported) {
    supports("f4");
    EXPECT_EQ(read(4), "10 11 12 13");
    EXPECT_EQ(sent(), Texts{"f4 04 00 00 10 10 00 00"});
}

TEST_F(XcpRead, FiveBytesGoBySetMtaAndUpload) {
    supports("f4");
    EXPECT_EQ(read(5), "10 11 12 13 14");
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 10 10 00 00", "f5 05"}));
}

TEST_F(XcpRead, OneByteGoesBySetMtaAndUploadWithoutShortUpload) {
    EXPECT_EQ(read(1), "10");
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 10 10 00 00", "f5 01"}));
}

TEST_F(XcpRead, ExtensionAndByteOrderReachTheFrames) {
    supports("f4");
    cfg.xcp.byteOrder = 1;
    mcMeasureVariable a = variable("a", 0x11223344, 2);
    a.addressExtension = 7;
    task().readVariables({a});
    a.size = 5;
    task().readVariables({a});
    EXPECT_EQ(sent(), Texts({"f4 02 00 07 11 22 33 44", "f6 00 00 07 11 22 33 44", "f5 05"}));
}

TEST_F(XcpRead, ThreeHundredBytesAreReadInPartsOf255) {
    const std::vector<std::uint8_t> expected = support::countingBytes(300, 0x10);
    EXPECT_EQ(read(300), support::hexText(expected));
    EXPECT_EQ(ecu.count("f5 07"), 42U);
    EXPECT_EQ(ecu.count("f5 03"), 2U);
    EXPECT_EQ(ecu.count("f6 .."), 1U);
}

TEST_F(XcpRead, PaddedShortUploadIsCutToTheVariable) {
    supports("f4");
    ecu.answers("f4 ..", {"ff 0a 0b 0c 0d 0e 0f 10"});
    EXPECT_EQ(read(2), "0a 0b");
    const std::string longFrame = "ff " + support::hexText(support::countingBytes(63));
    ecu.answers("f4 ..", {longFrame});
    EXPECT_EQ(read(2), "00 01");
}

TEST_F(XcpRead, ShortAnswerOfAShortUploadReadsZeros) {
    supports("f4");
    ecu.answers("f4 ..", {"ff 0a"});
    EXPECT_EQ(read(4), "0a 00 00 00");
}

TEST_F(XcpRead, ValuesAreDeliveredWithKindZeroAndTheSystemTime) {
    const auto values = task().readVariables({variable("a", 0x1010, 1), variable("b", 0x1020, 2)});
    EXPECT_EQ(host.measured().size(), 1U);
    EXPECT_THAT(host.journal(), testing::Contains("measure ecu 0 [a=10, b=20 21] []"));
    EXPECT_GT(values[0].time, 1'600'000'000'000'000U);
}

TEST_F(XcpRead, TimeOfAValueIsThatBehindItsBytes) {
    std::uint64_t answered = 0;
    ecu.answersBy("f5 ..", [&answered](const std::string&) {
        const std::uint64_t asked = systemMicros();
        EXPECT_TRUE(support::waitFor([asked] { return systemMicros() > asked; }));
        answered = systemMicros();
        return Texts{"ff 10"};
    });
    const auto values = task().readVariables({variable("a", 0x1010, 1)});
    ASSERT_EQ(values.size(), 1U);
    EXPECT_GE(values[0].time, answered);
    mcMeasureVariableValue polled;
    EXPECT_EQ(task().readVariable(variable("a", 0x1010, 1), polled), 0);
    EXPECT_GE(polled.time, answered);
}

TEST_F(XcpRead, RejectedNamesAloneAreDelivered) {
    EXPECT_TRUE(task().readVariables({variable("a", 0x1010, 0)}).empty());
    EXPECT_THAT(host.journal(), testing::Contains("measure ecu 0 [] [a]"));
    EXPECT_TRUE(sent().empty());
}

TEST_F(XcpRead, NothingToReadDeliversNothing) {
    EXPECT_TRUE(task().readVariables({}).empty());
    EXPECT_TRUE(host.measured().empty());
    callBacks.measureFun = nullptr;
    startsAnew();
    EXPECT_EQ(task().readVariables({variable("a", 0x1010, 1)}).size(), 1U);
}

TEST_F(XcpRead, FailedReadIsAValueWithoutBytes) {
    ecu.answersOnce("f6 ..", {"fe 24"});
    const auto values = task().readVariables({variable("a", 0x1010, 2), variable("b", 0x1020, 1)});
    EXPECT_THAT(host.journal(), testing::Contains("measure ecu 0 [a=, b=20] []"));
    EXPECT_EQ(host.logTexts(4), Texts{"readData failed, var: a, total: 2,read: 1"});
    EXPECT_GT(values.at(0).time, 0U);
}

TEST_F(XcpRead, ShortUploadThatFailsCountsAsOneByte) {
    supports("f4");
    ecu.answers("f4 ..", {"fe 24"});
    EXPECT_EQ(read(4), "");
    EXPECT_EQ(host.logTexts(4), Texts{"readData failed, var: a, total: 4,read: 1"});
}

TEST_F(XcpRead, UploadThatBreaksOffIsReportedWithItsCount) {
    ecu.answersInTurn("f5 ..", {{"ff 01 02 03 04 05 06 07"}, {"fe 24"}});
    EXPECT_EQ(read(10), "");
    EXPECT_EQ(host.logTexts(4), Texts{"readData failed, var: a, total: 10,read: 7"});
    EXPECT_FALSE(task().m_linkLost);
    ecu.answersInTurn("f5 ..", {{"fe 24"}});
    EXPECT_EQ(read(10), "");
    EXPECT_EQ(host.logTexts(4).back(), "readData failed, var: a, total: 10,read: 0");
}

// A failed command gives 1, which is not told apart from a count of 1.
TEST_F(XcpRead, FailedReadOfOneByteYieldsAZero) {
    ecu.answers("f6 ..", {"fe 24"});
    EXPECT_EQ(read(1), "00");
    EXPECT_TRUE(host.logTexts(4).empty());
    supports("f4");
    startsAnew();
    ecu.answers("f4 ..", {"fe 24"});
    EXPECT_EQ(read(1), "00");
}

TEST_F(XcpRead, GranularityOfTwoReadsWholeElements) {
    cfg.xcp.addressGranularity = 2;
    ecu.answersInTurn("f5 ..", {{"ff 00 01 02 03 04 05 06"}});
    EXPECT_EQ(read(5), "01 02 03 04 05");
    EXPECT_EQ(sent().back(), "f5 03");
}

TEST_F(XcpRead, PolledReadTellsWhyItFailed) {
    mcMeasureVariableValue value{"before", 5, {1}};
    EXPECT_EQ(task().readVariable(variable("a", 0x1010, 0), value), 18);
    ecu.answersOnce("f6 ..", {"fe 24"});
    EXPECT_EQ(task().readVariable(variable("a", 0x1010, 2), value), 19);
    EXPECT_EQ(value.name, "before");
    EXPECT_EQ(value.time, 5U);
    EXPECT_EQ(host.logTexts(4), Texts{"readData failed, var: a, total: 2,read: 1"});
    EXPECT_EQ(task().readVariable(variable("a", 0x1010, 2), value), 0);
    EXPECT_EQ(value.name, "a");
    EXPECT_EQ(support::hexText(value.data), "10 11");
}

TEST_F(XcpRead, PolledReadOutsideEverySegmentIsWarnedOfEachTimeAndDone) {
    cfg.dataSegments = {segment(0x2000, 16)};
    Texts warnings;
    for (int poll = 0; poll < 3; ++poll) {
        mcMeasureVariableValue value;
        EXPECT_EQ(task().readVariable(variable("a", 0x1010, 2), value), 0);
        EXPECT_EQ(support::hexText(value.data), "10 11");
        warnings.emplace_back("Ignore measure variable:a address out of memory segment range");
        EXPECT_EQ(host.logTexts(3), warnings);
    }
    EXPECT_EQ(ecu.count("f5 02"), 3U);
}

TEST_F(XcpRead, FirstTickReadsEveryPolledVariable) {
    task().m_pollScheduler->assign({variable("a", 0x1010, 1, 0, 50), variable("b", 0x1020, 2, 0, 60'000)});
    task().pollTick();
    EXPECT_THAT(host.journal(), testing::Contains("measure ecu 1 [a=10, b=20 21] []"));
    EXPECT_TRUE(task().m_pollScheduler->m_results.empty());
}

TEST_F(XcpRead, FailedReadIsLeftOutOfItsTick) {
    ecu.answersOnce("f6 ..", {"fe 24"});
    task().m_pollScheduler->assign({variable("a", 0x1010, 2, 0, 50), variable("b", 0x1020, 2, 0, 50)});
    task().pollTick();
    EXPECT_THAT(host.journal(), testing::Contains("measure ecu 1 [b=20 21] []"));
}

TEST_F(XcpRead, TickWithoutAFunctionTakesTheValuesAwayAllTheSame) {
    callBacks.measureFun = nullptr;
    task().m_pollScheduler->assign({variable("a", 0x1000, 1, 0, 10)});
    task().pollTick();
    EXPECT_EQ(ecu.count("f5 01"), 1U);
    EXPECT_TRUE(task().m_pollScheduler->m_results.empty());
}

TEST_F(XcpRead, TickWithoutSuccessDeliversNothing) {
    ecu.answers("f6 ..", {"fe 24"});
    task().pollTick();
    task().m_pollScheduler->assign({variable("a", 0x1010, 2, 0, 50)});
    task().pollTick();
    EXPECT_TRUE(host.measured().empty());
}

TEST_F(XcpRead, SizeThatNoEcuCanFillDoesNotCostItsMemory) {
    ecu.answers("f5 ..", {"fe 24"});
    EXPECT_EQ(read(0xFFFFFFFF), "");
    EXPECT_EQ(host.logTexts(4).size(), 1U);
}
