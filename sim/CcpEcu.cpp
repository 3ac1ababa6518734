#include "sim/CcpEcu.h"

#include <algorithm>
#include <utility>

namespace sim {
namespace {

bool has(const std::vector<EcuFault>& faults, EcuFaultKind kind) {
    return std::any_of(faults.begin(), faults.end(),
                       [kind](const EcuFault& fault) { return fault.kind == kind; });
}

std::optional<CcpReturn> forcedCode(const std::vector<EcuFault>& faults, EcuFaultKind kind) {
    for (const EcuFault& fault : faults) {
        if (fault.kind == kind) {
            return static_cast<CcpReturn>(fault.code);
        }
    }
    return std::nullopt;
}

std::vector<Time> periods(const std::vector<CcpEventConfig>& events) {
    std::vector<Time> all(events.size());
    std::transform(events.begin(), events.end(), all.begin(),
                   [](const CcpEventConfig& event) { return event.period; });
    return all;
}

}  // namespace

CcpEcu::CcpEcu(CcpEcuConfig config)
    : m_config(checked(std::move(config))),
      m_memory(m_config.memory, 1),
      m_flash(m_config.flash, m_config.memory, m_memory),
      m_signals(m_config.signals),
      m_events(periods(m_config.events)),
      m_security(m_config.locks),
      m_daq(m_config, m_memory),
      m_faults(m_config.faultSeed),
      m_eventTimers(m_events.size()),
      m_scheduled(m_events.size()) {
    moveSignals(0);
}

void CcpEcu::powerOn(Port& port) {
    const std::lock_guard lock(m_mutex);
    m_port = &port;
    ++m_powerCycle;
    m_commandEnd = port.now();
    m_lastAnswer = m_commandEnd;
    m_serviceEnd = m_commandEnd;
    m_activePage = 0;
    m_events.start(m_commandEnd);
    watchEvents();
}

void CcpEcu::powerOff() {
    const std::lock_guard lock(m_mutex);
    if (m_port != nullptr) {
        endSession(wantsResume());
        dropEventTimers();
        m_port = nullptr;
    }
}

bool CcpEcu::isForMe(const Frame& frame) const {
    constexpr std::uint8_t kHeader = 2;
    return frame.id == m_config.croId && frame.extended == m_config.extended && !frame.fd &&
           frame.length >= kHeader;
}

void CcpEcu::onFrame(const Frame& frame, Time end) {
    const std::lock_guard lock(m_mutex);
    if (m_port == nullptr || !isForMe(frame)) {
        return;
    }
    m_commandEnd = end;
    const CcpRequest request(frame, m_config.byteOrder);
    if (isAddressed(request)) {
        handleCommand(request);
    }
}

/// Whether this station is meant. CONNECT and TEST name their station, everything else is for the one
/// that is connected; a CONNECT of another one takes this one off line without a word.
bool CcpEcu::isAddressed(const CcpRequest& request) {
    if (request.code() == ccp::kConnect) {
        m_connected = m_connected && isMyAddress(request, 2);
        return isMyAddress(request, 2);
    }
    return request.code() == ccp::kTest ? isMyAddress(request, 2) : m_connected;
}

void CcpEcu::handleCommand(const CcpRequest& request) {
    ++m_counters.commands[request.code()];
    const std::vector<EcuFault> faults = m_faults.onCommand(request.code(), m_commandEnd);
    if (has(faults, EcuFaultKind::reset)) {
        endSession(false);
        return;
    }
    if (has(faults, EcuFaultKind::silence)) {
        return;
    }
    const CcpAnswer answer = run(request, faults);
    watchEvents();
    sendAnswer(request, answer, faults);
}

/// The answer with what @p faults make of it.
CcpAnswer CcpEcu::run(const CcpRequest& request, const std::vector<EcuFault>& faults) {
    const std::optional<CcpReturn> refused = forcedCode(faults, EcuFaultKind::error);
    if (refused) {
        return *refused;
    }
    if (m_config.busy == CcpBusy::refused && m_commandEnd < busyUntil()) {
        return m_config.busyCode;
    }
    CcpAnswer answer = dispatch(request);
    answer.code = forcedCode(faults, EcuFaultKind::warning).value_or(answer.code);
    return answer;
}

CcpAnswer CcpEcu::dispatch(const CcpRequest& request) {
    const CommandRow* row = findRow(request.code());
    if (row == nullptr || m_config.missingCommands.contains(request.code())) {
        return CcpReturn::unknownCommand;
    }
    if (request.length() < row->minLength) {
        return CcpReturn::syntax;
    }
    if ((row->resource & ~m_config.resources) != 0) {
        return CcpReturn::notAvailable;
    }
    if ((row->resource & m_security.closed()) != 0) {
        return CcpReturn::accessLocked;
    }
    moveSignals(m_commandEnd);
    return (this->*row->handler)(request);
}

bool CcpEcu::wantsResume() const {
    return (m_status & ccp::kStatusResume) != 0;
}

/// Forgets what a session knows. With @p keepDaq the lists run on and their resource stays open.
void CcpEcu::endSession(bool keepDaq) {
    m_connected = false;
    m_security.reset(keepDaq ? ccp::kDaq : std::uint8_t{0});
    m_status = keepDaq ? ccp::kStatusResume : std::uint8_t{0};
    m_mta = {};
    m_text.clear();
    if (!keepDaq) {
        m_daq.reset();
    }
    watchEvents();
}

/// When the long command at hand is done.
Time CcpEcu::busyUntil() const {
    return std::max(m_serviceEnd, m_flash.busyUntil());
}

Time CcpEcu::answerTime(const std::vector<EcuFault>& faults) const {
    const Time ready = m_config.busy == CcpBusy::late ? std::max(m_commandEnd, busyUntil()) : m_commandEnd;
    Time when = ready + m_config.responseDelay;
    for (const EcuFault& fault : faults) {
        when += fault.kind == EcuFaultKind::delay ? fault.delay : 0;
    }
    return std::max(m_lastAnswer, when);
}

void CcpEcu::sendAnswer(const CcpRequest& request, const CcpAnswer& answer,
                        const std::vector<EcuFault>& faults) {
    for (const EcuFault& fault : faults) {
        if (fault.kind == EcuFaultKind::event) {
            sendEvent(fault.code, fault.data);
        }
    }
    if (has(faults, EcuFaultKind::drop)) {
        return;
    }
    const unsigned counter = request.u8(1) + (has(faults, EcuFaultKind::wrongCounter) ? 1U : 0U);
    CcpPacket response = packet();
    response.u8(ccp::kPidResponse)
        .u8(static_cast<std::uint8_t>(answer.code))
        .u8(static_cast<std::uint8_t>(counter))
        .bytes(answer.data);
    const Frame frame =
        spoil(makeFrame(response.view(), CcpCanId{m_config.dtoId, m_config.extended}), faults);
    m_lastAnswer = answerTime(faults);
    const int times = has(faults, EcuFaultKind::repeat) ? 2 : 1;
    for (int time = 0; time < times; ++time) {
        sendLater(frame, m_lastAnswer);
    }
}

void CcpEcu::sendEvent(std::uint8_t code, std::span<const std::uint8_t> data) {
    CcpPacket event = packet();
    event.u8(ccp::kPidEvent).u8(code).bytes(data);
    m_port->send(makeFrame(event.view(), CcpCanId{m_config.dtoId, m_config.extended}));
}

void CcpEcu::sendLater(const Frame& frame, Time when) {
    if (when <= m_commandEnd) {
        m_port->send(frame);
    } else {
        runAt(when, [this, frame] { m_port->send(frame); });
    }
}

Frame CcpEcu::makeFrame(std::span<const std::uint8_t> bytes, const CcpCanId& id) const {
    Frame frame;
    frame.id = id.id;
    frame.extended = id.extended;
    frame.length = ccp::kFrameSize;
    std::fill_n(frame.data.begin(), ccp::kFrameSize, m_config.padByte);
    std::copy_n(bytes.begin(), std::min(bytes.size(), ccp::kFrameSize), frame.data.begin());
    return frame;
}

/// An over-long answer does not fit into a classic frame, so it goes out as one of CAN FD.
Frame CcpEcu::spoil(Frame frame, const std::vector<EcuFault>& faults) const {
    constexpr std::uint8_t kFdLengths[] = {12, 16, 20, 24, 32, 48, 64};
    for (const EcuFault& fault : faults) {
        if (fault.kind == EcuFaultKind::truncate) {
            frame.length = std::min(frame.length, fault.length);
        } else if (fault.kind == EcuFaultKind::extend) {
            const std::size_t wanted = std::min<std::size_t>(frame.length + fault.length, kMaxPayload);
            const auto* fits = std::lower_bound(std::begin(kFdLengths), std::end(kFdLengths), wanted);
            const std::size_t length = wanted <= ccp::kFrameSize ? wanted : *fits;
            std::fill(frame.data.begin() + frame.length,
                      frame.data.begin() + static_cast<std::ptrdiff_t>(length), m_config.padByte);
            frame.length = static_cast<std::uint8_t>(length);
            frame.fd = length > ccp::kFrameSize;
        }
    }
    std::fill(frame.data.begin() + frame.length, frame.data.end(), std::uint8_t{0});
    return frame;
}

TimerId CcpEcu::runAt(Time when, std::function<void()> action) {
    return m_port->at(when, [this, cycle = m_powerCycle, action = std::move(action)] {
        const std::lock_guard lock(m_mutex);
        if (m_port != nullptr && cycle == m_powerCycle) {
            action();
        }
    });
}

void CcpEcu::inject(const EcuFault& fault) {
    const std::lock_guard lock(m_mutex);
    const bool atOnce = fault.kind == EcuFaultKind::event && !fault.command && fault.after == 0;
    if (atOnce && m_port != nullptr) {
        sendEvent(fault.code, fault.data);
    } else {
        m_faults.add(fault, m_port != nullptr ? m_port->now() : 0);
    }
}

void CcpEcu::clearFaults() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
}

std::vector<std::uint8_t> CcpEcu::read(std::uint32_t address, std::uint8_t extension, std::size_t size) {
    const std::lock_guard lock(m_mutex);
    if (m_port != nullptr) {
        moveSignals(m_port->now());
    }
    return m_memory.peek(MemoryView::ecu, address, extension, size);
}

bool CcpEcu::write(std::uint32_t address, std::uint8_t extension, std::span<const std::uint8_t> bytes) {
    const std::lock_guard lock(m_mutex);
    return m_memory.poke(MemoryView::ecu, address, extension, bytes) == MemoryResult::ok;
}

std::uint64_t CcpEcu::eventIndex(std::uint8_t event) const {
    const std::lock_guard lock(m_mutex);
    return m_port != nullptr ? m_events.indexAt(event, m_port->now()) : 0;
}

CcpEcuCounters CcpEcu::counters() const {
    const std::lock_guard lock(m_mutex);
    CcpEcuCounters counters = m_counters;
    counters.unlocks = m_security.unlocks();
    return counters;
}

bool CcpEcu::connected() const {
    const std::lock_guard lock(m_mutex);
    return m_connected;
}

bool CcpEcu::daqRunning() const {
    const std::lock_guard lock(m_mutex);
    return m_daq.running();
}

std::uint8_t CcpEcu::protection() const {
    const std::lock_guard lock(m_mutex);
    return m_security.closed();
}

std::uint8_t CcpEcu::sessionStatus() const {
    const std::lock_guard lock(m_mutex);
    return m_status;
}

std::optional<CcpCalPage> CcpEcu::activePage() const {
    const std::lock_guard lock(m_mutex);
    return m_config.calPages.empty() ? std::nullopt : std::optional(m_config.calPages[m_activePage]);
}

}  // namespace sim
