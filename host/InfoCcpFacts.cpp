#include "host/InfoCcpFacts.h"

#include "host/InfoText.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <string>

namespace host {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Exchanges = std::vector<CcpExchange>;

constexpr std::uint8_t kAnswer = 0xFF;
constexpr std::size_t kCommandHead = 2;  ///< code, counter
constexpr std::size_t kAnswerHead = 3;   ///< packet identifier, return code, counter

constexpr std::uint8_t kUpload = 0x04;
constexpr std::uint8_t kGetActiveCalPage = 0x09;
constexpr std::uint8_t kGetSStatus = 0x0D;
constexpr std::uint8_t kExchangeId = 0x17;
constexpr std::uint8_t kGetCcpVersion = 0x1B;

constexpr std::array<BitName, 5> kSessionBits{
    {{0x01, "calibration"}, {0x02, "daq"}, {0x04, "resume"}, {0x40, "store"}, {0x80, "run"}}};

Exchanges::const_iterator findCommand(const Exchanges& exchanges, std::uint8_t code) {
    return std::find_if(exchanges.begin(), exchanges.end(),
                        [code](const CcpExchange& exchange) { return exchange.command[0] == code; });
}

/// The uploads that follow the identification hold its text.
std::string slaveId(const Exchanges& exchanges, Exchanges::const_iterator identification) {
    const std::size_t length = identification->answer[3];
    std::vector<std::uint8_t> bytes;
    for (auto at = std::next(identification);
         at != exchanges.end() && at->command[0] == kUpload && bytes.size() < length; ++at) {
        const std::size_t count = std::min<std::size_t>(at->command[2], at->answer.size() - kAnswerHead);
        bytes.insert(bytes.end(), at->answer.begin() + kAnswerHead,
                     at->answer.begin() + static_cast<std::ptrdiff_t>(kAnswerHead + count));
    }
    bytes.resize(std::min(bytes.size(), length));
    return printable(bytes);
}

void addIdentification(const EcuRecord& record, const Exchanges& exchanges, InfoFacts& facts) {
    const auto found = findCommand(exchanges, kExchangeId);
    if (found == exchanges.end()) {
        return;
    }
    facts.tell("identification", slaveId(exchanges, found));
    facts.tell("resources", bitTexts(kCcpResourceBits, found->answer[5], "none"));
    const std::string locks = bitTexts(kCcpResourceBits, found->answer[6], "none");
    if (record.security.locks.empty()) {
        facts.tell("locks", locks);
    } else {
        facts.compare("locks", locks, bitTexts(kCcpResourceBits, lockBits(record.security), "none"));
    }
}

const char* pageName(const SegmentRecord& segment, std::uint32_t address) {
    if (address == segment.address) {
        return " (working)";
    }
    return address == segment.referenceAddress ? " (reference)" : "";
}

sim::ByteOrder otherOf(sim::ByteOrder order) {
    return order == sim::ByteOrder::intel ? sim::ByteOrder::motorola : sim::ByteOrder::intel;
}

/// The order in which the address of the active page is one of @p segment; nothing if it tells none.
std::optional<sim::ByteOrder> orderOf(const SegmentRecord& segment, Bytes address, sim::ByteOrder believed) {
    for (const sim::ByteOrder order : {believed, otherOf(believed)}) {
        const auto value = static_cast<std::uint32_t>(sim::getNumber(address, order));
        if (value == segment.address || value == segment.referenceAddress) {
            return order;
        }
    }
    return std::nullopt;
}

void addPages(const EcuRecord& record, const Exchanges& exchanges, InfoFacts& facts) {
    const auto found = findCommand(exchanges, kGetActiveCalPage);
    const SegmentRecord* segment = record.firstSegment(SegmentKind::calibration);
    const Bytes address = found != exchanges.end() ? Bytes(found->answer).subspan(4, 4) : Bytes();
    std::optional<sim::ByteOrder> order;
    if (!address.empty() && segment != nullptr) {
        order = orderOf(*segment, address, record.byteOrder);
    }
    facts.add({"byte order", order ? orderText(*order) + ", by the address of its page" : "CCP does not tell",
               orderText(record.byteOrder), order && *order != record.byteOrder});
    if (address.empty()) {
        return;
    }
    const auto value = static_cast<std::uint32_t>(sim::getNumber(address, order.value_or(record.byteOrder)));
    const std::string shown =
        fmt::format("0x{:X}{}", value, segment != nullptr ? pageName(*segment, value) : "");
    if (segment == nullptr) {
        facts.tell("active page", shown);
    } else {
        facts.add({"active page", shown,
                   fmt::format("0x{:X} or 0x{:X}", segment->address, segment->referenceAddress), !order});
    }
}

}  // namespace

void CcpExchanges::take(const BusFrame& bus) {
    const sim::Frame& frame = bus.frame;
    if (frame.extended != m_extended || frame.length < kCommandHead) {
        return;
    }
    std::array<std::uint8_t, 8> bytes{};
    std::copy_n(frame.data.begin(), std::min<std::size_t>(frame.length, bytes.size()), bytes.begin());
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (frame.id == m_commandId) {
        m_pending = bytes;
    } else if (frame.id == m_responseId && frame.length >= kAnswerHead && m_pending && bytes[0] == kAnswer &&
               bytes[2] == (*m_pending)[1]) {
        if (bytes[1] == 0) {
            m_list.push_back({*m_pending, bytes});
        }
        m_pending.reset();
    }
}

std::vector<CcpExchange> CcpExchanges::list() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_list;
}

void addCcpFacts(const EcuRecord& record, const std::vector<CcpExchange>& exchanges, InfoFacts& facts) {
    if (exchanges.empty()) {
        return;
    }
    facts.tell("station address", fmt::format("0x{:X}", record.stationAddress));
    if (const auto version = findCommand(exchanges, kGetCcpVersion); version != exchanges.end()) {
        facts.tell("protocol version", fmt::format("{}.{}", version->answer[3], version->answer[4]));
    }
    addIdentification(record, exchanges, facts);
    addPages(record, exchanges, facts);
    if (const auto status = findCommand(exchanges, kGetSStatus); status != exchanges.end()) {
        facts.tell("session", bitTexts(kSessionBits, status->answer[3], "idle"));
    }
}

}  // namespace host
