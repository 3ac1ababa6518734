#include "host/InfoXcpFacts.h"

#include "host/InfoText.h"

#include <TalvexSDK.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <span>

namespace host {
namespace {

constexpr std::uint32_t kUnknownCommand = 0x20;  ///< ERR_CMD_UNKNOWN
constexpr std::uint32_t kLocked = 0x25;          ///< ERR_ACCESS_LOCKED

// Codes of commands that the configuration lists under `commands`.
constexpr std::uint8_t kGetStatus = 0xFD;
constexpr std::uint8_t kGetCommModeInfo = 0xFB;
constexpr std::uint8_t kGetPagProcessorInfo = 0xE9;
constexpr std::uint8_t kGetDaqProcessorInfo = 0xDA;
constexpr std::uint8_t kGetDaqResolutionInfo = 0xD9;
constexpr std::uint8_t kGetDaqEventInfo = 0xD7;
constexpr std::uint8_t kGetPgmProcessorInfo = 0xCE;

constexpr std::array<const char*, 4> kIdFieldTexts{"absolute", "relative byte", "relative word",
                                                   "relative word aligned"};
constexpr std::array<BitName, 6> kSessionBits{{{0x01, "store calibration"},
                                               {0x02, "store DAQ"},
                                               {0x04, "store DAQ for resume"},
                                               {0x08, "clear DAQ"},
                                               {0x40, "DAQ running"},
                                               {0x80, "resume"}}};
constexpr std::array<BitName, 5> kDaqBits{{{0x02, "prescaler"},
                                           {0x04, "resume"},
                                           {0x08, "bit stimulation"},
                                           {0x10, "timestamps"},
                                           {0x20, "no packet identifier"}}};
constexpr std::array<const char*, 4> kOverloadTexts{"none", "top bit of the packet identifier",
                                                    "event packet", "unknown"};
constexpr std::array<BitName, 6> kPgmBits{{{0x01, "absolute"},
                                           {0x02, "functional"},
                                           {0x04, "compression"},
                                           {0x08, "compression required"},
                                           {0x10, "encryption"},
                                           {0x20, "encryption required"}}};
constexpr std::array<const char*, 5> kIdTypes{"text", "name of the description file",
                                              "path of the description file", "URL of the description file",
                                              "description file itself"};

/// Elements of the address granularity are 1 << code bytes.
std::uint8_t granularityOf(std::uint8_t commModeBasic) {
    constexpr unsigned kMask = 3;
    return static_cast<std::uint8_t>(1U << ((commModeBasic >> 1U) & kMask));
}

std::string granularityText(std::uint8_t commModeBasic) {
    constexpr std::uint8_t kReserved = 8;
    const std::uint8_t bytes = granularityOf(commModeBasic);
    return bytes == kReserved ? "reserved code 3" : fmt::format("{}", bytes);
}

std::string errorText(std::uint32_t status) {
    constexpr std::size_t kRoom = 128;  // what xcpGetErrorText asks for
    std::array<char, kRoom> text{};
    xcpGetErrorText(status, text.data());
    return fmt::format("error 0x{:02X}, {}", status, text.data());
}

/// What is in the way of reading @p answer; empty for nothing.
/// @param least  bytes that are read
std::string complaintOf(const SlaveAnswer& answer, std::size_t least) {
    if (answer.good()) {
        return answer.length < least ? fmt::format("answer of {} bytes, too short", answer.length) : "";
    }
    return answer.status == kUnknownCommand ? kNotSupported
           : answer.status == kLocked       ? "locked"
                                            : errorText(answer.status);
}

std::string eventText(const std::string& name, const std::string& cycle) {
    return fmt::format("\"{}\", {}", name, cycle);
}

std::string segmentText(std::uint32_t address, std::uint32_t length, unsigned pages) {
    return fmt::format("0x{:X}, 0x{:X} bytes, {} pages", address, length, pages);
}

}  // namespace

std::uint32_t InfoXcpFacts::word(const SlaveAnswer& answer, std::size_t at, std::size_t size) const {
    return static_cast<std::uint32_t>(sim::getNumber(std::span(answer.bytes).subspan(at, size), m_order));
}

/// An ECU need not know a command, but the configuration must not count on it then.
bool InfoXcpFacts::refused(const std::string& field, std::uint8_t code, const SlaveAnswer& answer,
                           std::size_t least) {
    const std::string complaint = complaintOf(answer, least);
    if (complaint.empty()) {
        return false;
    }
    const bool counted = answer.status == kUnknownCommand && m_record.knows(code);
    m_facts.add({field, complaint, counted ? fmt::format("0x{:02X} in `commands`", code) : "", counted});
    return true;
}

/// The configuration may leave unused what the ECU has.
void InfoXcpFacts::wanted(const std::string& field, bool ecu, bool configured) {
    m_facts.add({field, yesNo(ecu), yesNo(configured), configured && !ecu});
}

void InfoXcpFacts::connect(const SlaveAnswer& answer) {
    constexpr std::uint8_t kBigEndian = 0x01;
    constexpr std::uint8_t kSlaveBlock = 0x40;
    constexpr std::size_t kLength = 8;
    if (const std::string complaint = complaintOf(answer, kLength); !complaint.empty()) {
        m_facts.tell("connect", complaint);
        return;
    }
    const std::uint8_t mode = answer.bytes[2];
    m_resources = answer.bytes[1];
    m_order = (mode & kBigEndian) != 0 ? sim::ByteOrder::motorola : sim::ByteOrder::intel;
    m_granularity = granularityOf(mode);
    const auto limit = [this](const char* field, std::uint32_t ecu, std::uint32_t configured) {
        m_facts.add({field, fmt::format("{}", ecu), fmt::format("{}", configured),
                     ecu != configured && !m_record.acceptLimits});
    };
    m_facts.compare("byte order", orderText(m_order), orderText(m_record.byteOrder));
    m_facts.compare("address granularity", granularityText(mode),
                    fmt::format("{}", m_record.addressGranularity));
    limit("max_cto", answer.bytes[3], m_record.maxCto);
    limit("max_dto", word(answer, 4, 2), m_record.maxDto);
    m_facts.tell("protocol version", fmt::format("{}", answer.bytes[6]));
    m_facts.tell("transport version", fmt::format("{}", answer.bytes[7]));
    wanted("slave block mode", (mode & kSlaveBlock) != 0, m_record.blockMode);
    m_facts.tell("resources", bitTexts(kXcpResourceBits, m_resources, "none"));
}

void InfoXcpFacts::status(const SlaveAnswer& answer) {
    if (refused("locks", kGetStatus, answer, 3)) {
        return;
    }
    m_locked = answer.bytes[2];
    const std::string locks = bitTexts(kXcpResourceBits, m_locked, "none");
    if (m_record.security.locks.empty()) {
        m_facts.tell("locks", locks);
    } else {
        m_facts.compare("locks", locks, bitTexts(kXcpResourceBits, lockBits(m_record.security), "none"));
    }
    m_facts.tell("session", bitTexts(kSessionBits, answer.bytes[1], "idle"));
}

void InfoXcpFacts::unlockFailed(const std::string& reason) {
    m_facts.add({"unlock", reason, m_record.security.seedKey, true});
}

void InfoXcpFacts::commModeInfo(const SlaveAnswer& answer) {
    constexpr std::uint8_t kMasterBlock = 0x01;
    constexpr std::uint8_t kInterleaved = 0x02;
    if (refused("communication modes", kGetCommModeInfo, answer, 8)) {
        return;
    }
    const std::uint8_t optional = answer.bytes[2];
    wanted("master block mode", (optional & kMasterBlock) != 0, m_record.masterBlockMode);
    if ((optional & kMasterBlock) != 0) {
        m_facts.tell("max_bs", fmt::format("{} frames", answer.bytes[4]));
        m_facts.tell("min_st", fmt::format("{} us", 100 * answer.bytes[5]));
    }
    m_facts.tell("interleaved mode", yesNo((optional & kInterleaved) != 0));
    m_facts.tell("queue size", fmt::format("{}", answer.bytes[6]));
    m_facts.tell("driver version", fmt::format("{}.{}", answer.bytes[7] >> 4U, answer.bytes[7] & 0x0FU));
}

void InfoXcpFacts::identification(std::uint8_t type, const std::vector<std::uint8_t>& text) {
    const char* name = type < kIdTypes.size() ? kIdTypes[type] : "of another kind";
    m_facts.tell(fmt::format("identification, {}", name), printable(text));
}

void InfoXcpFacts::daqProcessor(const SlaveAnswer& answer) {
    m_events = static_cast<std::uint16_t>(m_record.events.size());
    if (refused("DAQ processor", kGetDaqProcessorInfo, answer, 8)) {
        return;
    }
    const std::uint8_t properties = answer.bytes[1];
    const std::uint8_t key = answer.bytes[7];
    const std::uint32_t lists = word(answer, 2, 2);
    m_events = static_cast<std::uint16_t>(word(answer, 4, 2));
    m_facts.compare("DAQ lists", (properties & 1U) != 0 ? "dynamic" : "static",
                    m_record.daq.dynamic ? "dynamic" : "static");
    const std::string most = lists == 0 ? "no limit" : fmt::format("{}", lists);
    if (m_record.daq.maxLists == 0) {
        m_facts.tell("DAQ lists, most", most);
    } else {
        m_facts.compare("DAQ lists, most", most, fmt::format("{}", m_record.daq.maxLists));
    }
    m_facts.tell("DAQ lists, predefined", fmt::format("{}", answer.bytes[6]));
    m_facts.tell("DAQ features", bitTexts(kDaqBits, properties, "none"));
    m_facts.tell("DAQ overload", kOverloadTexts[properties >> 6U]);
    m_facts.compare("identification field", kIdFieldTexts[key >> 6U],
                    kIdFieldTexts[m_record.daq.idField % kIdFieldTexts.size()]);
    m_facts.compare("event channels", fmt::format("{}", m_events), fmt::format("{}", m_record.events.size()));
}

void InfoXcpFacts::daqResolution(const SlaveAnswer& answer) {
    if (refused("DAQ resolution", kGetDaqResolutionInfo, answer, 8)) {
        return;
    }
    m_facts.compare("DAQ entry granularity", fmt::format("{}", answer.bytes[1]),
                    fmt::format("{}", m_record.daq.entryGranularity));
    m_facts.compare("DAQ entry size, most", fmt::format("{}", answer.bytes[2]),
                    fmt::format("{}", m_record.daq.maxEntrySize));
    timestamps(answer);
}

void InfoXcpFacts::timestamps(const SlaveAnswer& answer) {
    constexpr std::uint8_t kSize = 0x07;
    constexpr std::uint8_t kFixed = 0x08;
    const std::uint8_t mode = answer.bytes[5];
    const auto text = [](unsigned size, const std::string& tick, bool fixed) {
        return size == 0 ? std::string("none")
                         : fmt::format("{} bytes of {}{}", size, tick, fixed ? ", in every list" : "");
    };
    const auto tick = [](std::uint8_t unit, std::uint32_t ticks) {
        return fmt::format("{} x {}", ticks, cycleText(1, unit));
    };
    const DaqRecord& daq = m_record.daq;
    m_facts.compare("timestamps",
                    text(mode & kSize, tick(static_cast<std::uint8_t>(mode >> 4U), word(answer, 6, 2)),
                         (mode & kFixed) != 0),
                    text(daq.timestampSize, tick(daq.timestampUnit, daq.timestampTicks), daq.timestampFixed));
}

/// Channels that only one side has show in their number already.
void InfoXcpFacts::event(std::uint16_t number, const EventAnswer& answer) {
    const std::string field = fmt::format("event {}", number);
    if (refused(field, kGetDaqEventInfo, answer.info, 6)) {
        return;
    }
    const std::string ecu =
        eventText(printable(answer.name), cycleText(answer.info.bytes[4], answer.info.bytes[5]));
    if (number < m_record.events.size()) {
        const EventRecord& event = m_record.events[number];
        m_facts.compare(field, ecu, eventText(event.name, cycleText(event.periodNs)));
    } else {
        m_facts.tell(field, ecu);
    }
}

void InfoXcpFacts::pagProcessor(const SlaveAnswer& answer) {
    if (refused("calibration segments", kGetPagProcessorInfo, answer, 3)) {
        return;
    }
    m_segments = answer.bytes[1];
    const auto configured =
        std::count_if(m_record.segments.begin(), m_record.segments.end(),
                      [](const SegmentRecord& segment) { return segment.kind == SegmentKind::calibration; });
    m_facts.compare("calibration segments", fmt::format("{}", m_segments), fmt::format("{}", configured));
    m_facts.tell("freezing of segments", yesNo((answer.bytes[2] & 1U) != 0));
}

const SegmentRecord* InfoXcpFacts::configuredSegment(std::uint8_t number) const {
    const auto found = std::find_if(
        m_record.segments.begin(), m_record.segments.end(), [number](const SegmentRecord& segment) {
            return segment.kind == SegmentKind::calibration && segment.number == number;
        });
    return found != m_record.segments.end() ? &*found : nullptr;
}

void InfoXcpFacts::segment(std::uint8_t number, const SegmentAnswers& answers) {
    const std::string field = fmt::format("segment {}", number);
    const SegmentRecord* configured = configuredSegment(number);
    constexpr std::array<std::size_t, 3> kLengths{8, 8, 2};
    const std::array<const SlaveAnswer*, 3> all{&answers.address, &answers.length, &answers.standard};
    std::string complaint;
    for (std::size_t i = 0; i < all.size() && complaint.empty(); ++i) {
        complaint = complaintOf(*all[i], kLengths[i]);
    }
    const std::string ecu =
        segmentText(word(answers.address, 4, 4), word(answers.length, 4, 4), answers.standard.bytes[1]);
    if (!complaint.empty()) {
        m_facts.tell(field, complaint);
    } else if (configured != nullptr) {
        m_facts.compare(field, ecu, segmentText(configured->address, configured->size, 2));
    } else {
        m_facts.tell(field, ecu);
    }
    activePages(field, answers, configured);
}

void InfoXcpFacts::activePages(const std::string& field, const SegmentAnswers& answers,
                               const SegmentRecord* segment) {
    const auto page = [segment](const SlaveAnswer& answer) {
        constexpr std::size_t kLength = 4;
        const std::uint8_t number = answer.bytes[3];
        if (std::string complaint = complaintOf(answer, kLength); !complaint.empty()) {
            return complaint;
        }
        const bool working = segment != nullptr && number == segment->workingPage;
        const bool reference = segment != nullptr && number == segment->referencePage;
        return fmt::format("{}{}", number, working ? " (working)" : reference ? " (reference)" : "");
    };
    m_facts.tell(field + ", page of the ECU", page(answers.ecuPage));
    m_facts.tell(field + ", page of the host", page(answers.toolPage));
}

void InfoXcpFacts::pgmProcessor(const SlaveAnswer& answer) {
    if (refused("programming", kGetPgmProcessorInfo, answer, 3)) {
        return;
    }
    m_facts.tell("programming", bitTexts(kPgmBits, answer.bytes[1], "no mode"));
    m_facts.tell("flash sectors", fmt::format("{}", answer.bytes[2]));
}

}  // namespace host
