#include "host/PollTraffic.h"

#include <algorithm>

namespace host {
namespace {

constexpr std::uint8_t kXcpShortUpload = 0xF4;
constexpr std::uint8_t kCcpShortUp = 0x0F;
constexpr std::uint8_t kCcpGetStatus = 0x0D;
constexpr std::uint32_t kXcpShortMost = 4;  ///< bytes that the library reads with one command
constexpr std::uint32_t kCcpShortMost = 5;
constexpr std::uint32_t kCcpStep = 5;     ///< bytes of one answer
constexpr std::uint32_t kXcpBlock = 255;  ///< bytes of one command in block mode
constexpr std::size_t kWhole = 8;         ///< bytes of most commands, and of all CCP answers

/// Counts what goes over the bus, as often as @p perSecond.
class Traffic {
public:
    Traffic(const EcuRecord& ecu, const BusRecord& bus, double perSecond)
        : m_ecu(ecu), m_bus(bus), m_perSecond(perSecond) {}

    void command(std::size_t length, double times = 1.0) {
        const std::size_t whole = m_ecu.ccp ? kWhole : m_ecu.maxCto;
        m_share += shareOf(frameShape(m_ecu, m_ecu.commandId, m_ecu.padFrames ? whole : length),
                           m_perSecond * times, m_bus);
    }

    /// An ECU may pad its answers; this is the least.
    void answer(std::size_t length, double times = 1.0) {
        m_share += shareOf(frameShape(m_ecu, m_ecu.responseId, m_ecu.ccp ? kWhole : length),
                           m_perSecond * times, m_bus);
    }

    [[nodiscard]] const BusShare& share() const { return m_share; }

private:
    const EcuRecord& m_ecu;
    const BusRecord& m_bus;
    double m_perSecond;
    BusShare m_share;
};

/// SET_MTA, then UPLOAD, whose answers hold so many bytes each.
void addUploads(Traffic& traffic, const EcuRecord& ecu, std::uint32_t size) {
    const std::uint32_t step = ecu.ccp ? kCcpStep : ecu.maxCto - 1U;
    const std::uint32_t perCommand = !ecu.ccp && ecu.blockMode ? kXcpBlock : step;
    const std::uint32_t whole = size / step;
    const std::uint32_t commands = (size + perCommand - 1) / perCommand;
    traffic.command(kWhole);
    traffic.answer(1);
    traffic.command(ecu.ccp ? 3 : 2, commands);
    traffic.answer(step + 1, whole);
    if (size % step > 0) {
        traffic.answer(size % step + 1);
    }
}

}  // namespace

BusShare readShare(const EcuRecord& ecu, const BusRecord& bus, std::uint32_t size, double perSecond) {
    Traffic traffic(ecu, bus, perSecond);
    const bool small = size <= (ecu.ccp ? kCcpShortMost : kXcpShortMost);
    if (small && ecu.knows(ecu.ccp ? kCcpShortUp : kXcpShortUpload)) {
        traffic.command(kWhole);
        traffic.answer(std::max<std::size_t>(size, ecu.addressGranularity) + ecu.addressGranularity);
    } else {
        addUploads(traffic, ecu, size);
    }
    return traffic.share();
}

BusShare keepAliveShare(const EcuRecord& ecu, const BusRecord& bus) {
    BusShare share;
    const auto add = [&](std::uint32_t periodMs, std::size_t command, std::size_t answer) {
        if (periodMs > 0) {
            Traffic traffic(ecu, bus, 1000.0 / periodMs);
            traffic.command(command);
            traffic.answer(answer);
            share += traffic.share();
        }
    };
    if (!ecu.ccp) {
        add(ecu.timeouts.statusPeriodMs, 1, 6);
        add(ecu.timeouts.synchPeriodMs, 1, 2);
    } else if (ecu.knows(kCcpGetStatus)) {
        add(ecu.timeouts.statusPeriodMs, 2, kWhole);
    }
    return share;
}

}  // namespace host
