#include "host/SimulatedStation.h"

#include "host/SimulatedEcu.h"
#include "sim/CcpEcu.h"
#include "sim/XcpEcu.h"

#include <utility>

namespace host {
namespace {

class XcpStation : public SimulatedStation {
public:
    explicit XcpStation(sim::XcpEcuConfig config) : m_ecu(std::move(config)) {}

    sim::Node& node() override { return m_ecu; }
    void powerOn(sim::Port& port) override { m_ecu.powerOn(port); }
    std::uint64_t eventIndex(std::uint16_t event) const override { return m_ecu.eventIndex(event); }

    std::vector<std::uint8_t> read(std::uint32_t address, std::uint32_t size) override {
        return m_ecu.read(address, 0, size, sim::MemoryView::ecu);
    }

    std::vector<std::uint8_t> content(const MemoryPart& part) override {
        const std::uint8_t page = part.kind == PartKind::referencePage ? kReferencePage : kWorkingPage;
        return m_ecu.readPage(part.segment, page);
    }

    bool worksOn(const MemoryPart& part) override { return read(part.address, part.size) == content(part); }
    bool connected() const override { return m_ecu.connected(); }
    std::uint8_t protection() const override { return m_ecu.protection(); }
    std::uint64_t unlocks() const override { return m_ecu.counters().unlocks; }

private:
    sim::XcpEcu m_ecu;
};

class CcpStation : public SimulatedStation {
public:
    explicit CcpStation(sim::CcpEcuConfig config) : m_ecu(std::move(config)) {}

    sim::Node& node() override { return m_ecu; }
    void powerOn(sim::Port& port) override { m_ecu.powerOn(port); }

    std::uint64_t eventIndex(std::uint16_t event) const override {
        return m_ecu.eventIndex(static_cast<std::uint8_t>(event));
    }

    std::vector<std::uint8_t> read(std::uint32_t address, std::uint32_t size) override {
        return m_ecu.read(address, 0, size);
    }

    std::vector<std::uint8_t> content(const MemoryPart& part) override {
        return read(part.address, part.size);
    }

    bool worksOn(const MemoryPart& part) override {
        return m_ecu.activePage() == sim::CcpCalPage{.address = part.address};
    }

    bool connected() const override { return m_ecu.connected(); }
    std::uint8_t protection() const override { return m_ecu.protection(); }
    std::uint64_t unlocks() const override { return m_ecu.counters().unlocks; }

private:
    sim::CcpEcu m_ecu;
};

}  // namespace

std::unique_ptr<SimulatedStation> makeStation(const EcuRecord& ecu) {
    if (ecu.ccp) {
        return std::make_unique<CcpStation>(simulatedCcpEcu(ecu));
    }
    return std::make_unique<XcpStation>(simulatedXcpEcu(ecu));
}

}  // namespace host
