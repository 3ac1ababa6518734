// Frames of CCP ECUs, written out by hand, as lines of `talvex info`.

#include "host/InfoCcpFacts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InfoCcpFacts : public ::testing::Test {
protected:
    static host::EcuRecord gearbox() {
        host::EcuRecord record;
        record.ccp = true;
        record.stationAddress = 0x39;
        record.commandId = 0x680;
        record.responseId = 0x681;
        host::SegmentRecord segment;
        segment.kind = host::SegmentKind::calibration;
        segment.address = 0x30004000;
        segment.referenceAddress = 0xA0000;
        record.segments = {segment};
        return record;
    }

    void frame(std::uint32_t id, std::initializer_list<std::uint8_t> bytes) {
        host::BusFrame bus;
        bus.frame.id = id;
        bus.frame.length = static_cast<std::uint8_t>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), bus.frame.data.begin());
        m_exchanges.take(bus);
    }

    void exchange(std::initializer_list<std::uint8_t> command, std::initializer_list<std::uint8_t> answer) {
        frame(0x680, command);
        frame(0x681, answer);
    }

    // "! field | ECU | configuration", the mark only where the two differ.
    std::vector<std::string> lines() const {
        host::InfoFacts facts;
        host::addCcpFacts(m_record, m_exchanges.list(), facts);
        std::vector<std::string> lines;
        for (const host::Fact& fact : facts.list()) {
            lines.push_back((fact.differs ? "! " : "") + fact.field + " | " + fact.ecu + " | " +
                            fact.configured);
        }
        return lines;
    }

    host::EcuRecord m_record = gearbox();
    host::CcpExchanges m_exchanges{m_record};
};

TEST_F(InfoCcpFacts, SessionTellsVersionNameResourcesPageAndStatus) {
    m_record.security.locks = {{0x01, 4}, {0x40, 4}};
    exchange({0x1B, 1, 2, 1, 0, 0, 0, 0}, {0xFF, 0, 1, 2, 1, 0, 0, 0});
    exchange({0x17, 2, 'm', 'a', 's', 't', 0, 0}, {0xFF, 0, 2, 7, 0, 0x43, 0x41, 0});
    exchange({0x04, 3, 5, 0, 0, 0, 0, 0}, {0xFF, 0, 3, 'g', 'e', 'a', 'r', 'b'});
    exchange({0x04, 4, 2, 0, 0, 0, 0, 0}, {0xFF, 0, 4, 'o', 'x', 'x', 'x', 'x'});
    exchange({0x09, 5, 0, 0, 0, 0, 0, 0}, {0xFF, 0, 5, 0, 0x00, 0x40, 0x00, 0x30});
    exchange({0x0D, 6}, {0xFF, 0, 6, 0x83, 0, 0, 0, 0});
    EXPECT_THAT(lines(),
                ElementsAre("station address | 0x39 | ", "protocol version | 2.1 | ",
                            "identification | gearbox | ", "resources | calibration, daq, programming | ",
                            "locks | calibration, programming | calibration, programming",
                            "byte order | little, by the address of its page | little",
                            "active page | 0x30004000 (working) | 0x30004000 or 0xA0000",
                            "session | calibration, daq, run | "));
}

TEST_F(InfoCcpFacts, AddressOfThePageShowsTheOtherByteOrder) {
    exchange({0x09, 5, 0, 0, 0, 0, 0, 0}, {0xFF, 0, 5, 0, 0x00, 0x0A, 0x00, 0x00});
    EXPECT_THAT(lines(), ElementsAre("station address | 0x39 | ",
                                     "! byte order | big, by the address of its page | little",
                                     "active page | 0xA0000 (reference) | 0x30004000 or 0xA0000"));
}

TEST_F(InfoCcpFacts, PageThatTheConfigurationDoesNotKnowIsADifference) {
    exchange({0x09, 5, 0, 0, 0, 0, 0, 0}, {0xFF, 0, 5, 0, 0x00, 0x50, 0x00, 0x30});
    EXPECT_THAT(lines(), ElementsAre("station address | 0x39 | ", "byte order | CCP does not tell | little",
                                     "! active page | 0x30005000 | 0x30004000 or 0xA0000"));
}

TEST_F(InfoCcpFacts, OtherFramesAreNoAnswers) {
    frame(0x681, {0xFF, 0, 1, 2, 1, 0, 0, 0});                              // to nothing
    exchange({0x1B, 2, 2, 1, 0, 0, 0, 0}, {0xFF, 0x30, 2, 9, 9, 0, 0, 0});  // refused
    exchange({0x1B, 3, 2, 1, 0, 0, 0, 0}, {0xFF, 0, 2, 9, 9, 0, 0, 0});     // of another command
    exchange({0x1B, 4, 2, 1, 0, 0, 0, 0}, {0x0A, 0, 4, 9, 9, 0, 0, 0});     // measured data
    exchange({0x1B, 5, 2, 1, 0, 0, 0, 0}, {0xFF, 0});                       // too short
    EXPECT_THAT(m_exchanges.list(), IsEmpty());
    EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace
