// The DAQ commands of the simulated XCP ECU: set-up, information, sequences and refusals.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

namespace sim::test {
namespace {

/// Two lists: one predefined on the slow channel, one free of two ODTs with three entries each.
XcpEcuConfig staticEcu() {
    XcpEcuConfig config = smallEcu();
    config.daq.dynamic = false;
    XcpDaqListConfig predefined;
    predefined.fixedEvent = 1;
    predefined.content = {{XcpDaqEntry{.size = 2, .address = 0x1010}},
                          {XcpDaqEntry{.size = 1, .address = 0x1020}}};
    XcpDaqListConfig free;
    free.odts = 2;
    free.entriesPerOdt = 3;
    config.daq.lists = {predefined, free};
    return config;
}

XcpEcuConfig small(std::uint16_t lists, std::uint16_t odts, std::uint16_t entries) {
    XcpEcuConfig config = smallEcu();
    config.daq.maxLists = lists;
    config.daq.maxOdts = odts;
    config.daq.maxEntries = entries;
    return config;
}

// Information

TEST(XcpEcuGetDaqProcessorInfo, OfDynamicListsCountsTheAllocatedOnes) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("da"), "ff 13 00 00 02 00 00 00");
    ASSERT_EQ(bench.setUp({"d6", "d5 00 03 00"}), "");
    EXPECT_EQ(bench.ask("da"), "ff 13 03 00 02 00 00 00");
}

TEST(XcpEcuGetDaqProcessorInfo, TellsEveryProperty) {
    XcpEcuConfig config = motorola(staticEcu());
    config.daq.prescalerSupported = false;
    config.daq.pidOffSupported = true;
    config.daq.overload = XcpOverload::event;
    config.daq.idField = XcpIdField::relativeWordAligned;
    config.daq.addressExtension = 3;
    EXPECT_EQ(Session(config).ask("da"), "ff b0 00 02 00 02 01 f0");
    config.daq.overload = XcpOverload::msb;
    config.daq.timestampSize = 0;
    config.daq.idField = XcpIdField::relativeByte;
    config.daq.addressExtension = 1;
    EXPECT_EQ(Session(config).ask("da"), "ff 60 00 02 00 02 01 50");
}

TEST(XcpEcuGetDaqResolutionInfo, TellsGranularitySizeAndTimestamp) {
    XcpEcuConfig config = smallEcu();
    EXPECT_EQ(Session(config).ask("d9"), "ff 01 07 00 00 34 01 00");
    config = motorola(config);
    config.daq.entryGranularity = 4;
    config.daq.maxEntrySize = 4;
    config.daq.timestampSize = 2;
    config.daq.timestampFixed = true;
    config.daq.timestampUnit = 6;
    config.daq.timestampTicks = 0x0102;
    EXPECT_EQ(Session(config).ask("d9"), "ff 04 04 00 00 6a 01 02");
}

TEST(XcpEcuGetDaqListInfo, TellsAPredefinedAndAFreeList) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("d8 00 00 00"), "ff 07 02 01 01 00");
    EXPECT_EQ(bench.ask("d8 00 01 00"), "ff 04 02 03 00 00");
    EXPECT_EQ(bench.ask("d8 00 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("d8 00 02"), "fe 21");
}

TEST(XcpEcuGetDaqListInfo, InMotorolaOrderReadsAndWritesWordsInIt) {
    Session bench(motorola(staticEcu()));
    EXPECT_EQ(bench.ask("d8 00 00 00"), "ff 07 02 01 00 01");
    EXPECT_EQ(bench.ask("d8 00 01 00"), "fe 22");
}

TEST(XcpEcuGetDaqEventInfo, TellsTheChannelAndLeavesItsNameForUpload) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.ask("d7 00 01 00"), "ff 04 ff 04 64 06 03");
    EXPECT_EQ(bench.ask("f5 04"), "ff 73 6c 6f 77");
    EXPECT_EQ(bench.ask("d7 00 02 00"), "fe 22");
}

TEST(XcpEcuGetDaqClock, CountsTicksSinceTheStart) {
    XcpEcuConfig config = smallEcu();
    config.daq.clockStart = 0x10000;
    Session bench(config);
    bench.pass(2 * kMs);
    EXPECT_EQ(bench.ask("dc"), "ff 00 00 00 d0 07 01 00");
}

TEST(XcpEcuGetDaqClock, WrapsAndFollowsUnitAndTicks) {
    XcpEcuConfig config = motorola(smallEcu());
    config.daq.clockStart = 0xFFFFFFFF;
    config.daq.timestampUnit = 5;
    config.daq.timestampTicks = 2;
    Session bench(config);
    EXPECT_EQ(bench.ask("dc"), "ff 00 00 00 ff ff ff ff");
    bench.pass(kMs);
    EXPECT_EQ(bench.ask("dc"), "ff 00 00 00 00 00 00 04");
}

TEST(XcpEcuGetDaqClock, IsUnknownWithoutTimestamps) {
    XcpEcuConfig config = smallEcu();
    config.daq.timestampSize = 0;
    EXPECT_EQ(Session(config).ask("dc"), "fe 20");
}

// Dynamic lists

TEST(XcpEcuAlloc, GoesFromFreeOverListsAndOdtsToEntries) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.setUp({"d6", "d5 00 02 00", "d4 00 00 00 02", "d4 00 01 00 01", "d3 00 00 00 00 03",
                           "d3 00 00 00 01 01", "d3 00 01 00 00 02"}),
              "");
    EXPECT_EQ(bench.ask("d8 00 00 00"), "ff 04 02 03 00 00");
    EXPECT_EQ(bench.ask("d8 00 01 00"), "ff 04 01 02 00 00");
}

TEST(XcpEcuAlloc, TakesMotorolaNumbers) {
    Session bench(motorola(smallEcu()));
    EXPECT_EQ(bench.setUp({"d6", "d5 00 00 02", "d4 00 00 01 02", "d3 00 00 01 01 03"}), "");
    EXPECT_EQ(bench.ask("d8 00 00 01"), "ff 04 02 03 00 00");
}

/// A step of the set-up and the steps that must be refused behind it.
struct SequenceRow {
    std::vector<std::string> done;
    std::vector<std::string> refused;
};

TEST(XcpEcuAlloc, RefusesEveryStepOutOfSequence) {
    const std::string lists = "d5 00 01 00";
    const std::string odts = "d4 00 00 00 01";
    const std::string entries = "d3 00 00 00 00 01";
    const SequenceRow rows[] = {
        {{}, {lists, odts, entries}},
        {{"d6"}, {odts, entries}},
        {{"d6", lists}, {lists, entries}},
        {{"d6", lists, odts}, {lists}},
        {{"d6", lists, odts, entries}, {lists, odts}},
    };
    for (const SequenceRow& row : rows) {
        Session bench(smallEcu());
        ASSERT_EQ(bench.setUp(row.done), "");
        for (const std::string& command : row.refused) {
            EXPECT_EQ(bench.ask(command), "fe 29") << row.done.size() << " " << command;
        }
        EXPECT_EQ(bench.setUp({"d6", lists, odts, odts, entries, entries, "d6"}), "");
    }
}

TEST(XcpEcuAlloc, RefusesWhatTheMemoryCannotHold) {
    Session bench(small(2, 3, 4));
    EXPECT_EQ(bench.setUp({"d6"}), "");
    EXPECT_EQ(bench.ask("d5 00 03 00"), "fe 30");
    EXPECT_EQ(bench.ask("d5 00 02 00"), "ff");
    EXPECT_EQ(bench.ask("d4 00 00 00 02"), "ff");
    EXPECT_EQ(bench.ask("d4 00 01 00 02"), "fe 30");
    EXPECT_EQ(bench.ask("d4 00 01 00 01"), "ff");
    EXPECT_EQ(bench.ask("d3 00 00 00 00 03"), "ff");
    EXPECT_EQ(bench.ask("d3 00 01 00 00 02"), "fe 30");
    EXPECT_EQ(bench.ask("d3 00 01 00 00 01"), "ff");
}

TEST(XcpEcuAlloc, RefusesNumbersThatAreNotThere) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.setUp({"d6"}), "");
    EXPECT_EQ(bench.ask("d5 00 00 00"), "fe 22");
    EXPECT_EQ(bench.setUp({"d5 00 01 00"}), "");
    EXPECT_EQ(bench.ask("d4 00 01 00 01"), "fe 22");
    EXPECT_EQ(bench.setUp({"d4 00 00 00 01"}), "");
    EXPECT_EQ(bench.ask("d3 00 01 00 00 01"), "fe 22");
    EXPECT_EQ(bench.ask("d3 00 00 00 01 01"), "fe 22");
}

TEST(XcpEcuAlloc, CannotNumberMoreOdtsThanIdentifiers) {
    XcpEcuConfig config = small(10, 2000, 2000);
    Session absolute(config);
    EXPECT_EQ(absolute.setUp({"d6", "d5 00 02 00", "d4 00 00 00 fb"}), "");
    EXPECT_EQ(absolute.ask("d4 00 01 00 02"), "fe 30");
    EXPECT_EQ(absolute.ask("d4 00 01 00 01"), "ff");
    config.daq.idField = XcpIdField::relativeByte;
    Session relative(config);
    EXPECT_EQ(relative.setUp({"d6", "d5 00 02 00", "d4 00 00 00 fc", "d4 00 01 00 fc"}), "");
    EXPECT_EQ(relative.ask("d4 00 01 00 fd"), "fe 30");
    config.daq.overload = XcpOverload::msb;
    Session marked(config);
    EXPECT_EQ(marked.setUp({"d6", "d5 00 02 00", "d4 00 00 00 7c"}), "");
    EXPECT_EQ(marked.ask("d4 00 01 00 7d"), "fe 30");
}

TEST(XcpEcuAlloc, CannotNumberMoreListsThanAByteHolds) {
    XcpEcuConfig config = small(0x200, 1, 1);
    config.daq.idField = XcpIdField::relativeByte;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"d6"}), "");
    EXPECT_EQ(bench.ask("d5 00 01 01"), "fe 30");
    EXPECT_EQ(bench.ask("d5 00 00 01"), "ff");
}

TEST(XcpEcuAlloc, LeavesPredefinedListsInFront) {
    XcpEcuConfig config = staticEcu();
    config.daq.dynamic = true;
    config.daq.lists.pop_back();
    Session bench(config);
    EXPECT_EQ(bench.setUp({"d6", "d5 00 01 00"}), "");
    EXPECT_EQ(bench.ask("da"), "ff 13 02 00 02 00 01 00");
    EXPECT_EQ(bench.ask("d4 00 00 00 01"), "fe 22");
    EXPECT_EQ(bench.ask("d4 00 01 00 01"), "ff");
    EXPECT_EQ(bench.ask("d3 00 00 00 00 01"), "fe 22");
}

TEST(XcpEcuAlloc, IsUnknownToAnEcuWithStaticLists) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("d6"), "fe 20");
    EXPECT_EQ(bench.ask("d5 00 01 00"), "fe 20");
    EXPECT_EQ(bench.ask("d4 00 01 00 01"), "fe 20");
    EXPECT_EQ(bench.ask("d3 00 01 00 00 01"), "fe 20");
}

TEST(XcpEcuAlloc, WhoseListRunsIsRefusedAndFreeStopsIt) {
    Session bench(smallEcu());
    EXPECT_EQ(bench.setUp({"d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
                           "e1 ff 01 00 00 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}),
              "");
    EXPECT_EQ(bench.ask("d3 00 00 00 00 02"), "fe 11");
    EXPECT_EQ(bench.ask("d6"), "ff");
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.port.pendingTimers(), 0U);
}

// Pointer and entries

TEST(XcpEcuWriteDaq, FillsEntriesOneAfterTheOtherAndReadDaqTellsThem) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 01", "e1 ff 02 00 34 10 00 00", "e1 05 01 00 40 10 00 00"}), "");
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("db"), "ff ff 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("db"), "ff ff 02 00 34 10 00 00");
    EXPECT_EQ(bench.ask("db"), "ff 05 01 00 40 10 00 00");
    EXPECT_EQ(bench.ask("db"), "fe 29");
}

TEST(XcpEcuWriteDaq, TakesAndTellsMotorolaAddresses) {
    Session bench(motorola(staticEcu()));
    EXPECT_EQ(bench.setUp({"e2 00 00 01 00 00", "e1 ff 02 00 00 00 10 34", "e2 00 00 01 00 00"}), "");
    EXPECT_EQ(bench.ask("db"), "ff ff 02 00 00 00 10 34");
}

TEST(XcpEcuWriteDaq, BehindTheLastEntryOrWithoutAPointerIsOutOfSequence) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00 00"), "fe 29");
    EXPECT_EQ(bench.ask("db"), "fe 29");
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 02", "e1 ff 01 00 00 10 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00 00"), "fe 29");
}

TEST(XcpEcuWriteDaq, RefusesWrongElements) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 00 00 00 10 00 00"), "fe 22") << "size 0";
    EXPECT_EQ(bench.ask("e1 ff 08 00 00 10 00 00"), "fe 22") << "above the largest size";
    EXPECT_EQ(bench.ask("e1 20 01 00 00 10 00 00"), "fe 22") << "bit 32";
    EXPECT_EQ(bench.ask("e1 ff 02 00 ff 10 00 00"), "fe 24") << "ends outside";
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 30 00 00"), "fe 24") << "hidden";
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00"), "fe 21");
    EXPECT_EQ(bench.ask("db"), "ff ff 00 00 00 00 00 00");
}

TEST(XcpEcuWriteDaq, OfAPredefinedListIsWriteProtected) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 00 00 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00 00"), "fe 23");
    EXPECT_EQ(bench.ask("db"), "ff ff 02 00 10 10 00 00");
}

TEST(XcpEcuWriteDaq, OverflowingTheOdtIsAWrongConfiguration) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00", "e1 ff 06 00 00 10 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 02 00 00 10 00 00"), "fe 2a");
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00 00"), "ff");
}

TEST(XcpEcuWriteDaq, LeavesRoomForAFixedTimestampInTheFirstOdtOnly) {
    XcpEcuConfig config = staticEcu();
    config.daq.timestampFixed = true;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 04 00 00 10 00 00"), "fe 2a");
    EXPECT_EQ(bench.ask("e1 ff 03 00 00 10 00 00"), "ff");
    EXPECT_EQ(bench.setUp({"e2 00 01 00 01 00", "e1 ff 07 00 00 10 00 00"}), "");
}

TEST(XcpEcuWriteDaq, KeepsToTheGranularityOfEntries) {
    XcpEcuConfig config = staticEcu();
    config.daq.lists.erase(config.daq.lists.begin());
    config.daq.entryGranularity = 2;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"e2 00 00 00 00 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 03 00 00 10 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("e1 ff 02 00 01 10 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("e1 ff 02 00 02 10 00 00"), "ff");
}

TEST(XcpEcuWriteDaq, KeepsToOneAddressExtensionWhereTheEcuAsksForIt) {
    XcpEcuConfig config = staticEcu();
    config.memory.push_back(plainSegment(0x1000, 16, MemoryAccess::readWrite, 1));
    config.daq.addressExtension = 1;
    Session odtRule(config);
    EXPECT_EQ(odtRule.setUp({"e2 00 01 00 00 00", "e1 ff 01 00 00 10 00 00"}), "");
    EXPECT_EQ(odtRule.ask("e1 ff 01 01 00 10 00 00"), "fe 2a");
    EXPECT_EQ(odtRule.setUp({"e2 00 01 00 01 00", "e1 ff 01 01 00 10 00 00"}), "");
    config.daq.addressExtension = 3;
    Session listRule(config);
    EXPECT_EQ(listRule.setUp({"e2 00 01 00 00 00", "e1 ff 01 00 00 10 00 00", "e2 00 01 00 01 00"}), "");
    EXPECT_EQ(listRule.ask("e1 ff 01 01 00 10 00 00"), "fe 2a");
}

TEST(XcpEcuSetDaqPtr, RefusesWhatIsNotThere) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("e2 00 02 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("e2 00 01 00 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("e2 00 01 00 00 03"), "fe 22");
    EXPECT_EQ(bench.ask("e2 00 01 00 00"), "fe 21");
}

TEST(XcpEcuWriteDaqMultiple, WritesSeveralElementsOfALongCommand) {
    XcpEcuConfig config = staticEcu();
    config.fd = true;
    config.maxCto = 24;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("c7 02 ff 01 00 10 00 00 00 00 ff 02 04 10 00 00 00"), "ff");
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("db"), "ff ff 01 00 00 10 00 00");
    EXPECT_EQ(bench.ask("db"), "ff ff 02 00 04 10 00 00");
}

TEST(XcpEcuWriteDaqMultiple, RefusesWrongCountsAndShortCommands) {
    XcpEcuConfig config = staticEcu();
    config.fd = true;
    config.maxCto = 24;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00"}), "");
    EXPECT_EQ(bench.ask("c7 00"), "fe 22");
    EXPECT_EQ(bench.ask("c7 03 ff 01 00 10 00 00 00 00"), "fe 22");
    EXPECT_EQ(bench.ask("c7 02 ff 01 00 10 00 00 00 00 ff 02 04 10 00 00"), "fe 21");
    EXPECT_EQ(bench.ask("c7 01 ff 00 00 10 00 00 00"), "fe 22");
    EXPECT_EQ(Session(staticEcu()).ask("c7 01 ff 01 00 10 00 00"), "fe 22") << "does not fit MAX_CTO 8";
}

// Mode, start and stop

TEST(XcpEcuSetDaqListMode, IsToldByGetDaqListMode) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("e0 10 01 00 01 00 07 09"), "ff");
    EXPECT_EQ(bench.ask("df 00 01 00"), "ff 10 00 00 01 00 07 09");
    EXPECT_EQ(bench.ask("df 00 02 00"), "fe 22");
}

TEST(XcpEcuSetDaqListMode, InMotorolaOrderReadsAndWritesWordsInIt) {
    Session bench(motorola(staticEcu()));
    EXPECT_EQ(bench.ask("e0 10 00 01 00 01 07 09"), "ff");
    EXPECT_EQ(bench.ask("df 00 00 01"), "ff 10 00 00 00 01 07 09");
}

TEST(XcpEcuSetDaqListMode, RefusesWrongModesChannelsAndPrescalers) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("e0 02 01 00 00 00 01 00"), "fe 27") << "STIM";
    EXPECT_EQ(bench.ask("e0 20 01 00 00 00 01 00"), "fe 27") << "PID off";
    EXPECT_EQ(bench.ask("e0 08 01 00 00 00 01 00"), "fe 27") << "counter";
    EXPECT_EQ(bench.ask("e0 00 01 00 02 00 01 00"), "fe 22") << "event channel";
    EXPECT_EQ(bench.ask("e0 00 01 00 00 00 00 00"), "fe 22") << "prescaler 0";
    EXPECT_EQ(bench.ask("e0 00 02 00 00 00 01 00"), "fe 22") << "list";
    EXPECT_EQ(bench.ask("e0 00 00 00 00 00 01 00"), "fe 22") << "another channel than the fixed one";
    EXPECT_EQ(bench.ask("e0 00 00 00 01 00 01 00"), "ff");
}

TEST(XcpEcuSetDaqListMode, RefusesWhatTheEcuDoesNotSupport) {
    XcpEcuConfig config = staticEcu();
    config.daq.prescalerSupported = false;
    config.daq.timestampSize = 0;
    config.daq.events[0].properties = 0x08;
    Session bench(config);
    EXPECT_EQ(bench.ask("e0 00 01 00 01 00 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("e0 10 01 00 01 00 01 00"), "fe 27");
    EXPECT_EQ(bench.ask("e0 00 01 00 00 00 01 00"), "fe 22") << "a channel for STIM only";
    EXPECT_EQ(bench.ask("e0 00 01 00 01 00 01 00"), "ff");
}

TEST(XcpEcuSetDaqListMode, CannotSwitchAFixedTimestampOff) {
    XcpEcuConfig config = staticEcu();
    config.daq.timestampFixed = true;
    Session bench(config);
    EXPECT_EQ(bench.ask("e0 00 01 00 00 00 01 00"), "fe 21");
    EXPECT_EQ(bench.ask("e0 10 01 00 00 00 01 00"), "ff");
    EXPECT_EQ(bench.ask("df 00 00 00"), "ff 10 00 00 01 00 01 00");
}

/// A static ECU whose free list is ready to start.
struct ReadySession : Session {
    explicit ReadySession(const XcpEcuConfig& config) : Session(config) {
        EXPECT_EQ(setUp({"e2 00 01 00 00 00", "e1 ff 01 00 00 10 00 00", "e0 00 01 00 00 00 01 00"}), "");
    }
};

TEST(XcpEcuStartStopDaqList, AnswersTheFirstIdentifierAndShowsInStatusAndMode) {
    ReadySession bench(staticEcu());
    EXPECT_EQ(bench.ask("de 01 01 00"), "ff 02");
    EXPECT_EQ(bench.ask("fd"), "ff 40 00 00 00 00");
    EXPECT_EQ(bench.ask("df 00 01 00"), "ff 40 00 00 00 00 01 00");
    EXPECT_EQ(bench.ask("de 00 01 00"), "ff 02");
    EXPECT_EQ(bench.ask("fd"), "ff 00 00 00 00 00");
}

TEST(XcpEcuStartStopDaqList, SelectsForACommonStart) {
    ReadySession bench(staticEcu());
    EXPECT_EQ(bench.setUp({"de 02 00 00", "de 02 01 00"}), "");
    EXPECT_EQ(bench.ask("df 00 01 00"), "ff 01 00 00 00 00 01 00");
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.ask("dd 01"), "ff");
    EXPECT_EQ(bench.ask("df 00 00 00"), "ff 40 00 00 01 00 01 00");
    EXPECT_EQ(bench.ask("df 00 01 00"), "ff 40 00 00 00 00 01 00");
}

TEST(XcpEcuStartStopSynch, StopsTheSelectedOrAll) {
    ReadySession bench(staticEcu());
    EXPECT_EQ(bench.setUp({"de 01 00 00", "de 01 01 00", "de 02 01 00", "dd 02"}), "");
    EXPECT_EQ(bench.ask("df 00 00 00"), "ff 40 00 00 01 00 01 00");
    EXPECT_EQ(bench.ask("df 00 01 00"), "ff 00 00 00 00 00 01 00");
    EXPECT_EQ(bench.ask("dd 00"), "ff");
    EXPECT_FALSE(bench.ecu.daqRunning());
}

TEST(XcpEcuStartStopSynch, RefusesUnknownModesAndIsHappyWithNothingSelected) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("dd 03"), "fe 27");
    EXPECT_EQ(bench.ask("de 03 00 00"), "fe 27");
    EXPECT_EQ(bench.ask("dd"), "fe 21");
    EXPECT_EQ(bench.ask("dd 01"), "ff");
    EXPECT_FALSE(bench.ecu.daqRunning());
}

TEST(XcpEcuStart, RefusesListsThatAreNotReady) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.ask("de 01 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("de 01 01 00"), "fe 2a") << "not on an event channel";
    EXPECT_EQ(bench.setUp({"e0 00 01 00 00 00 01 00"}), "");
    EXPECT_EQ(bench.ask("de 01 01 00"), "fe 2a") << "without an entry";
    EXPECT_EQ(bench.ask("de 02 01 00"), "fe 2a");
}

TEST(XcpEcuStart, RefusesAFirstOdtThatATimestampMakesTooLong) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00", "e1 ff 04 00 00 10 00 00", "e0 10 01 00 00 00 01 00"}), "");
    EXPECT_EQ(bench.ask("de 01 01 00"), "fe 2a");
    EXPECT_EQ(bench.setUp({"e0 00 01 00 00 00 01 00", "de 01 01 00"}), "");
}

TEST(XcpEcuStart, OfSelectedListsLooksAgainWhetherTheyFit) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00", "e1 ff 04 00 00 10 00 00", "e0 00 01 00 00 00 01 00",
                           "de 02 01 00", "e0 10 01 00 00 00 01 00"}),
              "");
    EXPECT_EQ(bench.ask("dd 01"), "fe 2a");
    EXPECT_FALSE(bench.ecu.daqRunning());
}

TEST(XcpEcuStart, KeepsToTheNumberOfListsOfAChannel) {
    XcpEcuConfig config = staticEcu();
    config.daq.lists[0].fixedEvent = 0;
    config.daq.events[0].maxLists = 1;
    ReadySession bench(config);
    EXPECT_EQ(bench.setUp({"de 01 00 00", "de 01 00 00"}), "");
    EXPECT_EQ(bench.ask("de 01 01 00"), "fe 2a");
    EXPECT_EQ(bench.setUp({"dd 00", "de 02 00 00", "de 02 01 00"}), "");
    EXPECT_EQ(bench.ask("dd 01"), "fe 2a");
}

TEST(XcpEcuRunningList, RefusesToBeChanged) {
    ReadySession bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e2 00 01 00 00 00", "de 01 01 00"}), "");
    EXPECT_EQ(bench.ask("e1 ff 01 00 00 10 00 00"), "fe 11");
    EXPECT_EQ(bench.ask("e2 00 01 00 00 00"), "fe 11");
    EXPECT_EQ(bench.ask("e0 00 01 00 00 00 01 00"), "fe 11");
}

TEST(XcpEcuClearDaqList, StopsAndEmptiesAFreeList) {
    ReadySession bench(staticEcu());
    EXPECT_EQ(bench.setUp({"de 01 01 00", "e3 00 01 00", "e2 00 01 00 00 00"}), "");
    EXPECT_FALSE(bench.ecu.daqRunning());
    EXPECT_EQ(bench.ask("db"), "ff ff 00 00 00 00 00 00");
    EXPECT_EQ(bench.ask("e3 00 02 00"), "fe 22");
}

TEST(XcpEcuClearDaqList, StopsAPredefinedListAndKeepsItsContent) {
    Session bench(staticEcu());
    EXPECT_EQ(bench.setUp({"e0 10 00 00 01 00 05 00", "de 01 00 00", "e3 00 00 00"}), "");
    EXPECT_EQ(bench.ask("df 00 00 00"), "ff 00 00 00 01 00 01 00");
    EXPECT_EQ(bench.setUp({"e2 00 00 00 00 00"}), "");
    EXPECT_EQ(bench.ask("db"), "ff ff 02 00 10 10 00 00");
}

TEST(XcpEcuDaqIds, AreToldAndSetByList) {
    XcpEcuConfig config = staticEcu();
    config.daq.lists[0].canId = 0x702;
    config.daq.lists[1].canIdFixed = false;
    Session bench(config);
    EXPECT_EQ(bench.ask("f2 fe 00 00"), "ff 01 00 00 02 07 00 00");
    EXPECT_EQ(bench.ask("f2 fe 01 00"), "ff 00 00 00 01 06 00 00");
    EXPECT_EQ(bench.ask("f2 fd 01 00 03 07 00 00"), "ff");
    EXPECT_EQ(bench.ask("f2 fe 01 00"), "ff 00 00 00 03 07 00 00");
    EXPECT_EQ(bench.ask("f2 fd 00 00 03 07 00 00"), "fe 22") << "fixed";
    EXPECT_EQ(bench.ask("f2 fd 01 00 00 08 00 00"), "fe 22") << "wider than 11 bits";
    EXPECT_EQ(bench.ask("f2 fd 01 00 03 07 00 80"), "fe 22") << "29 bits";
    EXPECT_EQ(bench.ask("f2 fe 02 00"), "fe 22");
    EXPECT_EQ(bench.ask("f2 fe 02"), "fe 21");
    EXPECT_EQ(bench.ask("f2 fd 01 00 03 07 00"), "fe 21");
}

TEST(XcpEcuDaqIds, OfTwentyNineBitsCarryTheTopBit) {
    XcpEcuConfig config = motorola(smallEcu());
    config.extended = true;
    config.slaveId = 0x18DA0001;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"d6", "d5 00 00 01"}), "");
    EXPECT_EQ(bench.ask("f2 fe 00 00"), "ff 00 00 00 98 da 00 01");
}

TEST(XcpEcuDaqIds, AreForgottenWithTheSessionAndNotChangedWhileRunning) {
    XcpEcuConfig config = staticEcu();
    config.daq.lists[0].canIdFixed = false;
    Session bench(config);
    EXPECT_EQ(bench.setUp({"f2 fd 00 00 03 07 00 00", "de 01 00 00"}), "");
    EXPECT_EQ(bench.ask("f2 fd 00 00 04 07 00 00"), "fe 11");
    bench.ask("ff 00");
    EXPECT_EQ(bench.ask("f2 fe 00 00"), "ff 00 00 00 01 06 00 00");
}

}  // namespace
}  // namespace sim::test
