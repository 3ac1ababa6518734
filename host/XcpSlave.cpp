#include "host/XcpSlave.h"

#include "host/EcuSetup.h"
#include "host/Interrupt.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace host {
namespace {

using std::chrono::milliseconds;

constexpr std::uint8_t kConnect = 0xFF;
constexpr std::uint8_t kDisconnect = 0xFE;

constexpr std::size_t kClassicFrame = 8;

/// Longer than any of the commands here takes an ECU.
constexpr milliseconds kMostWork{10'000};

std::uint8_t flagsOf(const EcuRecord& record) {
    unsigned flags = record.extended ? 0x01U : 0U;
    flags |= record.fd ? 0x02U : 0U;
    flags |= record.fd && record.bitRateSwitch ? 0x04U : 0U;
    return static_cast<std::uint8_t>(flags);
}

}  // namespace

XcpSlave::XcpSlave(const EcuRecord& record, std::size_t ecu, std::uint8_t channel, Link& link,
                   XcpResponses& responses)
    : m_record(record),
      m_ecu(ecu),
      m_channel(channel),
      m_link(link),
      m_responses(responses),
      m_dialogue({[this](const std::vector<std::uint8_t>& command) { send(command); },
                  {milliseconds(protoCfg(record, BusRecord{}).xcp.t1), kMostWork,
                   [&link] { return interrupted() || !link.buses().failure().empty(); }},
                  std::max(record.timeouts.retries, 0)},
                 responses) {}

/// An interrupt does not hold up what it asks for, so only the bus counts here.
XcpSlave::~XcpSlave() {
    if (m_connected && m_link.buses().failure().empty()) {
        const milliseconds time(m_record.timeouts.commandMs);
        m_responses.clear();
        send({kDisconnect});
        static_cast<void>(
            m_responses.next({time, time, [this] { return !m_link.buses().failure().empty(); }}));
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

/// Why no answer came.
HostError XcpSlave::silence(std::uint8_t command) const {
    m_link.requireBuses();
    if (interrupted()) {
        return HostError("info: interrupted; what was open is closed", ExitCode::interrupted);
    }
    return m_link.objection(m_ecu, m_connected ? "info" : "connect")
        .value_or(HostError(fmt::format("{}: info: no answer to command 0x{:02X}", m_record.name, command),
                            ExitCode::noAnswer));
}

SlaveAnswer XcpSlave::ask(const std::vector<std::uint8_t>& command) {
    const std::optional<SlaveAnswer> answer = m_dialogue.ask(command);
    if (!answer || interrupted()) {
        throw silence(command.front());
    }
    return *answer;
}

SlaveAnswer XcpSlave::connect() {
    const SlaveAnswer answer = ask({kConnect, 0x00});
    if (!answer.good()) {
        throw m_link.objection(m_ecu, "connect")
            .value_or(HostError(fmt::format("{}: connect: refused", m_record.name), ExitCode::refused));
    }
    m_connected = true;
    m_dialogue.setFrameSize(m_record.fd
                                ? std::clamp(std::size_t{answer.bytes[3]}, kClassicFrame, answer.bytes.size())
                                : kClassicFrame);
    return answer;
}

std::vector<std::uint8_t> XcpSlave::upload(const XcpText& text) {
    auto bytes = m_dialogue.upload(text);
    if (!bytes || interrupted()) {
        throw silence(text.position.front());
    }
    return std::move(*bytes);
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
