/// @file
/// The answers of an XCP ECU as facts. Needs no ECU.
#pragma once

#include "host/ConfigRecords.h"
#include "host/InfoFacts.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// What came back for one command.
struct SlaveAnswer {
    /// As in the library's XCP statuses.
    static constexpr std::uint32_t kSuccess = 256;

    std::uint32_t status = kSuccess;       ///< `kSuccess`, or the ECU's error code
    std::array<std::uint8_t, 64> bytes{};  ///< of the response, from its first byte on
    std::size_t length = 0;                ///< of the response, bytes; what is behind is 0

    [[nodiscard]] bool good() const { return status == kSuccess; }
};

/// One event channel as an ECU tells it.
struct EventAnswer {
    SlaveAnswer info;  ///< to GET_DAQ_EVENT_INFO
    std::vector<std::uint8_t> name;
};

/// One calibration segment as an ECU tells it.
struct SegmentAnswers {
    SlaveAnswer address;
    SlaveAnswer length;
    SlaveAnswer standard;
    SlaveAnswer ecuPage;   ///< the page that the ECU works with
    SlaveAnswer toolPage;  ///< the page that a host reads and writes
};

/// Adds what answers say to the facts of one ECU. CONNECT comes first, as it tells the byte order of all
/// else.
class InfoXcpFacts {
public:
    /// Both have to outlive the object.
    InfoXcpFacts(const EcuRecord& record, InfoFacts& facts) : m_record(record), m_facts(facts) {}

    // An answer that is negative or too short to be read becomes a fact that says so.

    /// CONNECT.
    void connect(const SlaveAnswer& answer);

    /// GET_STATUS.
    void status(const SlaveAnswer& answer);

    /// GET_COMM_MODE_INFO.
    void commModeInfo(const SlaveAnswer& answer);

    /// @param type  of GET_ID
    void identification(std::uint8_t type, const std::vector<std::uint8_t>& text);

    /// GET_DAQ_PROCESSOR_INFO.
    void daqProcessor(const SlaveAnswer& answer);

    /// GET_DAQ_RESOLUTION_INFO.
    void daqResolution(const SlaveAnswer& answer);

    /// @param number  of the event channel
    void event(std::uint16_t number, const EventAnswer& answer);

    /// GET_PAG_PROCESSOR_INFO.
    void pagProcessor(const SlaveAnswer& answer);

    /// @param number  of the segment, as the ECU counts
    void segment(std::uint8_t number, const SegmentAnswers& answers);

    /// GET_PGM_PROCESSOR_INFO.
    void pgmProcessor(const SlaveAnswer& answer);

    /// Why the ECU could not be unlocked as the configuration says.
    void unlockFailed(const std::string& reason);

    [[nodiscard]] sim::ByteOrder order() const { return m_order; }
    [[nodiscard]] std::uint8_t resources() const { return m_resources; }
    [[nodiscard]] std::uint8_t locked() const { return m_locked; }
    [[nodiscard]] std::uint8_t granularity() const { return m_granularity; }
    [[nodiscard]] std::uint16_t events() const { return m_events; }
    [[nodiscard]] std::uint8_t segments() const { return m_segments; }

private:
    [[nodiscard]] std::uint32_t word(const SlaveAnswer& answer, std::size_t at, std::size_t size) const;
    bool refused(const std::string& field, std::uint8_t code, const SlaveAnswer& answer, std::size_t least);
    void wanted(const std::string& field, bool ecu, bool configured);
    void timestamps(const SlaveAnswer& answer);
    void activePages(const std::string& field, const SegmentAnswers& answers, const SegmentRecord* segment);
    [[nodiscard]] const SegmentRecord* configuredSegment(std::uint8_t number) const;

    const EcuRecord& m_record;
    InfoFacts& m_facts;
    sim::ByteOrder m_order = sim::ByteOrder::intel;
    std::uint8_t m_resources = 0;
    std::uint8_t m_locked = 0;
    std::uint8_t m_granularity = 1;
    std::uint16_t m_events = 0;
    std::uint8_t m_segments = 0;
};

}  // namespace host
