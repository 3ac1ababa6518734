// Two CCP and two XCP ECUs on one bus in one engine.
#include "tests/support/TestHost.h"
#include "tests/system/CcpMemoryBench.h"
#include "tests/system/MemoryBench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;

const std::vector<std::string> kNames = {"ccp0", "ccp1", "xcp0", "xcp1"};

/// The second of each kind is big endian.
sim::ByteOrder orderOf(unsigned number) {
    return number == 0 ? sim::ByteOrder::intel : sim::ByteOrder::motorola;
}

CcpPair makeCcp(unsigned number) {
    CcpPair pair = ccpMemoryEcu("ccp" + std::to_string(number), number);
    setByteOrder(pair, orderOf(number));
    forgetPages(pair);
    return pair;
}

EcuPair makeXcp(unsigned number) {
    EcuPair pair = memoryEcu();
    pair.cfg.ecuName = pair.ecu.name = "xcp" + std::to_string(number);
    pair.cfg.canIdMaster = pair.ecu.masterId = 0x600 + 2 * number;
    pair.cfg.canIdSlave = pair.ecu.slaveId = 0x601 + 2 * number;
    setByteOrder(pair, orderOf(number));
    forgetPages(pair);
    return pair;
}

class MixedEcus : public testing::Test {
protected:
    /// The host's side of all four, where signals are added.
    [[nodiscard]] std::array<EcuPair*, 4> sides() {
        return {&m_ccp[0].twin, &m_ccp[1].twin, &m_xcp[0], &m_xcp[1]};
    }

    void arePutOn(const sim::VirtualBusConfig& config) {
        m_bus = &m_host.addBus(config);
        for (unsigned number = 0; number < 2; ++number) {
            m_xcpEcus[number] = &m_host.addEcu(m_xcp[number]);
        }
        for (unsigned number = 0; number < 2; ++number) {
            m_stations[number] = std::make_unique<CcpStation>(m_host, *m_bus, m_ccp[number]);
        }
    }

    [[nodiscard]] Variables allSignals() {
        Variables variables;
        for (const EcuPair* side : sides()) {
            variables[side->cfg.ecuName] = allVariables(*side);
        }
        return variables;
    }

    void areConnectedAndMeasured() {
        ASSERT_EQ(m_host.connects(kNames), 0);
        ASSERT_EQ(m_host.starts(allSignals()), 0);
        expectMore();
    }

    /// Waits until all variables of all ECUs came 10 times more.
    void expectMore() {
        const Variables variables = allSignals();
        std::map<std::string, std::uint64_t> before;
        for (const auto& [name, ofEcu] : variables) {
            before[name] = m_host.proofOf(name).fewestSampled(ofEcu);
        }
        for (const auto& [name, ofEcu] : variables) {
            const SignalProof& proof = m_host.proofOf(name);
            EXPECT_TRUE(waitFor(
                [&, &ecu = ofEcu, from = before[name]] { return proof.fewestSampled(ecu) >= from + 10; },
                kPatience))
                << name;
        }
    }

    std::array<CcpPair, 2> m_ccp = {makeCcp(0), makeCcp(1)};
    std::array<EcuPair, 2> m_xcp = {makeXcp(0), makeXcp(1)};
    BusHost m_host;
    sim::VirtualBus* m_bus = nullptr;
    std::array<sim::XcpEcu*, 2> m_xcpEcus{};
    std::array<std::unique_ptr<CcpStation>, 2> m_stations;
};

TEST_F(MixedEcus, DeliverSixtySecondsWithoutAGap) {
    constexpr std::uint64_t kCycles = 6'000;  // of 10 ms
    for (EcuPair* side : sides()) {
        for (const char* const prefix : {"fast", "more", "most", "rest", "last"}) {
            addSignals(*side, 0, prefix);
        }
        addSignals(*side, 1, "slow");
    }
    arePutOn(fastBus());
    ASSERT_EQ(m_host.connects(kNames), 0);
    ASSERT_EQ(m_host.starts(allSignals()), 0);
    for (const std::string& name : kNames) {
        const SignalProof& proof = m_host.proofOf(name);
        EXPECT_TRUE(waitFor([&] { return proof.sampled("fast.count") >= kCycles; }, kPatience)) << name;
        EXPECT_GE(proof.sampled("last.count"), kCycles);
        EXPECT_GE(proof.sampled("slow.count"), kCycles / 10 - 1);
    }
    EXPECT_GE(m_bus->now(), 60'000'000'000U);
    EXPECT_GE(m_bus->counters().busy, m_bus->now() / 100 * 85) << "the bus has little room for more";
    ASSERT_EQ(m_host.stops(), 0);
    EXPECT_EQ(m_host.resultCount(kLinkLost), 0U);
    for (const std::string& name : kNames) {
        EXPECT_EQ(m_host.proofOf(name).faults(), std::vector<std::string>()) << name;
    }
}

/// One of each kind, one after the other; all four are disconnected each time.
TEST_F(MixedEcus, LoseOneOfEachKindAndFindItAgain) {
    for (EcuPair* side : sides()) {
        addCounter(*side, "first", 0);
        addCounter(*side, "second", 0);
        side->cfg.xcp.statusPeriodMs = side->cfg.ccp.statusPeriodMs = 20;
        side->cfg.ccp.queryDaqSizes = 1;  // stops what still runs
    }
    setPatience(m_ccp[1], kImpatient, 0);
    setPatience(m_xcp[0], kImpatient, 0);
    arePutOn(realTimeBus());
    m_host.proofOf("ccp1").expect(Expected::losses);
    m_host.proofOf("xcp0").expect(Expected::losses);
    struct Loss {
        sim::PortNumber port;
        const char* details;
    };
    const Loss losses[] = {{m_stations[1]->port(), "ecu:ccp1-UnKnow 0x80"},
                           {m_host.portOf("xcp0"), "ecu:xcp0-Recive msg timeout"}};
    for (const Loss& loss : losses) {
        SCOPED_TRACE(loss.details);
        areConnectedAndMeasured();
        m_bus->silenceNow(loss.port);
        EXPECT_EQ(m_host.awaitResult(kLinkLost).details, std::vector<std::string>({loss.details}));
        EXPECT_EQ(m_host.awaitResult(kDisconnect).result, 0);
        EXPECT_FALSE(isConnectEcu());
        EXPECT_FALSE(m_stations[0]->ecu.connected());
        EXPECT_FALSE(m_xcpEcus[1]->connected());
        m_bus->restore(loss.port);
    }
    areConnectedAndMeasured();
    EXPECT_EQ(m_host.resultCount(kLinkLost), 2U);
    EXPECT_EQ(m_host.stops(), 0);
}

/// Memory of all four, and what it has to be.
class MixedMemories : public MixedEcus {
protected:
    MixedMemories() { arePutOn(fastBus()); }

    void expectMemories() {
        for (std::size_t number = 0; number < 2; ++number) {
            SCOPED_TRACE(number);
            m_ccpExpected[number].expectIn(m_stations[number]->ecu);
            m_xcpExpected[number].expectIn(*m_xcpEcus[number]);
        }
    }

    int connectsAgain(const std::string& name) { return m_host.connects({name}); }

    /// @return the result of a memory operation, once the library has put the page back
    int finishes(std::uint32_t command) {
        const int result = m_host.awaitResult(command).result;
        m_host.awaitResult(kSetPage);
        return result;
    }

    int erases(const std::string& name) {
        EarseEcu(name, mcMemCode);
        return finishes(kErase);
    }

    int programs(const std::string& name, const Bytes& code) {
        DownToEcuMem(name, mcMemCode, {{kCodeBase, code}});
        return finishes(kDownload);
    }

    /// Holds the ECU's checksums against the image's. A big endian CCP ECU sends its high byte first.
    void expectSums(const std::string& name, const Bytes& code, sim::ByteOrder order) {
        CheckEcuMemory(name, {{kCodeBase, code}}, mcMemCode);
        ASSERT_EQ(finishes(kCheck), 0);
        std::vector<mcMemoryData> sums = m_host.memoryData();
        ASSERT_EQ(sums.size(), 2U);
        for (mcMemoryData& sum : sums) {
            if (order == sim::ByteOrder::motorola) {
                std::reverse(sum.data.begin(), sum.data.end());
            }
            EXPECT_EQ(sum.data, sum.expected);
        }
    }

    Bytes uploadOf(const std::string& name) {
        UploadFromEcuMem(name, mcMemCode);
        EXPECT_EQ(finishes(kUpload), 0);
        return m_host.memoryData().empty() ? Bytes() : m_host.memoryData()[0].data;
    }

    void writes(const std::string& name, std::uint32_t address, const Bytes& bytes) {
        mcMeasureVariable variable;
        variable.name = "written";
        variable.address = address;
        variable.size = static_cast<std::uint32_t>(bytes.size());
        CalibrationVar(name, variable, bytes);
        EXPECT_EQ(m_host.awaitResult(kCalibrate).result, 0);
    }

    std::array<CcpExpectedMemory, 2> m_ccpExpected = {CcpExpectedMemory(m_ccp[0].ecu),
                                                      CcpExpectedMemory(m_ccp[1].ecu)};
    std::array<ExpectedMemory, 2> m_xcpExpected = {ExpectedMemory(m_xcp[0].ecu),
                                                   ExpectedMemory(m_xcp[1].ecu)};
};

TEST_F(MixedMemories, AreCalibratedEachForItself) {
    ASSERT_EQ(m_host.connects(kNames), 0);
    for (std::uint32_t number = 0; number < 2; ++number) {
        const Bytes bytes = noise(20, number + 40);
        writes("ccp" + std::to_string(number), kCcpWorkingPage + 8, bytes);
        m_ccpExpected[number].put(kCcpWorkingPage + 8, bytes);
        writes("xcp" + std::to_string(number), kDataBase + 8, noise(30, number + 50));
        m_xcpExpected[number].put(kDataSegment, kRamPage, kDataBase + 8, noise(30, number + 50));
        expectMemories();
    }
    for (const std::string& name : kNames) {
        const bool isCcp = name.starts_with("ccp");
        const std::uint32_t base = isCcp ? kCcpWorkingPage : kDataBase;
        const Bytes page = noise(isCcp ? kCcpPageSize : kDataSize, base + 60);
        DownToEcuMem(name, mcMemDataWorking, {{base, page}});
        EXPECT_EQ(finishes(kDownload), 0);
        const auto number = static_cast<std::size_t>(name.back() - '0');
        if (isCcp) {
            m_ccpExpected[number].put(base, page);
        } else {
            m_xcpExpected[number].put(kDataSegment, kRamPage, base, page);
        }
        expectMemories();
    }
}

TEST_F(MixedMemories, AreFlashedEachForItself) {
    ASSERT_EQ(m_host.connects(kNames), 0);
    for (std::size_t number = 0; number < 2; ++number) {
        const std::string name = "ccp" + std::to_string(number);
        SCOPED_TRACE(name);
        const Bytes code = noise(kCodeSize / 2 + 3, static_cast<std::uint32_t>(number) + 70);
        EcuProtoCfg erasing = m_ccp[number].twin.cfg;
        erasing.codeSegments[0].length = clearSize(m_ccp[number], kCodeSize);
        m_host.configure(erasing);
        ASSERT_EQ(connectsAgain(name), 0);
        ASSERT_EQ(erases(name), 0);
        m_ccpExpected[number].clear(kCodeBase, kCodeSize);
        expectMemories();
        m_host.configure(m_ccp[number].twin.cfg);
        ASSERT_EQ(connectsAgain(name), 0);
        ASSERT_EQ(programs(name, code), 0);
        m_ccpExpected[number].put(kCodeBase, code);
        expectMemories();
        expectSums(name, code, orderOf(static_cast<unsigned>(number)));
        EXPECT_EQ(uploadOf(name), m_ccpExpected[number].at(kCodeBase, kCodeSize));
    }
    for (std::size_t number = 0; number < 2; ++number) {
        const std::string name = "xcp" + std::to_string(number);
        SCOPED_TRACE(name);
        const Bytes code = noise(kCodeSize / 2 + 3, static_cast<std::uint32_t>(number) + 80);
        ASSERT_EQ(erases(name), 0);
        m_xcpExpected[number].clear(kCodeSegment, kRamPage, kCodeBase, kCodeSize);
        expectMemories();
        ASSERT_EQ(connectsAgain(name), 0) << "a reset ends what was erased";
        ASSERT_EQ(programs(name, code), 0);
        m_xcpExpected[number].put(kCodeSegment, kRamPage, kCodeBase, code);
        expectMemories();
        ASSERT_EQ(connectsAgain(name), 0);
        if (number == 0) {  // the size of a block goes out little endian to each
            expectSums(name, code, sim::ByteOrder::intel);
        }
        EXPECT_EQ(uploadOf(name), m_xcpEcus[number]->readPage(kCodeSegment, kRamPage));
    }
    for (const std::string& name : kNames) {
        EXPECT_TRUE(isEcuConnect(name));
    }
}

/// Each is written to while all four are measured.
TEST_F(MixedEcus, AreCalibratedWhileAllAreMeasured) {
    for (EcuPair* side : sides()) {
        addSignals(*side, 0, "fast");
    }
    arePutOn(fastBus());
    m_host.limitUndelivered(100);
    areConnectedAndMeasured();
    for (const std::string& name : kNames) {
        mcMeasureVariable variable;
        variable.name = "written";
        variable.address = kScratchBase;
        variable.size = 4;
        for (std::uint8_t value = 1; value <= 20; ++value) {
            CalibrationVar(name, variable, {value, 2, 3, 4});
            ASSERT_EQ(m_host.awaitResult(kCalibrate).result, 0);
        }
    }
    expectMore();
    ASSERT_EQ(m_host.stops(), 0);
    const Bytes written = {20, 2, 3, 4};
    for (std::size_t number = 0; number < 2; ++number) {
        EXPECT_EQ(m_stations[number]->ecu.read(kScratchBase, 0, 4), written);
        EXPECT_EQ(m_xcpEcus[number]->read(kScratchBase, 0, 4), written);
    }
    for (const std::string& name : kNames) {
        EXPECT_EQ(m_host.proofOf(name).faults(), std::vector<std::string>()) << name;
    }
}

}  // namespace
}  // namespace systemtest
