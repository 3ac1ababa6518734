// The proof of an ECU's memory: what it compares, and that it sees every byte that is wrong.

#include "host/MemoryProof.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using host::PartKind;
using host::SegmentKind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

host::SegmentRecord segment(SegmentKind kind, std::uint32_t address, std::uint32_t size,
                            std::uint32_t referenceAddress) {
    host::SegmentRecord record;
    record.kind = kind;
    record.address = address;
    record.size = size;
    record.referenceAddress = referenceAddress;
    return record;
}

// RAM with a signal of two elements at 0x1004, both pages at 0x2000, flash at 0x8000.
host::EcuRecord makeEcu() {
    host::EcuRecord ecu;
    ecu.segments = {segment(SegmentKind::ram, 0x1000, 16, 0x1000),
                    segment(SegmentKind::calibration, 0x2000, 8, 0x2000),
                    segment(SegmentKind::flash, 0x8000, 32, 0x8000)};
    host::SignalRecord signal;
    signal.first.address = 0x1004;
    signal.first.type = sim::SignalType::u16;
    signal.elements = 2;
    ecu.signals = {signal};
    return ecu;
}

// Memory of bytes that a test sets.
class FakeStation : public host::SimulatedStation {
public:
    explicit FakeStation(const host::EcuRecord& ecu) {
        for (const host::MemoryPart& part : host::memoryParts(ecu)) {
            m_contents.push_back(host::initialContent(part));
            m_kinds.push_back(part.kind);
        }
    }

    Bytes& of(PartKind kind) {
        for (std::size_t i = 0; i < m_kinds.size(); ++i) {
            if (m_kinds[i] == kind) {
                return m_contents[i];
            }
        }
        throw std::out_of_range("no such part");
    }

    sim::Node& node() override { throw std::logic_error("on no bus"); }
    void powerOn(sim::Port&) override {}
    std::uint64_t eventIndex(std::uint16_t) const override { return 0; }
    Bytes read(std::uint32_t, std::uint32_t) override { return {}; }
    Bytes content(const host::MemoryPart& part) override { return of(part.kind); }
    bool worksOn(const host::MemoryPart&) override { return false; }
    bool connected() const override { return false; }
    std::uint8_t protection() const override { return 0; }
    std::uint64_t unlocks() const override { return 0; }

private:
    std::vector<Bytes> m_contents;
    std::vector<PartKind> m_kinds;
};

class MemoryProof : public ::testing::Test {
protected:
    const host::EcuRecord m_ecu = makeEcu();
    FakeStation m_station{m_ecu};
    host::MemoryProof m_proof{m_ecu};
};

TEST_F(MemoryProof, BeginsWithWhatTheEcuStartsWith) {
    EXPECT_EQ(m_proof.count(), 4U);
    EXPECT_THAT(m_proof.differences(m_station), IsEmpty());
    EXPECT_EQ(m_proof.at(PartKind::ram, 0x1000, 16), Bytes(16));
}

TEST_F(MemoryProof, PagesAndFlashStartWithPatternsOfTheirOwn) {
    EXPECT_NE(m_proof.at(PartKind::workingPage, 0x2000, 8), m_proof.at(PartKind::referencePage, 0x2000, 8));
    EXPECT_NE(m_proof.at(PartKind::flash, 0x8000, 32), Bytes(32, 0xFF));
}

TEST_F(MemoryProof, BytesUnderSignalsAreNotLookedAt) {
    EXPECT_EQ(m_proof.size(), 16U - 4U + 8U + 8U + 32U);
    for (std::size_t i = 4; i < 8; ++i) {
        m_station.of(PartKind::ram)[i] = 0x55;
    }
    EXPECT_THAT(m_proof.differences(m_station), IsEmpty());
}

TEST_F(MemoryProof, BytesBesideASignalAreLookedAt) {
    m_station.of(PartKind::ram)[3] = 0x55;
    m_station.of(PartKind::ram)[8] = 0x66;
    EXPECT_THAT(m_proof.differences(m_station),
                ElementsAre("RAM at 0x1000: 2 bytes are wrong, the first at 0x1003 is 0x55 instead of 0x00"));
}

TEST_F(MemoryProof, EachPartThatDiffersIsNamed) {
    m_proof.put(PartKind::workingPage, 0x2007, Bytes{0x10});
    m_station.of(PartKind::workingPage)[7] = 0x11;
    m_proof.put(PartKind::flash, 0x8000, Bytes(32, 0xFF));
    m_station.of(PartKind::flash).assign(32, 0xFF);
    m_station.of(PartKind::flash)[31] = 0xFE;
    EXPECT_THAT(
        m_proof.differences(m_station),
        ElementsAre("working page at 0x2000: 1 bytes are wrong, the first at 0x2007 is 0x11 instead of 0x10",
                    "flash at 0x8000: 1 bytes are wrong, the first at 0x801F is 0xFE instead of 0xFF"));
}

TEST_F(MemoryProof, WhatWasWrittenIsExpectedFromThenOn) {
    m_proof.put(PartKind::workingPage, 0x2002, Bytes{1, 2, 3});
    EXPECT_THAT(m_proof.at(PartKind::workingPage, 0x2002, 3), ElementsAre(1, 2, 3));
    EXPECT_EQ(m_proof.differences(m_station).size(), 1U);
    m_station.of(PartKind::workingPage) = m_proof.at(PartKind::workingPage, 0x2000, 8);
    EXPECT_THAT(m_proof.differences(m_station), IsEmpty());
}

TEST_F(MemoryProof, ContentOfAnotherLengthDiffers) {
    EXPECT_EQ(m_proof.difference(3, Bytes(31, 0)), "flash at 0x8000: 31 bytes instead of 32");
}

TEST_F(MemoryProof, PlacesThatAreNotThereAreRefused) {
    EXPECT_THROW(m_proof.put(PartKind::flash, 0x801F, Bytes{1, 2}), std::out_of_range);
    EXPECT_THROW(static_cast<void>(m_proof.at(PartKind::flash, 0x7FFF, 1)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(host::MemoryProof(host::EcuRecord{}).part(PartKind::flash)),
                 std::out_of_range);
}

TEST(MemoryParts, CcpPagesHaveAddressesOfTheirOwn) {
    host::EcuRecord ecu;
    ecu.ccp = true;
    ecu.segments = {segment(SegmentKind::calibration, 0x2000, 8, 0x3000)};
    const std::vector<host::MemoryPart> parts = host::memoryParts(ecu);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(host::partName(parts[0]), "working page at 0x2000");
    EXPECT_EQ(host::partName(parts[1]), "reference page at 0x3000");
}

}  // namespace
