#include "tests/system/FaultMatrixEcu.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace systemtest {
namespace {

using Bytes = FaultMatrixEcu::Bytes;

constexpr std::uint8_t kLetter = 'A';
constexpr std::size_t kLongest = 64;

/// Answers with content, by command. All others are a single byte.
const std::map<std::uint8_t, Bytes> kXcpAnswers = {
    {0xFF, {0xFF, 0x11, 0x00, 8, 8, 0, 1, 1}},  // resources 0x01 and 0x10, frames of 8 bytes
    {0xFD, {0xFF, 0x00, 0x11, 0, 0, 0}},        // both protected
    {0xFB, {0xFF, 0, 0x01, 0, 2, 0, 0, 0x10}},  // master block mode of 2 frames, no pause
    {0xF3, {0xFF, 9, 0, 0, 1, 2, 3, 4}},        // a checksum of kind 9
    {0xDC, {0xFF, 0, 0, 0, 1, 0, 0, 0}},        // a clock
    {0xDA, {0xFF, 0x01, 1, 0, 1, 0, 0, 0}},     // dynamic lists, one list, one event
    {0xD9, {0xFF, 1, 7, 1, 7, 0, 1, 0}},        // entries of up to 7 bytes
    {0xD7, {0xFF, 0x04, 1, 3, 10, 6, 0}},       // one list, a name of 3 bytes, each 10 ms
    {0xD2, {0xFF, 0, 0, 8, 1, 0, 0}},           // frames of 8 bytes for programming
};
const std::map<std::uint8_t, Bytes> kCcpContents = {
    {0x04, {kLetter, kLetter, kLetter, kLetter, kLetter}},
    {0x0E, {4, 1, 2, 3, 4}},  // a checksum
    {0x0F, {kLetter, kLetter, kLetter, kLetter, kLetter}},
    {0x12, {1, 0x11, 0x22, 0x33, 0x44}},  // protected, and a seed
    {0x17, {7, 0, 0x41, 0x41}},           // 7 bytes of identification, resources 0x01 and 0x40 protected
    {0x1B, {2, 1}},                       // version
};

/// The frames of a block have a single answer, behind the last of them. Each tells the bytes still to come.
bool isInsideBlock(const Bytes& request) {
    static constexpr std::uint8_t kCarriers[] = {0xF0, 0xEF, 0xD0, 0xCA};
    const bool carries =
        std::find(std::begin(kCarriers), std::end(kCarriers), request[0]) != std::end(kCarriers);
    return carries && request[1] > request.size() - 2;
}

Bytes letters(std::size_t count) {
    Bytes answer(count + 1, kLetter);
    answer[0] = 0xFF;
    return answer;
}

Bytes ccpAnswer(const Bytes& request) {
    Bytes answer{0xFF, 0, request[1], 0, 0, 0, 0, 0};
    const auto content = kCcpContents.find(request[0]);
    if (content != kCcpContents.end()) {
        std::copy(content->second.begin(), content->second.end(), answer.begin() + 3);
    } else if (request[0] == 0x14) {  // GET_DAQ_SIZE: list 0 has two ODTs from 0x10, list 1 one from 0x20
        answer[3] = request[2] == 0 ? 2 : 1;
        answer[4] = request[2] == 0 ? 0x10 : 0x20;
    }
    return answer;
}

}  // namespace

support::TestHost& matrixHost() {
    static auto* host = new support::TestHost;
    return *host;
}

bool journalShows(const std::string& head) {
    return support::waitFor([&head] {
        const std::vector<std::string> journal = matrixHost().journal();
        return std::any_of(journal.begin(), journal.end(), [&head](const std::string& entry) {
            return entry.compare(0, head.size(), head) == 0;
        });
    });
}

FaultMatrixEcu::FaultMatrixEcu(Protocol protocol)
    : m_protocol(protocol), m_second([this] { deliverSlowly(); }) {
    m_plug = matrixHost().plug([this](const support::SentFrame& frame) { take(frame.data); });
}

FaultMatrixEcu::~FaultMatrixEcu() {
    matrixHost().unplug(m_plug);
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    m_second.join();
}

void FaultMatrixEcu::arm(const Fault& fault, std::size_t first, std::uint8_t endsWith) {
    const std::lock_guard lock(m_mutex);
    m_fault = fault;
    m_first = first;
    m_endsWith = endsWith;
    m_codes.clear();
    m_late.clear();
    m_session = true;
}

Bytes FaultMatrixEcu::codes() const {
    const std::lock_guard lock(m_mutex);
    return m_codes;
}

void FaultMatrixEcu::take(const Bytes& request) {
    std::unique_lock lock(m_mutex);
    const bool isForeign = m_fault.kind == FaultKind::foreign && m_fault.hits(m_codes.size(), m_first);
    const std::vector<Bytes> frames = framesFor(request);
    lock.unlock();
    if (isForeign) {
        deliver(kMatrixMasterId, request);
    }
    for (const Bytes& frame : frames) {
        deliver(kMatrixSlaveId, frame);
    }
}

std::vector<Bytes> FaultMatrixEcu::framesFor(const Bytes& request) {
    const std::size_t number = m_codes.size();
    m_codes.push_back(request[0]);
    if (m_endsWith != 0 && request[0] == m_endsWith) {
        m_fault = {};
    }
    std::vector<Bytes> frames = std::exchange(m_late, {});
    m_session = m_session || request[0] == (m_protocol == Protocol::xcp ? 0xFF : 0x01);
    const bool isHit = m_fault.hits(number, m_first);
    if (isHit && m_fault.kind == FaultKind::reset) {
        m_session = false;
    }
    if (!m_session) {
        return frames;
    }
    const Bytes answer = answerTo(request);
    std::vector<Bytes> own;
    if (isHit) {
        own = spoil(m_fault, request, answer);
    } else if (!answer.empty()) {
        own.push_back(answer);
    }
    frames.insert(frames.end(), own.begin(), own.end());
    return frames;
}

/// @param answer  empty inside a block
std::vector<Bytes> FaultMatrixEcu::spoil(const Fault& fault, const Bytes& request, const Bytes& answer) {
    std::vector<Bytes> frames;
    if (fault.kind == FaultKind::error) {
        return {error(request, fault.code)};
    }
    if (fault.kind == FaultKind::busyFirst) {
        frames.assign(3, error(request, fault.code));
    } else if (fault.kind == FaultKind::foreign) {
        frames = foreignFrames(request);
    }
    if (answer.empty()) {
        return frames;
    }
    frames.push_back(answer);
    switch (fault.kind) {
        case FaultKind::silence:
            return {};
        case FaultKind::late:
            m_late = {answer};
            return {};
        case FaultKind::slow:
            m_slow.push_back(answer);
            m_changed.notify_all();
            return {};
        case FaultKind::wrongCounter:
            return {error(request, fault.code, 1)};
        case FaultKind::cut:
            frames.back().resize(std::min(fault.length, answer.size()));
            break;
        case FaultKind::extended:
            frames.back().resize(kLongest, kLetter);
            break;
        case FaultKind::repeated:
            frames.push_back(answer);
            break;
        default:
            break;
    }
    return frames;
}

Bytes FaultMatrixEcu::answerTo(const Bytes& request) {
    return m_protocol == Protocol::xcp ? xcpAnswer(request) : ccpAnswer(request);
}

Bytes FaultMatrixEcu::xcpAnswer(const Bytes& request) {
    static constexpr std::uint8_t kFirstResource = 0x01;
    switch (request[0]) {
        case 0xF8:  // GET_SEED: a seed of 10 bytes in two frames for the first resource, else one of 4 bytes
            m_resource = request[2];
            return m_resource == kFirstResource && request[1] == 0 ? Bytes{0xFF, 10, 1, 2, 3, 4, 5, 6}
                                                                   : Bytes{0xFF, 4, 7, 8, 9, 10};
        case 0xF7:  // UNLOCK: tells what is still protected
            return {0xFF, m_resource == kFirstResource ? std::uint8_t{0x10} : std::uint8_t{0}};
        case 0xF5:  // UPLOAD and SHORT_UPLOAD: as many bytes as they ask for
        case 0xF4:
            return letters(request[1]);
        default:
            break;
    }
    if (isInsideBlock(request)) {
        return {};
    }
    const auto found = kXcpAnswers.find(request[0]);
    return found != kXcpAnswers.end() ? found->second : Bytes{0xFF};
}

/// @param code  for CCP 0 makes it a positive response without content
Bytes FaultMatrixEcu::error(const Bytes& request, std::uint8_t code, std::uint8_t counterOffset) const {
    if (m_protocol == Protocol::xcp) {
        return {0xFE, code};
    }
    return {0xFF, code, static_cast<std::uint8_t>(request[1] + counterOffset), 0, 0, 0, 0, 0};
}

/// DAQ data that nobody asked for, an event, and what the protocol has beside: a service request, or the
/// response to another master's command.
std::vector<Bytes> FaultMatrixEcu::foreignFrames(const Bytes& request) const {
    if (m_protocol == Protocol::xcp) {
        return {{0x55, 1, 2, 3}, {0xFD, 0x05}, {0xFC, 0x01, 'x'}};
    }
    return {{0x55, 1, 2, 3, 4, 5, 6, 7}, {0xFE, 0x01, 0, 0, 0, 0, 0, 0}, error(request, 0, 100)};
}

void FaultMatrixEcu::deliverSlowly() {
    std::unique_lock lock(m_mutex);
    while (!m_ends) {
        m_changed.wait(lock, [this] { return m_ends || !m_slow.empty(); });
        const std::vector<Bytes> frames = std::exchange(m_slow, {});
        lock.unlock();
        for (const Bytes& frame : frames) {
            deliver(kMatrixSlaveId, frame);
        }
        lock.lock();
    }
}

void FaultMatrixEcu::deliver(std::uint32_t id, const Bytes& frame) {
    recvCanMsg(0, 0, 0, id, static_cast<std::uint16_t>(frame.size()), frame.data());
}

}  // namespace systemtest
