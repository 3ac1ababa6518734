// Calibration pages and writing a variable.
#include "tests/xcp/XcpTestSupport.h"

using namespace xcp_test;
using Bytes = std::vector<std::uint8_t>;

namespace {

class XcpCalibration : public XcpTest {
protected:
    XcpCalibration() {
        cfg.xcp.workingSegment = 1;
        cfg.xcp.workingPage = 2;
        cfg.xcp.referenceSegment = 3;
        cfg.xcp.referencePage = 4;
    }

    void offersMasterBlock(std::uint8_t maxBs) {
        supports("ef");
        cfg.xcp.commModeOptional = 1;
        cfg.xcp.maxBs = maxBs;
    }

    /// Writes @p count bytes to address 0x1000.
    std::uint32_t writes(std::size_t count) {
        return task().writeVariable(variable("a", 0x1000, 1), support::countingBytes(count, 1));
    }

    /// @return the first bytes of the sent blocks: byte 1 of each DOWNLOAD
    Bytes blocks() {
        Bytes counts;
        for (const support::SentFrame& frame : ecu.sent()) {
            if (frame.data[0] == 0xF0) {
                counts.push_back(frame.data[1]);
            }
        }
        return counts;
    }
};

}  // namespace

TEST_F(XcpCalibration, PagesAreSelectedForEcuAndXcp) {
    supports("eb");
    EXPECT_EQ(task().selectWorkingPage(), 0U);
    EXPECT_EQ(task().selectReferencePage(), 0U);
    EXPECT_EQ(task().setCalPageOrReport(9, 8), 0U);
    EXPECT_EQ(sent(), Texts({"eb 03 01 02", "eb 03 03 04", "eb 03 09 08"}));
}

TEST_F(XcpCalibration, RefusedPageIs23) {
    supports("eb");
    ecu.answers("eb ..", {"fe 26"});
    EXPECT_EQ(task().selectWorkingPage(), 23U);
    EXPECT_EQ(task().selectReferencePage(), 23U);
    EXPECT_EQ(host.logTexts(3), Texts({"Selected page not available", "Selected page not available"}));
    EXPECT_EQ(live().calPageMode, 3);
}

TEST_F(XcpCalibration, UnsupportedPageIs72AndSetsTheMode) {
    EXPECT_EQ(task().selectWorkingPage(), 72U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(host.logTexts(3), Texts{"SET_CAL_PAGE not supported"});
    EXPECT_EQ(live().calPageMode, 3);
}

TEST_F(XcpCalibration, ReferencePageIsCopiedToTheWorkingPage) {
    supports("e4");
    EXPECT_EQ(task().copyReferenceToWorking(), 0U);
    EXPECT_EQ(sent(), Texts{"e4 03 04 01 02"});
    ecu.answers("e4 ..", {"fe 28"});
    EXPECT_EQ(task().copyReferenceToWorking(), 73U);
}

TEST_F(XcpCalibration, UnsupportedCopyIs72) {
    EXPECT_EQ(task().copyReferenceToWorking(), 72U);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(host.logTexts(3), Texts{"COPY_CAL_PAGE not supported"});
}

TEST_F(XcpCalibration, VariableIsWrittenBehindItsAddress) {
    mcMeasureVariable a = variable("a", 0x11223344, 4);
    a.addressExtension = 5;
    EXPECT_EQ(task().writeVariable(a, {1, 2, 3, 4, 5, 6, 7}), 1U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 05 44 33 22 11", "f0 06 01 02 03 04 05 06", "f0 01 07"}));
}

TEST_F(XcpCalibration, RefusedAddressIs37) {
    ecu.answers("f6 ..", {"fe 24"});
    EXPECT_EQ(writes(4), 37U);
    EXPECT_EQ(host.logTexts(4), Texts{"SET_MTA failed"});
    EXPECT_EQ(sent().size(), 1U);
}

TEST_F(XcpCalibration, RefusedDownloadIsNotDone) {
    ecu.answers("f0 ..", {"fe 23"});
    EXPECT_EQ(writes(10), 0U);
    EXPECT_EQ(ecu.count("f0 .."), 1U);
    EXPECT_TRUE(host.logTexts(4).empty());
}

// Only the low 8 bits of the number of bytes count.
TEST_F(XcpCalibration, ThreeHundredBytesWrite44) {
    EXPECT_EQ(writes(300), 1U);
    EXPECT_EQ(ecu.count("f0 .."), 8U);
    EXPECT_EQ(sent().back(), "f0 02 2b 2c");
}

TEST_F(XcpCalibration, Of256BytesNoneIsWrittenAndItCountsAsDone) {
    EXPECT_EQ(writes(256), 1U);
    EXPECT_EQ(writes(0), 1U);
    offersMasterBlock(10);
    startsAnew();
    EXPECT_EQ(writes(256), 1U);
    EXPECT_EQ(sent(), Texts{"f6 00 00 00 00 10 00 00"});
}

TEST_F(XcpCalibration, MasterBlockIsUsedIfTheEcuOffersItWhateverTheHostSays) {
    offersMasterBlock(10);
    cfg.xcp.useMasterBlockMode = 0;
    EXPECT_EQ(writes(8), 1U);
    EXPECT_EQ(sent(), Texts({"f6 00 00 00 00 10 00 00", "f0 08 01 02 03 04 05 06", "ef 02 07 08"}));
}

TEST_F(XcpCalibration, MasterBlockNeedsBothTheBitAndDownloadNext) {
    offersMasterBlock(10);
    cfg.xcp.useMasterBlockMode = 1;
    cfg.xcp.commModeOptional = 0xFE;
    EXPECT_EQ(writes(8), 1U);
    EXPECT_EQ(ecu.count("ef .."), 0U);
    cfg.xcp.commModeOptional = 1;
    cfg.supportedCmds.clear();
    startsAnew();
    EXPECT_EQ(writes(8), 1U);
    EXPECT_EQ(ecu.count("ef .."), 0U);
}

TEST_F(XcpCalibration, BlocksAreAsLongAsMaxBsSays) {
    const std::vector<std::pair<std::uint8_t, Bytes>> rows = {
        {10, {70, 30}}, {40, {100}}, {36, {100}}, {1, Bytes(14, 7)}, {0, Bytes(14, 7)}};
    for (const auto& [maxBs, expected] : rows) {
        startsAnew();
        offersMasterBlock(maxBs);
        Bytes counts = expected;
        if (counts.size() == 14) {
            counts.push_back(2);
        }
        EXPECT_EQ(writes(100), 1U);
        EXPECT_EQ(blocks(), counts) << int{maxBs};
    }
}

TEST_F(XcpCalibration, BlocksAreNeverLongerThanACountOf8BitsCanSay) {
    for (const auto& [maxBs, expected] :
         std::vector<std::pair<std::uint8_t, Bytes>>{{36, {252, 3}}, {37, {255}}, {40, {255}}}) {
        startsAnew();
        offersMasterBlock(maxBs);
        EXPECT_EQ(writes(255), 1U);
        EXPECT_EQ(blocks(), expected) << int{maxBs};
    }
}

TEST_F(XcpCalibration, BlockOf256BytesIsCutTo255) {
    offersMasterBlock(128);
    cfg.xcp.addressGranularity = 2;
    cfg.maxCto = 4;
    EXPECT_EQ(writes(254), 1U);
    EXPECT_EQ(blocks(), Bytes{127});
}

TEST_F(XcpCalibration, RefusedBlockEndsTheWrite) {
    offersMasterBlock(10);
    ecu.answersInTurn("ef 04 ..", {{"fe 24"}});
    EXPECT_EQ(writes(100), 0U);
    EXPECT_EQ(blocks(), Bytes{70});
}

TEST_F(XcpCalibration, StepOfNoBytesIsAFailure) {
    offersMasterBlock(10);
    cfg.maxCto = 4;
    cfg.xcp.addressGranularity = 4;
    EXPECT_EQ(writes(8), 0U);
    EXPECT_EQ(sent(), Texts{"f6 00 00 00 00 10 00 00"});
}

TEST_F(XcpCalibration, NoConfigurationMakesAWriteRunForever) {
    for (const std::uint8_t maxCto : Bytes{0, 1, 2, 3, 8, 255}) {
        for (const std::uint8_t granularity : Bytes{0, 1, 2, 3, 4, 255}) {
            for (const std::uint8_t maxBs : Bytes{0, 1, 255}) {
                startsAnew();
                offersMasterBlock(maxBs);
                cfg.maxCto = maxCto;
                cfg.xcp.addressGranularity = granularity;
                EXPECT_LE(writes(255), 1U);
                EXPECT_LE(ecu.sent().size(), 257U);
            }
        }
    }
}
