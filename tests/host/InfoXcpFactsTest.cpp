// Answers of XCP ECUs, written out by hand, as lines of `talvex info`.

#include "host/InfoXcpFacts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using host::SlaveAnswer;
using ::testing::ElementsAre;

SlaveAnswer answer(std::initializer_list<std::uint8_t> bytes) {
    SlaveAnswer made;
    std::copy(bytes.begin(), bytes.end(), made.bytes.begin());
    made.length = bytes.size();
    return made;
}

SlaveAnswer error(std::uint8_t code) {
    SlaveAnswer made;
    made.status = code;
    return made;
}

// "! field | ECU | configuration", the mark only where the two differ.
std::vector<std::string> linesOf(const host::InfoFacts& facts) {
    std::vector<std::string> lines;
    for (const host::Fact& fact : facts.list()) {
        lines.push_back((fact.differs ? "! " : "") + fact.field + " | " + fact.ecu + " | " + fact.configured);
    }
    return lines;
}

class InfoXcpFacts : public ::testing::Test {
protected:
    InfoXcpFacts() {
        m_record.name = "engine";
        m_record.events.resize(1);
        m_record.events[0].name = "10ms";
        m_record.events[0].periodNs = 10'000'000;
        host::SegmentRecord segment;
        segment.kind = host::SegmentKind::calibration;
        segment.address = 0x20008000;
        segment.size = 0x800;
        m_record.segments = {segment};
    }

    std::vector<std::string> lines() const { return linesOf(m_list); }

    host::EcuRecord m_record;
    host::InfoFacts m_list;
    host::InfoXcpFacts m_facts{m_record, m_list};
};

TEST_F(InfoXcpFacts, ConnectThatAgreesHasNoMark) {
    m_facts.connect(answer({0xFF, 0x15, 0x80, 8, 8, 0, 1, 1}));
    EXPECT_THAT(lines(),
                ElementsAre("byte order | little | little", "address granularity | 1 | 1", "max_cto | 8 | 8",
                            "max_dto | 8 | 8", "protocol version | 1 | ", "transport version | 1 | ",
                            "slave block mode | no | no", "resources | calibration, daq, programming | "));
    EXPECT_EQ(m_list.differences(), 0U);
}

TEST_F(InfoXcpFacts, ConnectIsReadInTheByteOrderOfTheEcuAndNotInThatOfTheConfiguration) {
    m_facts.connect(answer({0xFF, 0x04, 0xC3, 64, 0x01, 0x00, 1, 1}));
    EXPECT_THAT(lines(),
                ElementsAre("! byte order | big | little", "! address granularity | 2 | 1",
                            "! max_cto | 64 | 8", "! max_dto | 256 | 8", "protocol version | 1 | ",
                            "transport version | 1 | ", "slave block mode | yes | no", "resources | daq | "));
    EXPECT_EQ(m_list.differences(), 4U);
    EXPECT_EQ(m_facts.order(), sim::ByteOrder::motorola);
}

TEST_F(InfoXcpFacts, LimitsThatAreTakenAsTheyComeAreNoDifference) {
    m_record.acceptLimits = true;
    m_facts.connect(answer({0xFF, 0, 0, 32, 16, 0, 1, 1}));
    EXPECT_EQ(lines()[2], "max_cto | 32 | 8");
    EXPECT_EQ(lines()[3], "max_dto | 16 | 8");
}

TEST_F(InfoXcpFacts, BlockModeThatTheEcuLacksIsADifference) {
    m_record.blockMode = true;
    m_record.masterBlockMode = true;
    m_facts.connect(answer({0xFF, 0, 0, 8, 8, 0, 1, 1}));
    m_facts.commModeInfo(answer({0xFF, 0, 0x02, 0, 9, 9, 3, 0x12}));
    EXPECT_EQ(lines()[6], "! slave block mode | no | yes");
    EXPECT_EQ(lines()[8], "! master block mode | no | yes");
    EXPECT_EQ(lines()[9], "interleaved mode | yes | ");
    EXPECT_EQ(lines()[10], "queue size | 3 | ");
    EXPECT_EQ(lines()[11], "driver version | 1.2 | ");
}

TEST_F(InfoXcpFacts, MasterBlocksComeWithTheirLimits) {
    m_facts.commModeInfo(answer({0xFF, 0, 0x01, 0, 16, 5, 0, 0x10}));
    EXPECT_EQ(lines()[0], "master block mode | yes | no");
    EXPECT_EQ(lines()[1], "max_bs | 16 frames | ");
    EXPECT_EQ(lines()[2], "min_st | 500 us | ");
}

TEST_F(InfoXcpFacts, LocksAreComparedWithThoseOfTheConfigurationIfItHasAny) {
    m_facts.status(answer({0xFF, 0x40, 0x05, 0, 0, 0}));
    EXPECT_THAT(lines(), ElementsAre("locks | calibration, daq | ", "session | DAQ running | "));
    m_record.security.locks = {{0x04, 4}};
    m_facts.status(answer({0xFF, 0, 0x05, 0, 0, 0}));
    EXPECT_EQ(lines()[2], "! locks | calibration, daq | daq");
    EXPECT_EQ(lines()[3], "session | idle | ");
}

TEST_F(InfoXcpFacts, CommandThatTheEcuDoesNotKnowIsADifferenceOnlyIfTheConfigurationCountsOnIt) {
    m_facts.commModeInfo(error(0x20));
    m_record.commands = {0xFB};
    m_facts.commModeInfo(error(0x20));
    EXPECT_THAT(lines(),
                ElementsAre("communication modes | not supported by the ECU | ",
                            "! communication modes | not supported by the ECU | 0xFB in `commands`"));
}

TEST_F(InfoXcpFacts, LockedAndFailedCommandsSaySo) {
    m_facts.daqProcessor(error(0x25));
    m_facts.daqResolution(error(0x31));
    EXPECT_EQ(lines()[0], "DAQ processor | locked | ");
    EXPECT_THAT(lines()[1], ::testing::StartsWith("DAQ resolution | error 0x31, "));
    // The events can be asked for all the same.
    EXPECT_EQ(m_facts.events(), 1U);
}

TEST_F(InfoXcpFacts, DaqProcessorIsComparedFieldByField) {
    m_facts.connect(answer({0xFF, 0x04, 0x01, 8, 0, 8, 1, 1}));
    const std::size_t before = lines().size();
    m_record.daq.maxLists = 4;
    m_facts.daqProcessor(answer({0xFF, 0x53, 0x00, 0x05, 0x00, 0x03, 2, 0x40}));
    const std::vector<std::string> all = lines();
    EXPECT_THAT(std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
                ElementsAre("DAQ lists | dynamic | dynamic", "! DAQ lists, most | 5 | 4",
                            "DAQ lists, predefined | 2 | ", "DAQ features | prescaler, timestamps | ",
                            "DAQ overload | top bit of the packet identifier | ",
                            "! identification field | relative byte | absolute", "! event channels | 3 | 1"));
    EXPECT_EQ(m_facts.events(), 3U);
}

TEST_F(InfoXcpFacts, DaqResolutionTellsTimestamps) {
    m_record.daq.maxEntrySize = 7;
    m_record.daq.timestampSize = 4;
    m_facts.daqResolution(answer({0xFF, 1, 7, 1, 7, 0x34, 1, 0}));
    m_facts.daqResolution(answer({0xFF, 2, 6, 1, 7, 0x6A, 10, 0}));
    EXPECT_THAT(lines(),
                ElementsAre("DAQ entry granularity | 1 | 1", "DAQ entry size, most | 7 | 7",
                            "timestamps | 4 bytes of 1 x 1 us | 4 bytes of 1 x 1 us",
                            "! DAQ entry granularity | 2 | 1", "! DAQ entry size, most | 6 | 7",
                            "! timestamps | 2 bytes of 10 x 1 ms, in every list | 4 bytes of 1 x 1 us"));
}

TEST_F(InfoXcpFacts, EventsAreComparedByNameAndCycle) {
    m_facts.event(0, {answer({0xFF, 4, 0xFF, 4, 10, 6, 0}), {'1', '0', 'm', 's'}});
    m_facts.event(0, {answer({0xFF, 4, 0xFF, 4, 5, 6, 0}), {'1', '0', 'm', 's'}});
    m_facts.event(1, {answer({0xFF, 4, 0xFF, 3, 0, 0, 0}), {'t', 0x01, 'x'}});
    EXPECT_THAT(lines(), ElementsAre("event 0 | \"10ms\", 10 ms | \"10ms\", 10 ms",
                                     "! event 0 | \"10ms\", 5 ms | \"10ms\", 10 ms",
                                     "event 1 | \"t.x\", not cyclic | "));
}

TEST_F(InfoXcpFacts, SegmentsShowPlaceAndActivePages) {
    m_facts.pagProcessor(answer({0xFF, 1, 1}));
    host::SegmentAnswers told;
    told.address = answer({0xFF, 0, 0, 0, 0x00, 0x80, 0x00, 0x20});
    told.length = answer({0xFF, 0, 0, 0, 0x00, 0x04, 0x00, 0x00});
    told.standard = answer({0xFF, 2, 0, 0, 0, 0});
    told.ecuPage = answer({0xFF, 0, 0, 1});
    told.toolPage = answer({0xFF, 0, 0, 0});
    m_facts.segment(0, told);
    EXPECT_THAT(
        lines(),
        ElementsAre("calibration segments | 1 | 1", "freezing of segments | yes | ",
                    "! segment 0 | 0x20008000, 0x400 bytes, 2 pages | 0x20008000, 0x800 bytes, 2 pages",
                    "segment 0, page of the ECU | 1 (reference) | ",
                    "segment 0, page of the host | 0 (working) | "));
}

TEST_F(InfoXcpFacts, SegmentThatIsRefusedSaysWhatTheEcuHasAgainstIt) {
    host::SegmentAnswers told;
    told.address = error(0x25);
    told.ecuPage = error(0x22);
    told.toolPage = error(0x20);
    m_facts.segment(0, told);
    EXPECT_EQ(lines()[0], "segment 0 | locked | ");
    EXPECT_THAT(lines()[1], ::testing::StartsWith("segment 0, page of the ECU | error 0x22, "));
    EXPECT_EQ(lines()[2], "segment 0, page of the host | not supported by the ECU | ");
}

TEST_F(InfoXcpFacts, AnswerThatIsTooShortIsNoFactOfZeros) {
    m_facts.connect(answer({0xFF, 0x15, 0x80}));
    m_facts.daqProcessor(answer({0xFF, 0x53}));
    m_facts.pgmProcessor(answer({0xFF}));
    EXPECT_THAT(lines(), ElementsAre("connect | answer of 3 bytes, too short | ",
                                     "DAQ processor | answer of 2 bytes, too short | ",
                                     "programming | answer of 1 bytes, too short | "));
}

TEST_F(InfoXcpFacts, ReservedAddressGranularityIsNamed) {
    m_facts.connect(answer({0xFF, 0x00, 0x06, 8, 8, 0, 1, 1}));
    EXPECT_EQ(lines()[1], "! address granularity | reserved code 3 | 1");
}

TEST_F(InfoXcpFacts, ProgrammingTellsItsModes) {
    m_facts.pgmProcessor(answer({0xFF, 0x01, 4}));
    m_facts.pgmProcessor(error(0x20));
    EXPECT_THAT(lines(), ElementsAre("programming | absolute | ", "flash sectors | 4 | ",
                                     "programming | not supported by the ECU | "));
}

TEST_F(InfoXcpFacts, KeyThatWasNotTakenIsADifference) {
    m_record.security.seedKey = "key.so";
    m_facts.unlockFailed("the key was not taken");
    EXPECT_THAT(lines(), ElementsAre("! unlock | the key was not taken | key.so"));
}

}  // namespace
