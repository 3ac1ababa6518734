#include "sim/XcpEcu.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sim {
namespace {

/// The data lengths above 8 that CAN FD has.
constexpr std::uint8_t kFdLengths[] = {12, 16, 20, 24, 32, 48, 64};

std::uint8_t nextFrameLength(std::size_t length) {
    if (length <= 8) {
        return static_cast<std::uint8_t>(length);
    }
    for (const std::uint8_t fdLength : kFdLengths) {
        if (length <= fdLength) {
            return fdLength;
        }
    }
    return kMaxPayload;
}

bool has(const std::vector<EcuFault>& faults, EcuFaultKind kind) {
    return std::any_of(faults.begin(), faults.end(),
                       [kind](const EcuFault& fault) { return fault.kind == kind; });
}

Time totalDelay(const std::vector<EcuFault>& faults) {
    Time sum = 0;
    for (const EcuFault& fault : faults) {
        sum += fault.kind == EcuFaultKind::delay ? fault.delay : 0;
    }
    return sum;
}

/// The commands that are answered whatever the flash does.
bool isOfSession(std::uint8_t code) {
    constexpr std::uint8_t kCodes[] = {0xFF, 0xFE, 0xFD, 0xFC};  // CONNECT, DISCONNECT, GET_STATUS, SYNCH
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

std::vector<Time> periodsOf(const std::vector<XcpEventConfig>& events) {
    std::vector<Time> periods;
    std::transform(events.begin(), events.end(), std::back_inserter(periods),
                   [](const XcpEventConfig& event) { return event.periodNs(); });
    return periods;
}

/// The config as it came, if an ECU can be like this; called ahead of everything made from it.
XcpEcuConfig checked(XcpEcuConfig config) {
    config.check();
    return config;
}

}  // namespace

XcpEcu::XcpEcu(XcpEcuConfig config)
    : m_config(checked(std::move(config))),
      m_memory(m_config.memory, m_config.granularity),
      m_flash(m_config.program.flash, m_config.memory, m_memory),
      m_signals(m_config.signals),
      m_security(m_config.locks),
      m_daq(m_config, m_memory),
      m_events(periodsOf(m_config.daq.events)),
      m_faults(m_config.faultSeed),
      m_eventTimers(m_config.daq.events.size()),
      m_scheduled(m_config.daq.events.size()) {
    m_signals.update(m_memory, m_events.indicesAt(0));
}

void XcpEcu::powerOn(Port& port) {
    const std::lock_guard lock(m_mutex);
    m_port = &port;
    ++m_powerCycle;
    m_start = port.now();
    m_events.start(m_start);
    m_commandEnd = m_start;
    m_lastAnswer = m_start;
}

void XcpEcu::powerOff() {
    const std::lock_guard lock(m_mutex);
    if (m_port != nullptr) {
        endSession();
        m_port = nullptr;
    }
}

bool XcpEcu::isForMe(const Frame& frame) const {
    return frame.id == m_config.masterId && frame.extended == m_config.extended && frame.length > 0 &&
           frame.data[0] >= xcp::kFirstCommand;
}

void XcpEcu::onFrame(const Frame& frame, Time end) {
    const std::lock_guard lock(m_mutex);
    if (m_port == nullptr || !isForMe(frame)) {
        return;
    }
    m_commandEnd = end;
    handleCommand(XcpRequest(frame, m_config.byteOrder));
}

void XcpEcu::handleCommand(const XcpRequest& request) {
    ++m_counters.commands[request.code()];
    const std::vector<EcuFault> faults = m_faults.onCommand(request.code(), m_commandEnd);
    if (has(faults, EcuFaultKind::reset)) {
        endSession();
        return;
    }
    if (has(faults, EcuFaultKind::silence)) {
        return;
    }
    const CommandRow* row = findRow(request.code());
    if (!m_connected && (row == nullptr || row->needsSession)) {
        return;
    }
    const auto refused = std::find_if(faults.begin(), faults.end(), [](const EcuFault& fault) {
        return fault.kind == EcuFaultKind::error;
    });
    XcpAnswer answer =
        refused != faults.end() ? XcpAnswer(static_cast<XcpError>(refused->code)) : dispatch(request);
    if (answer.error != XcpError::none) {
        const auto code = static_cast<std::uint8_t>(answer.error);
        answer.packets.insert(answer.packets.begin(), XcpPacket(m_config.byteOrder, xcp::kPidError).u8(code));
    }
    watchEvents();
    sendAnswer(answer, faults);
}

XcpAnswer XcpEcu::dispatch(const XcpRequest& request) {
    const CommandRow* row = findRow(request.code());
    const bool missing = row == nullptr || m_config.missingCommands.contains(request.code()) ||
                         (row->resource & ~m_config.resources) != 0;
    if (missing) {
        return XcpError::cmdUnknown;
    }
    if (request.length() < row->minLength) {
        return XcpError::cmdSyntax;
    }
    const XcpError refused = refusal(*row);
    if (refused != XcpError::none) {
        return refused;
    }
    if (!keepsBlock(row->code)) {
        m_block = Block{};
    }
    moveSignals(m_commandEnd);
    return (this->*row->handler)(request);
}

/// What stands against a command whatever its content is.
XcpError XcpEcu::refusal(const CommandRow& row) const {
    if ((row.resource & m_security.protection()) != 0) {
        return XcpError::accessLocked;
    }
    const bool programs = row.resource == xcp::kPgm;
    if (m_flash.busy(m_commandEnd) && !isOfSession(row.code)) {
        return programs ? XcpError::cmdBusy : XcpError::pgmActive;
    }
    return m_programming.started && row.resource == xcp::kDaq ? XcpError::pgmActive : XcpError::none;
}

void XcpEcu::endSession() {
    m_connected = false;
    m_daq.reset();
    m_security.reset();
    m_mta = TransferAddress{};
    m_text.clear();
    m_block = Block{};
    m_programming = Programming{};
    m_requests = 0;
    watchEvents();
}

void XcpEcu::sendAnswer(const XcpAnswer& answer, const std::vector<EcuFault>& faults) {
    for (const EcuFault& fault : faults) {
        sendFault(fault);
    }
    if (has(faults, EcuFaultKind::drop) || answer.packets.empty()) {
        return;
    }
    const Time ready = std::max(m_commandEnd, answer.readyAt);
    const Time when = ready + m_config.responseDelay + totalDelay(faults);
    if (m_config.program.answer == XcpFlashAnswer::pending) {
        sendPending(ready);
    }
    m_lastAnswer = std::max(m_lastAnswer, when);
    const int times = has(faults, EcuFaultKind::repeat) ? 2 : 1;
    for (int time = 0; time < times; ++time) {
        for (const XcpPacket& packet : answer.packets) {
            sendLater(spoil(makeFrame(packet, m_config.slaveId), faults), m_lastAnswer);
        }
    }
}

/// EV_CMD_PENDING now and again, as long as the answer is not ready.
void XcpEcu::sendPending(Time until) {
    for (Time when = m_commandEnd; when < until; when += m_config.program.pendingPeriod) {
        sendLater(makeFrame(XcpPacket(m_config.byteOrder, xcp::kPidEvent).u8(xcp::kEventCommandPending),
                            m_config.slaveId),
                  when);
    }
}

void XcpEcu::sendFault(const EcuFault& fault) {
    const bool event = fault.kind == EcuFaultKind::event;
    if (!event && fault.kind != EcuFaultKind::service) {
        return;
    }
    XcpPacket packet(m_config.byteOrder, event ? xcp::kPidEvent : xcp::kPidService);
    packet.u8(fault.code).bytes(fault.data);
    m_port->send(makeFrame(packet, m_config.slaveId));
}

void XcpEcu::sendEvent(std::uint8_t code) {
    if (!m_faults.silent(m_port->now())) {
        m_port->send(makeFrame(XcpPacket(m_config.byteOrder, xcp::kPidEvent).u8(code), m_config.slaveId));
    }
}

void XcpEcu::sendLater(const Frame& frame, Time when) {
    if (when <= m_commandEnd) {
        m_port->send(frame);
    } else {
        runAt(when, [this, frame] { m_port->send(frame); });
    }
}

Frame XcpEcu::makeFrame(const XcpPacket& packet, std::uint32_t id) const {
    Frame frame;
    frame.id = id;
    frame.extended = m_config.extended;
    frame.fd = m_config.fd;
    frame.brs = m_config.fd && m_config.brs;
    const std::size_t limit = m_config.fd ? kMaxPayload : 8;
    const std::size_t used = std::min(packet.length(), limit);
    frame.length = nextFrameLength(std::max<std::size_t>(used, m_config.padLength));
    std::copy_n(packet.view().begin(), used, frame.data.begin());
    std::fill(frame.data.begin() + static_cast<std::ptrdiff_t>(used), frame.data.begin() + frame.length,
              m_config.padByte);
    return frame;
}

Frame XcpEcu::spoil(Frame frame, const std::vector<EcuFault>& faults) const {
    const std::size_t limit = frame.fd ? kMaxPayload : 8;
    for (const EcuFault& fault : faults) {
        std::size_t length = frame.length;
        if (fault.kind == EcuFaultKind::truncate) {
            length = std::min<std::size_t>(length, fault.length);
        } else if (fault.kind == EcuFaultKind::extend) {
            length = std::min(length + fault.length, limit);
        }
        length = nextFrameLength(length);
        for (std::size_t i = std::min<std::size_t>(frame.length, length); i < kMaxPayload; ++i) {
            frame.data[i] = i < length ? m_config.padByte : std::uint8_t{0};
        }
        frame.length = static_cast<std::uint8_t>(length);
    }
    return frame;
}

TimerId XcpEcu::runAt(Time when, std::function<void()> action) {
    return m_port->at(when, [this, cycle = m_powerCycle, action = std::move(action)] {
        const std::lock_guard lock(m_mutex);
        if (m_port != nullptr && cycle == m_powerCycle) {
            action();
        }
    });
}

void XcpEcu::inject(const EcuFault& fault) {
    const std::lock_guard lock(m_mutex);
    const bool packet = fault.kind == EcuFaultKind::event || fault.kind == EcuFaultKind::service;
    if (packet && !fault.command && fault.after == 0 && m_port != nullptr) {
        sendFault(fault);
    } else {
        m_faults.add(fault, m_port != nullptr ? m_port->now() : 0);
    }
}

void XcpEcu::clearFaults() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
}

std::vector<std::uint8_t> XcpEcu::read(std::uint32_t address, std::uint8_t extension, std::size_t size,
                                       MemoryView view) {
    const std::lock_guard lock(m_mutex);
    if (m_port != nullptr) {
        moveSignals(m_port->now());
    }
    return m_memory.peek(view, address, extension, size);
}

bool XcpEcu::write(std::uint32_t address, std::uint8_t extension, std::span<const std::uint8_t> bytes,
                   MemoryView view) {
    const std::lock_guard lock(m_mutex);
    return m_memory.poke(view, address, extension, bytes) == MemoryResult::ok;
}

std::vector<std::uint8_t> XcpEcu::readPage(std::size_t segment, std::size_t page) const {
    const std::lock_guard lock(m_mutex);
    return m_memory.segment(segment).pages.at(page).bytes;
}

std::vector<std::uint8_t> XcpEcu::readFlash(std::uint32_t address, std::uint8_t extension,
                                            std::size_t size) const {
    const std::lock_guard lock(m_mutex);
    return m_flash.read(address, extension, size);
}

std::uint64_t XcpEcu::eventIndex(std::uint16_t event) const {
    const std::lock_guard lock(m_mutex);
    return m_port != nullptr ? m_events.indexAt(event, m_port->now()) : 0;
}

XcpEcuCounters XcpEcu::counters() const {
    const std::lock_guard lock(m_mutex);
    XcpEcuCounters counters = m_counters;
    counters.unlocks = m_security.unlocks();
    return counters;
}

bool XcpEcu::connected() const {
    const std::lock_guard lock(m_mutex);
    return m_connected;
}

bool XcpEcu::daqRunning() const {
    const std::lock_guard lock(m_mutex);
    return m_daq.running();
}

bool XcpEcu::programming() const {
    const std::lock_guard lock(m_mutex);
    return m_programming.started;
}

std::uint8_t XcpEcu::protection() const {
    const std::lock_guard lock(m_mutex);
    return m_security.protection();
}

}  // namespace sim
