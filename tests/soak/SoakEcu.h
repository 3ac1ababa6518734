/// @file
/// An ECU of a soak: what the host measures of it, what the script does to it, and what it then has to be.
#pragma once

#include "sim/EcuFaults.h"
#include "sim/VirtualBus.h"
#include "tests/system/BusHost.h"
#include "tests/system/CcpMemoryBench.h"
#include "tests/system/MemoryBench.h"

#include <TalvexSDK.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace soak {

using systemtest::Bytes;

/// What is measured of an ECU.
struct SoakSignals {
    unsigned groups = 1;  ///< of five signals and 13 bytes each that move every 10 ms
    /// One more group moves every 100 ms. Values carry the time of the latest first frame of any list, so not
    /// for the ECU that comes last on its bus, nor for more groups than one CCP list takes: further lists
    /// would make its times later than `SignalProof` allows.
    bool slowGroup = false;
    /// Two counters are polled every 100 ms of the machine's clock. A poll has the bus move on for its answer
    /// however far behind the host is: a shorter period would outrun a slow machine.
    bool polled = false;
};

void addSoakSignals(systemtest::EcuPair& pair, const SoakSignals& signals);

/// One ECU at its place on a bus. Made while no ECU is connected; goes ahead of the host.
class SoakEcu {
public:
    virtual ~SoakEcu() = default;
    SoakEcu(const SoakEcu&) = delete;
    SoakEcu& operator=(const SoakEcu&) = delete;

    [[nodiscard]] const std::string& name() const { return m_cfg.ecuName; }
    [[nodiscard]] const EcuProtoCfg& cfg() const { return m_cfg; }
    /// Without the commands of pages and of the status, which an ECU does not answer behind PROGRAM_RESET.
    [[nodiscard]] EcuProtoCfg flashCfg() const;
    /// What the library logs when it is to switch a page all the same.
    [[nodiscard]] const char* pageRefusal() const;
    [[nodiscard]] const std::vector<mcMeasureVariable>& variables() const { return m_variables; }
    /// Of the variables, those that are polled.
    [[nodiscard]] std::vector<std::string> polledNames() const;
    /// A write is a SET_MTA and then a DOWNLOAD, between which the polling thread may read from the same ECU.
    /// In XCP a SHORT_UPLOAD moves the MTA, so that the bytes would land behind what was polled; a SHORT_UP
    /// of CCP does not. Hosts do not write to an XCP ECU that they poll.
    [[nodiscard]] bool takesWrites() const;

    /// Memory as the ECU has it.
    [[nodiscard]] virtual Bytes read(std::uint32_t address, std::size_t size) = 0;
    /// The whole flash of code.
    [[nodiscard]] virtual Bytes code() = 0;
    /// Whether this page of the first data segment is the one that is seen.
    [[nodiscard]] virtual bool shows(bool workingPage) = 0;
    virtual void inject(const sim::EcuFault& fault) = 0;

protected:
    /// @param pair  with all signals; those to be polled are the ones named so
    explicit SoakEcu(const systemtest::EcuPair& pair);

private:
    [[nodiscard]] bool isCcp() const { return m_cfg.protoType == 0; }

    const EcuProtoCfg m_cfg;
    std::vector<mcMeasureVariable> m_variables;
};

class XcpSoakEcu final : public SoakEcu {
public:
    XcpSoakEcu(systemtest::BusHost& host, const systemtest::EcuPair& pair);

    [[nodiscard]] Bytes read(std::uint32_t address, std::size_t size) override;
    [[nodiscard]] Bytes code() override;
    [[nodiscard]] bool shows(bool workingPage) override;
    void inject(const sim::EcuFault& fault) override { m_ecu.inject(fault); }

private:
    sim::XcpEcu& m_ecu;
};

class CcpSoakEcu final : public SoakEcu {
public:
    CcpSoakEcu(systemtest::BusHost& host, sim::VirtualBus& bus, const systemtest::CcpPair& pair);

    [[nodiscard]] Bytes read(std::uint32_t address, std::size_t size) override;
    [[nodiscard]] Bytes code() override;
    [[nodiscard]] bool shows(bool workingPage) override;
    void inject(const sim::EcuFault& fault) override { m_station.ecu.inject(fault); }

private:
    systemtest::CcpStation m_station;
};

/// The four of a soak: a CCP and an XCP ECU that fill a bus of 500 kbit/s on channel 0, and two XCP ECUs that
/// fill a CAN FD bus of 500 kbit/s and 2 Mbit/s on channel 1.
[[nodiscard]] std::vector<std::unique_ptr<SoakEcu>> makeSoakEcus(systemtest::BusHost& host,
                                                                 sim::VirtualBus& classicBus);

}  // namespace soak
