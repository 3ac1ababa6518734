// Every command: its frame in both byte orders, and what is kept of its response.
#include "tests/xcp/XcpTestSupport.h"

#include <array>
#include <functional>

using namespace xcp_test;

namespace {

using Command = std::function<std::uint32_t(XcpTaskTransmit&)>;

constexpr std::array<std::uint8_t, 2> kBothOrders{0, 1};

struct CommandRow {
    const char* little;  ///< the frame with byte order clear
    const char* big;     ///< the frame with byte order set
    Command run;
};

const std::vector<CommandRow>& commandRows() {
    static const std::vector<CommandRow> rows = {
        {"ff 00", "ff 00", [](auto& t) { return t.cmdConnect(0); }},
        {"ff 01", "ff 01", [](auto& t) { return t.cmdConnect(1); }},
        {"fe", "fe", [](auto& t) { return t.cmdDisconnect(); }},
        {"fd", "fd", [](auto& t) { return t.cmdGetStatus(); }},
        {"fc", "fc", [](auto& t) { return t.cmdSynch(); }},
        {"fb", "fb", [](auto& t) { return t.cmdGetCommModeInfo(); }},
        {"f6 00 00 05 44 33 22 11", "f6 00 00 05 11 22 33 44",
         [](auto& t) { return t.cmdSetMta(0x11223344, 5); }},
        {"f3 00 00 00 44 33 22 11", "f3 00 00 00 44 33 22 11",
         [](auto& t) {
             std::uint32_t checksum = 0;
             return t.cmdBuildChecksum(0x11223344, checksum);
         }},
        {"eb 03 01 02", "eb 03 01 02", [](auto& t) { return t.cmdSetCalPage(3, 1, 2); }},
        {"e4 01 02 03 04", "e4 01 02 03 04", [](auto& t) { return t.cmdCopyCalPage(1, 2, 3, 4); }},
        {"e3 00 34 12", "e3 00 12 34", [](auto& t) { return t.cmdClearDaqList(0x1234); }},
        {"e2 00 34 12 05 06", "e2 00 12 34 05 06", [](auto& t) { return t.cmdSetDaqPtr(0x1234, 5, 6); }},
        {"e1 ff 04 07 44 33 22 11", "e1 ff 04 07 11 22 33 44",
         [](auto& t) { return t.cmdWriteDaq(255, 4, 7, 0x11223344); }},
        {"e0 10 34 12 78 56 02 09", "e0 10 12 34 56 78 02 09",
         [](auto& t) { return t.cmdSetDaqListMode(0x10, 0x1234, 0x5678, 2, 9); }},
        {"de 02 34 12", "de 02 12 34", [](auto& t) { return t.cmdStartStopDaqList(2, 0x1234); }},
        {"dd 01", "dd 01", [](auto& t) { return t.cmdStartStopSynch(1); }},
        {"dc", "dc", [](auto& t) { return t.cmdGetDaqClock(); }},
        {"da", "da", [](auto& t) { return t.cmdGetDaqProcessorInfo(); }},
        {"d9", "d9", [](auto& t) { return t.cmdGetDaqResolutionInfo(); }},
        {"d7 00 12 00", "d7 00 00 12", [](auto& t) { return t.cmdGetDaqEventInfo(0x12); }},
        {"d6", "d6", [](auto& t) { return t.cmdFreeDaq(); }},
        {"d5 00 34 12", "d5 00 12 34", [](auto& t) { return t.cmdAllocDaq(0x1234); }},
        {"d4 00 34 12 05", "d4 00 12 34 05", [](auto& t) { return t.cmdAllocOdt(0x1234, 5); }},
        {"d3 00 34 12 05 06", "d3 00 12 34 05 06", [](auto& t) { return t.cmdAllocOdtEntry(0x1234, 5, 6); }},
        {"d2", "d2", [](auto& t) { return t.cmdProgramStart(); }},
        {"d1 01 00 00 44 33 22 11", "d1 01 00 00 11 22 33 44",
         [](auto& t) { return t.cmdProgramClear(1, 0x11223344); }},
        {"cf", "cf", [](auto& t) { return t.cmdProgramReset(); }},
    };
    return rows;
}

class XcpCommand : public XcpTest {
protected:
    /// Lets the ECU answer the one command that @p run sends.
    std::uint32_t answered(const std::string& response, const Command& run, std::uint8_t byteOrder = 0) {
        startsAnew();
        cfg.xcp.byteOrder = byteOrder;
        ecu.answersByDefault({response});
        return run(task());
    }
};

}  // namespace

TEST_F(XcpCommand, FrameIsLittleEndianWithByteOrderClear) {
    for (const CommandRow& row : commandRows()) {
        EXPECT_EQ(answered("ff 00 00 00 00 00 00 00", row.run), 0U) << row.little;
        EXPECT_EQ(sent(), Texts{row.little});
    }
}

TEST_F(XcpCommand, FrameHasItsFieldsSwappedWithByteOrderSet) {
    for (const CommandRow& row : commandRows()) {
        EXPECT_EQ(answered("ff 00 00 00 00 00 00 00", row.run, 1), 0U) << row.big;
        EXPECT_EQ(sent(), Texts{row.big});
    }
}

TEST_F(XcpCommand, ErrorOfTheEcuIsAFailure) {
    for (const CommandRow& row : commandRows()) {
        EXPECT_EQ(answered("fe 20", row.run), 1U) << row.little;
        EXPECT_EQ(task().m_lastStatus, 0x20U);
    }
}

TEST_F(XcpCommand, ByteOrderBitOfTheConnectResponseIsNotLookedAt) {
    answered("ff 1d 81 08 10 00 01 01", [](auto& t) { return t.cmdConnect(0); });
    EXPECT_EQ(live().resource, 0x1D);
    EXPECT_EQ(live().commModeBasic, 0x81);
    EXPECT_EQ(task().m_byteOrder, 0);
}

TEST_F(XcpCommand, ConnectMergesTheLimits) {
    struct Row {
        std::uint8_t accept, pad, maxCto;
        std::uint16_t maxDto;
        const char* limits;  ///< bytes 3 to 5 of the response
        std::uint8_t ctoAfter;
        std::uint16_t dtoAfter;
    };
    const std::vector<Row> rows = {
        {0, 0, 8, 8, "ff 08 00", 8, 8},        // larger MAX_CTO is ignored
        {0, 0, 64, 64, "08 08 00", 8, 8},      // smaller ones are taken
        {0, 1, 64, 64, "08 08 00", 64, 8},     // padding keeps maxCto
        {0, 1, 7, 8, "40 08 00", 64, 8},       // but not one below 8
        {0, 0, 0, 8, "ff 08 00", 255, 8},      // any from 8 on is taken then
        {0, 0, 64, 64, "07 00 00", 64, 64},    // below 8, and 0, are never taken
        {1, 0, 64, 64, "07 00 00", 64, 64},    // nor if limits are accepted
        {1, 1, 8, 8, "40 00 01", 64, 256},     // accepted as they come
        {1, 0, 64, 64, "08 08 00", 8, 8},      // downwards too
        {0, 0, 8, 0x200, "08 00 01", 8, 256},  // MAX_DTO has 16 bits
        {0, 0, 7, 8, "07 07 00", 7, 7},        // MAX_DTO below 8 is taken
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.limits);
        cfg.acceptSlaveLimits = row.accept;
        cfg.padFrames = row.pad;
        cfg.maxCto = row.maxCto;
        cfg.maxDto = row.maxDto;
        answered(std::string("ff 00 00 ") + row.limits, [](auto& t) { return t.cmdConnect(0); });
        EXPECT_EQ(task().m_cfg.maxCto, row.ctoAfter);
        EXPECT_EQ(task().m_cfg.maxDto, row.dtoAfter);
    }
}

TEST_F(XcpCommand, MaxDtoOfConnectIsNeverSwapped) {
    cfg.acceptSlaveLimits = 1;
    answered(
        "ff 00 00 08 40 00", [](auto& t) { return t.cmdConnect(0); }, 1);
    EXPECT_EQ(task().m_cfg.maxDto, 0x40);
}

TEST_F(XcpCommand, StatusIsKeptAndItsSessionIdNeverSwapped) {
    for (const std::uint8_t byteOrder : kBothOrders) {
        answered(
            "ff 11 22 33 44 55", [](auto& t) { return t.cmdGetStatus(); }, byteOrder);
        EXPECT_EQ(live().sessionStatus, 0x11);
        EXPECT_EQ(live().protectionStatus, 0x22);
        EXPECT_EQ(live().stateNumber, 0x33);
        EXPECT_EQ(live().sessionConfigId, 0x5544);
    }
}

TEST_F(XcpCommand, CommModeInfoIsKept) {
    answered("ff 11 22 33 44 55 66 77", [](auto& t) { return t.cmdGetCommModeInfo(); });
    EXPECT_EQ(live().commModeOptional, 0x22);
    EXPECT_EQ(live().maxBs, 0x44);
    EXPECT_EQ(live().minSt, 0x55);
    EXPECT_EQ(live().queueSize, 0x66);
    EXPECT_EQ(live().driverVersion, 0x77);
}

TEST_F(XcpCommand, ChecksumIsHandedOutAndNeverSwapped) {
    for (const std::uint8_t byteOrder : kBothOrders) {
        std::uint32_t checksum = 0;
        const auto run = [&checksum](auto& t) { return t.cmdBuildChecksum(4, checksum); };
        EXPECT_EQ(answered("ff 09 00 00 11 22 33 44", run, byteOrder), 0U);
        EXPECT_EQ(checksum, 0x44332211U);
        EXPECT_EQ(live().checksumType, 9U);
    }
}

// ERR_CMD_SYNCH counts as success of an exchange, but is no checksum.
TEST_F(XcpCommand, ChecksumFailsIfTheResponseIsNotPositive) {
    cfg.xcp.checksumType = 5;
    std::uint32_t checksum = 77;
    EXPECT_EQ(answered("fe 00 00 00 11 22 33 44", [&](auto& t) { return t.cmdBuildChecksum(4, checksum); }),
              1U);
    EXPECT_EQ(checksum, 77U);
    EXPECT_EQ(live().checksumType, 5U);
}

TEST_F(XcpCommand, FirstPidOfASelectedListIsKept) {
    answered("ff 2a", [](auto& t) { return t.cmdStartStopDaqList(2, 0x102); });
    ASSERT_EQ(live().daqListInfo.count(0x102), 1U);
    EXPECT_EQ(live().daqListInfo[0x102].firstPid, 0x2A);
}

TEST_F(XcpCommand, RefusedSelectLeavesNoEntryOfTheList) {
    answered("fe 22", [](auto& t) { return t.cmdStartStopDaqList(2, 5); });
    EXPECT_TRUE(live().daqListInfo.empty());
}

TEST_F(XcpCommand, StartBringsFirstPidsToThePlanBeforeItsFrame) {
    cfg.xcp.daqListInfo[3].firstPid = 9;
    std::uint8_t seen = 0;
    ecu.answersBy("dd 01", [&](const std::string&) {
        seen = task().m_daq.m_listInfo[3].firstPid;
        return Texts{"ff"};
    });
    task().cmdStartStopSynch(1);
    EXPECT_EQ(seen, 9);
}

TEST_F(XcpCommand, DaqClockIsKept) {
    answered("ff 00 22 33 44 55 66 77", [](auto& t) { return t.cmdGetDaqClock(); });
    EXPECT_EQ(live().clockTriggerInfo, 0x22);
    EXPECT_EQ(live().clockPayloadFormat, 0x33);
    EXPECT_EQ(live().clockTimestamp, 0x77665544U);
    answered(
        "ff 00 22 33 44 55 66 77", [](auto& t) { return t.cmdGetDaqClock(); }, 1);
    EXPECT_EQ(live().clockTimestamp, 0x44556677U);
}

TEST_F(XcpCommand, DaqProcessorInfoIsKept) {
    answered("ff 11 22 33 44 55 02 77", [](auto& t) { return t.cmdGetDaqProcessorInfo(); });
    EXPECT_EQ(live().daqProperties, 0x11);
    EXPECT_EQ(live().maxDaq, 0x3322);
    EXPECT_EQ(live().maxEventChannel, 0x5544);
    EXPECT_EQ(live().minDaq, 2);
    EXPECT_EQ(live().daqKeyByte, 0x77);
}

TEST_F(XcpCommand, MinDaqOfABigEndianEcuIsTimes256) {
    answered(
        "ff 11 22 33 44 55 02 77", [](auto& t) { return t.cmdGetDaqProcessorInfo(); }, 1);
    EXPECT_EQ(live().maxDaq, 0x2233);
    EXPECT_EQ(live().maxEventChannel, 0x4455);
    EXPECT_EQ(live().minDaq, 0x200);
}

TEST_F(XcpCommand, ShortResponseReadsZeros) {
    cfg.xcp.daqKeyByte = 9;
    cfg.xcp.maxDaq = 9;
    answered("ff 11 22", [](auto& t) { return t.cmdGetDaqProcessorInfo(); });
    EXPECT_EQ(live().daqProperties, 0x11);
    EXPECT_EQ(live().maxDaq, 0x22);
    EXPECT_EQ(live().daqKeyByte, 0);
}

TEST_F(XcpCommand, DaqResolutionIsKeptAndItsTicksNeverSwapped) {
    for (const std::uint8_t byteOrder : kBothOrders) {
        answered(
            "ff 11 22 33 44 55 66 77", [](auto& t) { return t.cmdGetDaqResolutionInfo(); }, byteOrder);
        EXPECT_EQ(live().granularityOdtEntryDaq, 0x11);
        EXPECT_EQ(live().maxOdtEntrySizeDaq, 0x22);
        EXPECT_EQ(live().granularityOdtEntryStim, 0x33);
        EXPECT_EQ(live().maxOdtEntrySizeStim, 0x44);
        EXPECT_EQ(live().timestampMode, 0x55);
        EXPECT_EQ(live().timestampTicks, 0x7766);
    }
}

TEST_F(XcpCommand, EventInfoIsKept) {
    answered("ff 11 22 00 44 55 66", [](auto& t) { return t.cmdGetDaqEventInfo(7); });
    ASSERT_EQ(live().events.size(), 1U);
    const XcpEventCfg& event = live().events[7];
    EXPECT_EQ(event.properties, 0x11);
    EXPECT_EQ(event.maxDaqList, 0x22);
    EXPECT_EQ(event.nameLength, 0);
    EXPECT_EQ(event.timeCycle, 0x44);
    EXPECT_EQ(event.timeUnit, 0x55);
    EXPECT_EQ(event.priority, 0x66);
    EXPECT_EQ(sent(), Texts{"d7 00 07 00"});
}

TEST_F(XcpCommand, EventNameIsUploadedWithoutASetMta) {
    cfg.xcp.addressGranularity = 4;
    ecu.answers("d7 ..", {"ff 04 01 09 0a 06 00"});
    ecu.answers("f5 07", {"ff 31 30 6d 73 2d 74 61"});
    ecu.answers("f5 02", {"ff 73 6b"});
    EXPECT_EQ(task().cmdGetDaqEventInfo(0), 0U);
    EXPECT_EQ(sent(), Texts({"d7 00 00 00", "f5 07", "f5 02"}));
    const XcpEventCfg& event = live().events[0];
    EXPECT_EQ(std::string(event.name.begin(), event.name.begin() + 10), std::string("10ms-task\0", 10));
    EXPECT_EQ(task().m_lastResponse.data[1], 0x04);
}

TEST_F(XcpCommand, EventNameThatFailsIsNotReported) {
    ecu.answers("d7 ..", {"ff 04 01 09 0a 06 00"});
    ecu.answers("f5 ..", {"fe 20"});
    EXPECT_EQ(task().cmdGetDaqEventInfo(0), 0U);
    EXPECT_EQ(live().events[0].nameLength, 9);
    EXPECT_FALSE(task().m_linkLost);
}

TEST_F(XcpCommand, ProgramStartIsKept) {
    answered("ff 11 22 33 44 55 66", [](auto& t) { return t.cmdProgramStart(); });
    EXPECT_EQ(live().commModePgm, 0x22);
    EXPECT_EQ(live().maxCtoPgm, 0x33);
    EXPECT_EQ(live().maxBsPgm, 0x44);
    EXPECT_EQ(live().minStPgm, 0x55);
    EXPECT_EQ(live().queueSizePgm, 0x66);
}

TEST_F(XcpCommand, FailureChangesNothingThatIsKept) {
    cfg.xcp.maxBs = 9;
    cfg.xcp.sessionStatus = 9;
    cfg.xcp.maxDaq = 9;
    cfg.xcp.clockTimestamp = 9;
    ecu.answersByDefault({"fe 25 ff ff ff ff ff ff"});
    task().cmdGetCommModeInfo();
    task().cmdGetStatus();
    task().cmdGetDaqProcessorInfo();
    task().cmdGetDaqClock();
    task().cmdGetDaqEventInfo(3);
    EXPECT_EQ(live().maxBs, 9);
    EXPECT_EQ(live().sessionStatus, 9);
    EXPECT_EQ(live().maxDaq, 9);
    EXPECT_EQ(live().clockTimestamp, 9U);
    EXPECT_TRUE(live().events.empty());
}

TEST_F(XcpCommand, EachCommandHasItsTimeOut) {
    std::uint16_t time = 1;
    for (std::uint16_t* t : {&cfg.xcp.t1, &cfg.xcp.t2, &cfg.xcp.t3, &cfg.xcp.t4, &cfg.xcp.t5, &cfg.xcp.t6}) {
        *t = time++;
    }
    for (int pid = 0; pid < 256; ++pid) {
        const std::map<int, int> others = {{0xC8, 3}, {0xCC, 3}, {0xD2, 3}, {0xD1, 4}, {0xC9, 5},
                                           {0xCA, 5}, {0xCF, 5}, {0xD0, 5}, {0xF3, 2}};
        const int expected = others.count(pid) != 0 ? others.at(pid) : 1;
        EXPECT_EQ(task().commandTimeout(static_cast<std::uint8_t>(pid), 0), expected) << pid;
        EXPECT_EQ(task().commandTimeout(static_cast<std::uint8_t>(pid), 1), pid == 0xFF ? 6 : expected)
            << pid;
    }
    EXPECT_EQ(task().commandTimeout(0xFF, 2), 1);
}
