#include "host/XcpSlave.h"

#include "host/EcuSetup.h"
#include "host/Interrupt.h"

#include <fmt/format.h>

#include <algorithm>

namespace host {
namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t kResponse = 0xFF;
constexpr std::uint8_t kError = 0xFE;
constexpr std::uint8_t kEvent = 0xFD;
constexpr std::uint8_t kCommandPending = 0x05;  ///< EV_CMD_PENDING
constexpr std::uint8_t kBusy = 0x10;            ///< ERR_CMD_BUSY

constexpr std::uint8_t kConnect = 0xFF;
constexpr std::uint8_t kDisconnect = 0xFE;
constexpr std::uint8_t kUpload = 0xF5;

constexpr std::size_t kClassicFrame = 8;

std::uint8_t flagsOf(const EcuRecord& record) {
    unsigned flags = record.extended ? 0x01U : 0U;
    flags |= record.fd ? 0x02U : 0U;
    flags |= record.fd && record.bitRateSwitch ? 0x04U : 0U;
    return static_cast<std::uint8_t>(flags);
}

bool isPending(const std::vector<std::uint8_t>& frame) {
    return frame.size() > 1 && frame[0] == kEvent && frame[1] == kCommandPending;
}

SlaveAnswer answerOf(const std::vector<std::uint8_t>& frame) {
    SlaveAnswer answer;
    std::copy_n(frame.begin(), std::min(frame.size(), answer.bytes.size()), answer.bytes.begin());
    answer.status = frame[0] == kResponse ? SlaveAnswer::kSuccess : std::uint32_t{answer.bytes[1]};
    return answer;
}

}  // namespace

void XcpResponses::take(const BusFrame& bus) {
    const sim::Frame& frame = bus.frame;
    if (bus.own) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_own;
        m_changed.notify_all();
        return;
    }
    if (frame.id != m_id || frame.extended != m_extended || frame.length == 0) {
        return;
    }
    std::vector<std::uint8_t> bytes(frame.data.begin(), frame.data.begin() + frame.length);
    if (bytes[0] == kResponse || bytes[0] == kError || isPending(bytes)) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_frames.push_back(std::move(bytes));
        m_changed.notify_all();
    }
}

void XcpResponses::clear() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_frames.clear();
    m_own = 0;
}

void XcpResponses::awaitOwn(std::size_t count, milliseconds time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    static_cast<void>(m_changed.wait_for(lock, time, [&] { return m_own >= count; }));
}

std::optional<std::vector<std::uint8_t>> XcpResponses::next(milliseconds time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_changed.wait_for(lock, time, [this] { return !m_frames.empty(); })) {
        std::vector<std::uint8_t> frame = std::move(m_frames.front());
        m_frames.pop_front();
        if (!isPending(frame)) {
            return frame;
        }
    }
    return std::nullopt;
}

XcpSlave::XcpSlave(const EcuRecord& record, std::size_t ecu, std::uint8_t channel, Link& link,
                   XcpResponses& responses)
    : m_record(record), m_ecu(ecu), m_channel(channel), m_link(link), m_responses(responses) {}

XcpSlave::~XcpSlave() {
    if (m_connected && m_link.buses().failure().empty()) {
        m_responses.clear();
        send({kDisconnect});
        static_cast<void>(m_responses.next(milliseconds(m_record.timeouts.commandMs)));
    }
}

void XcpSlave::send(const std::vector<std::uint8_t>& command) {
    std::vector<std::uint8_t> bytes = command;
    if (m_record.padFrames) {
        bytes.resize(std::max(bytes.size(), m_record.fd ? std::size_t{m_record.maxCto} : kClassicFrame),
                     m_record.padByte);
    }
    m_link.buses().send({m_channel, m_record.commandId, flagsOf(m_record),
                         static_cast<std::uint8_t>(bytes.size()), bytes.data()});
}

SlaveAnswer XcpSlave::ask(const std::vector<std::uint8_t>& command) {
    const milliseconds time(protoCfg(m_record, BusRecord{}).xcp.t1);
    for (std::int32_t left = std::max(m_record.timeouts.retries, 0); left >= 0; --left) {
        m_responses.clear();
        send(command);
        const auto frame = m_responses.next(time);
        m_link.requireBuses();
        if (interrupted()) {
            throw HostError("info: interrupted; what was open is closed", ExitCode::interrupted);
        }
        const bool busy = frame && frame->size() > 1 && (*frame)[0] == kError && (*frame)[1] == kBusy;
        if (frame && (!busy || left == 0)) {
            return answerOf(*frame);
        }
    }
    throw m_link.objection(m_ecu, m_connected ? "info" : "connect")
        .value_or(HostError(fmt::format("{}: info: no answer to command 0x{:02X}", m_record.name, command[0]),
                            ExitCode::noAnswer));
}

SlaveAnswer XcpSlave::connect() {
    const SlaveAnswer answer = ask({kConnect, 0x00});
    if (!answer.good()) {
        throw m_link.objection(m_ecu, "connect")
            .value_or(HostError(fmt::format("{}: connect: refused", m_record.name), ExitCode::refused));
    }
    m_connected = true;
    const std::size_t told = answer.bytes[3];
    m_frameSize = m_record.fd ? std::clamp(told, kClassicFrame, answer.bytes.size()) : kClassicFrame;
    return answer;
}

std::vector<std::uint8_t> XcpSlave::upload(std::size_t count, std::uint8_t granularity) {
    std::vector<std::uint8_t> bytes;
    const std::size_t most = m_frameSize / granularity - 1;
    while (bytes.size() < count) {
        const std::size_t elements = std::min((count - bytes.size() + granularity - 1) / granularity, most);
        const SlaveAnswer answer = ask({kUpload, static_cast<std::uint8_t>(elements)});
        if (!answer.good()) {
            break;
        }
        const auto start = answer.bytes.begin() + granularity;
        bytes.insert(bytes.end(), start, start + static_cast<std::ptrdiff_t>(elements * granularity));
    }
    bytes.resize(std::min(bytes.size(), count));
    return bytes;
}

/// Nothing that the ECU said so far may reach the session, which would take it for an answer of its own. The
/// bus tells this object of a frame ahead of the library, so a second DISCONNECT, which no ECU answers any
/// more, shows that the library is done with the answer to the first.
void XcpSlave::leave() {
    const milliseconds time(m_record.timeouts.commandMs);
    static_cast<void>(ask({kDisconnect}));
    m_connected = false;
    m_responses.clear();
    send({kDisconnect});
    m_responses.awaitOwn(1, time);
}

std::optional<HostError> XcpSlave::unlock() {
    leave();
    try {
        m_link.connect();
        return std::nullopt;
    } catch (const HostError& error) {
        m_link.requireBuses();
        if (error.code() == ExitCode::interrupted || error.code() == ExitCode::noAnswer) {
            throw;
        }
        static_cast<void>(connect());
        return error;
    }
}

}  // namespace host
