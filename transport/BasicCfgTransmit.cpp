#include "transport/BasicCfgTransmit.h"

#include "decode/CcpMsgDecode.h"
#include "decode/ValueText.h"
#include "decode/XcpMsgDecode.h"
#include "transport/FrameEvent.h"
#include "transport/FrameStore.h"
#include "transport/IdRegistry.h"
#include "transport/StopFlag.h"
#include "transport/SystemClock.h"

#include <algorithm>
#include <list>
#include <thread>

namespace {

constexpr std::uint32_t kIdMask =
    0x1FFFFFFF;                             ///< an identifier without the flags hosts keep in its upper bits
constexpr std::uint8_t kXcpService = 0xFC;  ///< XCP SERV packet
constexpr std::uint8_t kXcpResponses = 0xFB;  ///< XCP: first byte from here on is no DAQ frame
constexpr std::uint8_t kCcpResponses = 0xFE;  ///< CCP: first byte from here on is no DAQ frame

/// The text of a discard is the head of this literal, as long as the number of discarded frames: readers of
/// the log take the count from the line's length, and the placeholder is never filled in.
constexpr std::string_view kDiscardText = "[Talvex] Discard Talvex Message, count = %d";
static_assert(kDiscardText.size() == 43);

/// `m_lastStatus` at the start of a connect: success for XCP, and no status of CCP at all.
constexpr std::uint32_t kFreshStatus = 256;

enum SendFlag : std::uint8_t { kSendExtended = 0x01, kSendFd = 0x02, kSendBrs = 0x04 };

std::uint8_t sendFlags(const EcuProtoCfg& cfg) {
    return static_cast<std::uint8_t>((cfg.masterExtended != 0 ? kSendExtended : 0) |
                                     (cfg.masterFd != 0 ? kSendFd : 0) | (cfg.masterBrs != 0 ? kSendBrs : 0));
}

std::string hexDump(const std::uint8_t* bytes, std::size_t count) {
    return trace_view::byteText({bytes, count}, count);
}

std::string dumpLine(std::string_view head, const msgBuf& frame, std::size_t length) {
    return std::string(head) + trace_view::byteText(frame.data, length) + ']';
}

}  // namespace

BasicCfgTransmit::BasicCfgTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks)
    : m_cfg(cfg), m_callBacks(callBacks), m_protoType(cfg.protoType) {
    collectIds();
    makeDecoder();
    registerIds(m_cmdIds);
    registerIds(m_daqIds);
}

BasicCfgTransmit::~BasicCfgTransmit() {
    releaseIds(m_cmdIds);
    releaseIds(m_daqIds);
    frameStore().erase(m_cfg.canChannel, m_cmdIds);
    frameStore().erase(m_cfg.canChannel, m_daqIds);
}

void BasicCfgTransmit::collectIds() {
    m_cmdIds = {m_cfg.canIdSlave, m_cfg.canIdMaster, m_cfg.canIdBroadcast};
    if (m_protoType != 1) {
        for (const auto& [number, list] : m_cfg.ccp.daqLists) {
            m_daqIds.insert(list.canId & kIdMask);
        }
        return;
    }
    for (const auto& [number, id] : m_cfg.xcp.daqListCanIds) {
        m_daqIds.insert(id & kIdMask);
    }
    for (const auto& [event, ids] : m_cfg.xcp.eventCanIds) {
        for (const std::uint32_t id : ids) {
            m_daqIds.insert(id & kIdMask);
        }
    }
}

void BasicCfgTransmit::makeDecoder() {
    if (m_protoType == 1) {
        m_byteOrder = m_cfg.xcp.byteOrder;
        m_decoder = std::make_unique<XCP_MOUDLE::XcpMsgDecode>();
    } else {
        m_byteOrder = m_cfg.ccp.byteOrder;
        m_decoder = std::make_unique<CCP_MOUDLE::CcpMsgDecode>();
    }
    m_decoder->swapBytes = m_byteOrder != 0;
    m_decoder->m_callBacks = m_callBacks;
}

void BasicCfgTransmit::appendFrames(std::uint32_t id, bool wait) {
    const std::list<msgBuf> taken = takeFrames(m_cfg.canChannel, id, wait);
    m_frames.insert(m_frames.end(), taken.begin(), taken.end());
}

void BasicCfgTransmit::fetchFrames() {
    const std::lock_guard lock(m_mutex);
    appendFrames(m_cfg.canIdSlave, true);
    for (const std::uint32_t id : m_daqIds) {
        appendFrames(id, true);
    }
    discardFrames();
}

void BasicCfgTransmit::collectResponses(bool wait) {
    appendFrames(m_cfg.canIdSlave, wait);
    discardFrames();
}

void BasicCfgTransmit::dropStaleResponses() {
    const std::lock_guard lock(m_mutex);
    appendFrames(m_cfg.canIdSlave, false);
    std::erase_if(m_frames, [this](const msgBuf& frame) {
        return frame.id == m_cfg.canIdSlave && frame.data[0] >= responseRange();
    });
}

void BasicCfgTransmit::discardFrames() {
    const std::lock_guard lock(m_mutex);
    if (m_frames.size() <= kPendingLimit) {
        return;
    }
    const std::size_t fetched = m_frames.size();
    sortByTime();
    appendFrames(m_cfg.canIdMaster, false);
    if (m_frames.size() != fetched) {
        sortByTime();
    }
    std::vector<msgBuf> kept;
    kept.reserve(m_frames.size());
    for (std::size_t i = 0; i < m_frames.size(); ++i) {
        if (!isExpendable(i)) {
            kept.push_back(m_frames[i]);
        }
    }
    const std::size_t removed = m_frames.size() - kept.size();
    m_frames.swap(kept);
    writeLog(kLogWarning, std::string(kDiscardText.substr(0, removed)));
}

void BasicCfgTransmit::sortByTime() {
    std::stable_sort(m_frames.begin(), m_frames.end(),
                     [](const msgBuf& a, const msgBuf& b) { return a.time < b.time; });
}

std::uint8_t BasicCfgTransmit::responseRange() const {
    return m_protoType == 1 ? kXcpResponses : kCcpResponses;
}

/// The identifiers of events need no look of their own: they are all DAQ identifiers.
bool BasicCfgTransmit::isMeasurement(const msgBuf& frame) const {
    return m_daqIds.contains(frame.id) || (frame.id == m_cfg.canIdSlave && frame.data[0] < responseRange());
}

/// Whether the frame at @p index of the sorted `m_frames` is given up. A measurement frame right behind a
/// frame of this master stays, as it may be the answer to it.
bool BasicCfgTransmit::isExpendable(std::size_t index) const {
    const msgBuf& frame = m_frames[index];
    if (frame.length == 0) {
        return false;
    }
    if (frame.id == m_cfg.canIdMaster) {
        return true;
    }
    const bool service = m_protoType == 1 && frame.data[0] == kXcpService;
    if (!isMeasurement(frame)) {
        return service;
    }
    const bool behindOwnFrame = index > 0 && m_frames[index - 1].id == m_cfg.canIdMaster;
    return !behindOwnFrame || service;
}

void BasicCfgTransmit::writeLog(std::uint32_t level, const std::string& text) const {
    writeLogLine(m_callBacks.logFuns, level, text);
}

std::size_t BasicCfgTransmit::pad(msgBuf& frame, std::size_t capacity, std::uint8_t padByte) const {
    if (m_cfg.padFrames == 0) {
        return frame.length;
    }
    const std::size_t padded = std::min<std::size_t>(m_cfg.maxCto, capacity);
    if (frame.length < padded) {
        std::fill(frame.data.begin() + frame.length, frame.data.begin() + static_cast<std::ptrdiff_t>(padded),
                  padByte);
    }
    return padded;
}

bool BasicCfgTransmit::refusesFrames() const {
    const bool refuses = m_callBacks.sndFun == nullptr || stopFlag().isStopped();
    if (refuses) {
        writeLog(kLogWarning, "callback sndFun is nullptr or isStopTransmit");
    }
    return refuses;
}

std::uint32_t BasicCfgTransmit::transmit(msgBuf& frame, const TraceTexts& trace, std::size_t dumpLength,
                                         std::size_t sentLength) {
    if (!m_callBacks.logFuns.empty()) {
        writeLog(kLogTrace, dumpLine(trace.sent, frame, dumpLength));
    }
    frame.id = m_cfg.canIdMaster;
    frame.time = systemMicros();
    m_decoder->ctoMsgAnalyse(frame);
    return m_callBacks.sndFun(m_cfg.canChannel, m_cfg.canIdMaster, sendFlags(m_cfg),
                              static_cast<std::uint8_t>(std::min(sentLength, frame.data.size())),
                              frame.data.data());
}

void BasicCfgTransmit::traceResponse(const msgBuf& request, const msgBuf& response, const TraceTexts& trace) {
    if (!m_callBacks.logFuns.empty()) {
        writeLog(kLogTrace, dumpLine(trace.received, response, response.length));
    }
    m_decoder->resMsgAnalyse(request.data[0], response);
}

bool BasicCfgTransmit::takePending(msgBuf& response, const std::function<bool(const msgBuf&)>& matches) {
    auto found = std::find_if(m_frames.begin(), m_frames.end(), matches);
    while (found != m_frames.end() && found->length == 0) {
        found = std::find_if(m_frames.erase(found), m_frames.end(), matches);
    }
    if (found == m_frames.end()) {
        return false;
    }
    response = *found;
    m_frames.erase(found);
    return true;
}

bool BasicCfgTransmit::awaitPending(msgBuf& response, const std::function<bool(const msgBuf&)>& matches,
                                    Deadline& deadline, std::chrono::milliseconds slice) {
    if (stopFlag().isStopped()) {
        return false;
    }
    // Often it is there already: the responses of a block come in one take, and none of them is worth a wait.
    collectResponses(false);
    if (takePending(response, matches)) {
        return true;
    }
    for (bool lastLook = false; !stopFlag().isStopped(); lastLook = deadline.isOver()) {
        collectResponses(!lastLook);
        if (takePending(response, matches)) {
            return true;
        }
        if (lastLook) {
            return false;
        }
        frameEvent().wait(std::min<std::chrono::nanoseconds>(deadline.left(), slice));
    }
    return false;
}

std::uint32_t BasicCfgTransmit::attempt(msgBuf& request, msgBuf& response, std::int32_t timeoutMs) {
    sendFrame(request);
    const std::uint32_t status = receiveResponse(request, response, timeoutMs);
    m_lastStatus = status;
    return status;
}

bool BasicCfgTransmit::repeatExchange(msgBuf& request, msgBuf& response, std::int32_t timeoutMs,
                                      const RepeatRule& rule) {
    const bool endless = rule.limit == -1;
    for (std::int32_t done = 0; endless || done < rule.limit; done += endless ? 0 : 1) {
        if (stopFlag().isStoppedUnlocked()) {
            return false;
        }
        if (rule.isDone(attempt(request, response, timeoutMs))) {
            return true;
        }
        waitRetryDelay(rule.delayMs);
    }
    return false;
}

void BasicCfgTransmit::resetLink() {
    m_linkLost = false;
    m_lastStatus = m_cfg.protoType != 0 ? kFreshStatus : 0U;
}

bool BasicCfgTransmit::loadSeedKey(SeedKeyFun (*loader)(const char* path, const char* entry),
                                   const char* entry) {
    m_lib = loader(m_cfg.seedkey_path.c_str(), entry);
    if (!m_lib) {
        writeLog(kLogError, "SeedKey dll load failed, seedkey_path=" + m_cfg.seedkey_path);
        return false;
    }
    return true;
}

bool BasicCfgTransmit::makeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength,
                               std::uint8_t* key, std::uint8_t& keyLength) {
    if (!m_lib) {
        writeLog(kLogWarning, "########ERROR:> m_lib loaded error.");
        return false;
    }
    writeLog(kLogTrace, "==========>seed is:> [" + hexDump(seed, seedLength) + "].");
    const bool made = m_lib(resource, seedLength, seed, &keyLength, key) != 0;
    // Readers of this line know it without a bracket at its end.
    writeLog(kLogProgress, std::string("==========>seed Fun ret:") + (made ? "1" : "0") + " key - length: [" +
                               std::to_string(keyLength) + "] and the key is : [" + hexDump(key, keyLength));
    return made;
}

void BasicCfgTransmit::waitRetryDelay(std::uint32_t retryDelayMs) {
    for (std::uint32_t left = retryDelayMs; left > 0 && !stopFlag().isStoppedUnlocked();) {
        const std::uint32_t slice = left >= 10 ? 10 : 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(slice));
        left -= slice;
    }
}

void BasicCfgTransmit::deliverValues(std::int32_t kind, const std::vector<mcMeasureVariableValue>& values,
                                     const std::vector<std::string>& rejected) const {
    if (m_callBacks.measureFun != nullptr) {
        m_callBacks.measureFun(m_cfg.ecuName, kind, values, rejected);
    }
}

void BasicCfgTransmit::filterVariables(std::vector<mcMeasureVariable>& variables,
                                       std::vector<std::string>& rejected) const {
    std::vector<mcMeasureVariable> offered;
    offered.swap(variables);
    for (mcMeasureVariable& variable : offered) {
        if (isVariableAllowed(variable)) {
            variables.push_back(std::move(variable));
        } else {
            rejected.push_back(std::move(variable.name));
        }
    }
}

bool BasicCfgTransmit::isVariableAllowed(const mcMeasureVariable& variable) const {
    const auto warn = [&](const char* what) {
        writeLog(kLogWarning, "Ignore measure variable:" + variable.name + what);
    };
    const std::uint8_t rejectZero =
        m_cfg.protoType == 1 ? m_cfg.xcp.rejectZeroAddress : m_cfg.ccp.rejectZeroAddress;
    if (rejectZero != 0 && variable.address == 0) {
        warn(" address is 0x00");
        return false;
    }
    if (variable.size == 0) {
        warn(" address size is 0");
        return false;
    }
    const std::vector<mcMemoryInfo>& segments = m_cfg.dataSegments;
    const bool inSegment =
        segments.empty() || std::any_of(segments.begin(), segments.end(),
                                        [&](const auto& segment) { return isInSegment(segment, variable); });
    if (!inSegment) {
        // Hosts measure outside their segments on purpose; the word "Ignore" is only a warning here.
        warn(" address out of memory segment range");
    }
    return true;
}

bool BasicCfgTransmit::isInSegment(const mcMemoryInfo& segment, const AddressBlock& block) {
    if (segment.addressExtension != block.addressExtension || segment.length == 0 || block.size == 0) {
        return false;
    }
    const std::uint32_t blockEnd = block.address + block.size;
    const std::uint32_t segmentEnd = segment.address + segment.length;
    return block.address >= segment.address && blockEnd <= segmentEnd;
}
