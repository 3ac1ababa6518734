#include "tests/support/ScriptedEcu.h"

#include "tests/support/HexText.h"

#include <algorithm>
#include <utility>

namespace support {

namespace {

constexpr const char* kXcpPositive = "ff 00 00 00 00 00 00 00";
constexpr const char* kCcpPositive = "ff 00 @1 00 00 00 00 00";

/// The bytes of a response, "@n" replaced by byte n of the answered frame.
std::vector<std::uint8_t> responseBytes(const std::string& response,
                                        const std::vector<std::uint8_t>& request) {
    std::string resolved;
    for (const std::string& word : words(response)) {
        const bool repeats = word[0] == '@';
        const std::uint8_t repeated = repeats ? request.at(std::stoul(word.substr(1))) : std::uint8_t{0};
        resolved.append(" ").append(repeats ? hexText(&repeated, 1) : word);
    }
    return bytes(resolved);
}

}  // namespace

bool matchesPattern(const std::string& pattern, const std::string& frame) {
    std::vector<std::string> wanted = words(pattern);
    const std::vector<std::string> given = words(frame);
    const bool prefix = !wanted.empty() && wanted.back() == "..";
    if (prefix) {
        wanted.pop_back();
    }
    if (prefix ? given.size() < wanted.size() : given.size() != wanted.size()) {
        return false;
    }
    return std::equal(
        wanted.begin(), wanted.end(), given.begin(),
        [](const std::string& want, const std::string& have) { return want == "??" || want == have; });
}

ScriptedEcu::ScriptedEcu(TestHost& host, EcuPlace place, bool xcp)
    : m_host(host), m_place(place), m_xcp(xcp), m_default{xcp ? kXcpPositive : kCcpPositive} {
    m_plug = m_host.plug([this](const SentFrame& frame) { take(frame); });
}

ScriptedEcu::~ScriptedEcu() {
    m_host.unplug(m_plug);
}

void ScriptedEcu::answers(const std::string& pattern, const Responses& responses) {
    answersBy(pattern, [responses](const std::string&) { return responses; });
}

void ScriptedEcu::answersBy(const std::string& pattern, Answer answer) {
    const std::lock_guard lock(m_mutex);
    m_rules.push_front({pattern, std::move(answer)});
}

void ScriptedEcu::answersOnce(const std::string& pattern, const Responses& responses) {
    const std::lock_guard lock(m_mutex);
    m_onceRules.push_back({pattern, [responses](const std::string&) { return responses; }});
}

void ScriptedEcu::answersInTurn(const std::string& pattern, const std::vector<Responses>& turns) {
    for (const Responses& responses : turns) {
        answersOnce(pattern, responses);
    }
}

void ScriptedEcu::answersByDefault(const Responses& responses) {
    const std::lock_guard lock(m_mutex);
    m_default = responses;
}

void ScriptedEcu::isSilent() {
    const std::lock_guard lock(m_mutex);
    m_silent = true;
}

void ScriptedEcu::speaks() {
    const std::lock_guard lock(m_mutex);
    m_silent = false;
}

void ScriptedEcu::holdsBack() {
    const std::lock_guard lock(m_mutex);
    m_holdsBack = true;
}

void ScriptedEcu::releases() {
    std::vector<std::vector<std::uint8_t>> heldBack;
    {
        const std::lock_guard lock(m_mutex);
        m_holdsBack = false;
        heldBack.swap(m_heldBack);
    }
    for (const std::vector<std::uint8_t>& data : heldBack) {
        deliver(m_place.slaveId, data, 0);
    }
}

void ScriptedEcu::sends(const std::string& frame, std::uint64_t time) {
    deliver(m_place.slaveId, bytes(frame), time);
}

void ScriptedEcu::sendsOn(std::uint32_t id, const std::string& frame, std::uint64_t time) {
    deliver(id, bytes(frame), time);
}

void ScriptedEcu::setHostTag(std::uint64_t hostTag) {
    const std::lock_guard lock(m_mutex);
    m_hostTag = hostTag;
}

std::vector<std::string> ScriptedEcu::sentFrames() const {
    std::vector<std::string> frames;
    for (const SentFrame& frame : sent()) {
        frames.push_back(hexText(frame.data));
    }
    return frames;
}

std::vector<SentFrame> ScriptedEcu::sent() const {
    const std::lock_guard lock(m_mutex);
    return m_sent;
}

std::size_t ScriptedEcu::count(const std::string& pattern) const {
    const std::vector<std::string> frames = sentFrames();
    return static_cast<std::size_t>(
        std::count_if(frames.begin(), frames.end(),
                      [&](const std::string& frame) { return matchesPattern(pattern, frame); }));
}

testing::AssertionResult ScriptedEcu::showed(const std::string& pattern) {
    const std::vector<std::string> frames = sentFrames();
    const std::lock_guard lock(m_mutex);
    std::string seen;
    for (std::size_t i = m_shown; i < frames.size(); ++i) {
        if (matchesPattern(pattern, frames[i])) {
            m_shown = i + 1;
            return testing::AssertionSuccess();
        }
        seen += "\n  " + frames[i];
    }
    return testing::AssertionFailure() << "no frame " << pattern << " among:" << seen;
}

void ScriptedEcu::clearSent() {
    const std::lock_guard lock(m_mutex);
    m_sent.clear();
    m_shown = 0;
}

EcuProtoCfg ScriptedEcu::config(std::uint16_t timeoutMs) const {
    EcuProtoCfg cfg;
    cfg.ecuName = "ecu";
    cfg.protoType = m_xcp ? 1 : 0;
    cfg.canChannel = m_place.channel;
    cfg.canIdMaster = m_place.masterId;
    cfg.canIdSlave = m_place.slaveId;
    for (std::uint16_t* time : {&cfg.xcp.t1, &cfg.xcp.t2, &cfg.xcp.t3, &cfg.xcp.t4, &cfg.xcp.t5, &cfg.xcp.t6,
                                &cfg.xcp.t7, &cfg.ccp.timeoutMs}) {
        *time = timeoutMs;
    }
    return cfg;
}

void ScriptedEcu::take(const SentFrame& frame) {
    if (frame.channel != m_place.channel || frame.id != m_place.masterId) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_sent.push_back(frame);
    }
    for (const std::string& response : answerTo(hexText(frame.data))) {
        const std::vector<std::uint8_t> data = responseBytes(response, frame.data);
        std::unique_lock lock(m_mutex);
        if (m_holdsBack) {
            m_heldBack.push_back(data);
        } else {
            lock.unlock();
            deliver(m_place.slaveId, data, 0);
        }
    }
}

void ScriptedEcu::deliver(std::uint32_t id, const std::vector<std::uint8_t>& data, std::uint64_t time) {
    std::unique_lock lock(m_mutex);
    const std::uint64_t hostTag = m_hostTag;
    lock.unlock();
    recvCanMsg(hostTag, time, m_place.channel, id, static_cast<std::uint16_t>(data.size()), data.data());
}

ScriptedEcu::Responses ScriptedEcu::answerTo(const std::string& frame) {
    const auto matches = [&frame](const Rule& rule) { return matchesPattern(rule.pattern, frame); };
    std::unique_lock lock(m_mutex);
    if (m_silent) {
        return {};
    }
    const auto once = std::find_if(m_onceRules.begin(), m_onceRules.end(), matches);
    if (once != m_onceRules.end()) {
        const Answer answer = once->answer;
        m_onceRules.erase(once);
        lock.unlock();
        return answer(frame);
    }
    const auto rule = std::find_if(m_rules.begin(), m_rules.end(), matches);
    if (rule == m_rules.end()) {
        return m_default;
    }
    const Answer answer = rule->answer;
    lock.unlock();
    return answer(frame);
}

}  // namespace support
