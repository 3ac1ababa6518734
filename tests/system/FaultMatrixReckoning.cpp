#include "tests/system/FaultMatrixReckoning.h"

#include <utility>

namespace systemtest {
namespace {

constexpr std::uint8_t kXcpConnect = 0xFF;
constexpr std::uint8_t kCcpConnect = 0x01;
constexpr std::size_t kCcpCounterEnd = 3;  ///< a shorter response has no counter and answers nothing

/// What a CCP return code makes of a command.
enum class CcpClass : std::uint8_t {
    done,       ///< it counts as done
    waits,      ///< two more tries
    initiates,  ///< one more try
    lost        ///< the link counts as lost, and then there are the tries of the configuration
};

struct CcpClassRow {
    std::uint8_t code;
    CcpClass meaning;
};

/// All others count as done.
constexpr CcpClassRow kCcpClasses[] = {
    {0x10, CcpClass::waits},     {0x11, CcpClass::waits},     {0x12, CcpClass::waits},
    {0x18, CcpClass::waits},     {0x19, CcpClass::waits},     {0x20, CcpClass::initiates},
    {0x21, CcpClass::initiates}, {0x22, CcpClass::initiates}, {0x23, CcpClass::initiates},
    {0x30, CcpClass::lost},      {0x32, CcpClass::lost},      {0x33, CcpClass::lost},
    {0x34, CcpClass::lost},      {0x35, CcpClass::lost},      {0x36, CcpClass::lost},
};

CcpClass ccpClass(const Answer& answer) {
    if (!answer.came) {
        return CcpClass::lost;
    }
    for (const CcpClassRow& row : kCcpClasses) {
        if (row.code == answer.error) {
            return row.meaning;
        }
    }
    return CcpClass::done;
}

int ccpTries(CcpClass meaning) {
    switch (meaning) {
        case CcpClass::waits:
            return 2;
        case CcpClass::initiates:
            return 1;
        default:
            return Reckoning::kRetries;
    }
}

Answer positive(std::size_t length = Answer::kWhole) {
    Answer answer;
    answer.came = true;
    answer.length = length;
    return answer;
}

bool isBusyForXcp(std::uint8_t code) {
    return code == 0x10 || code == 0x12;
}

}  // namespace

Answer Reckoning::exchange(std::uint8_t code) {
    return m_protocol == Protocol::xcp ? exchangeXcp(code) : exchangeCcp(code);
}

/// Errors and silence are tried again alike; only silence loses the link.
Answer Reckoning::exchangeXcp(std::uint8_t code) {
    if (m_linkLost) {
        log(4, "连接已断开");
        return {};
    }
    Answer answer;
    for (int attempt = 0; attempt <= kRetries; ++attempt) {
        answer = received(frame(code, attempt > 0));
        m_status = answer.came ? answer.error : kNoAnswer;
        if (m_status == 0) {
            answer.counts = true;
            return answer;
        }
    }
    m_linkLost = !answer.came;
    return answer;
}

/// The first answer decides how often the command is tried. The link is lost before the first repeat, and
/// stays so although the repeat succeeds.
Answer Reckoning::exchangeCcp(std::uint8_t code) {
    if (m_linkLost) {
        return {};
    }
    int tries = 0;
    for (int attempt = 0;; ++attempt) {
        Answer answer = received(frame(code, attempt > 0));
        m_status = answer.came ? answer.error : kNoAnswer;
        const CcpClass meaning = ccpClass(answer);
        answer.counts = meaning == CcpClass::done;
        if (attempt == 0) {
            tries = ccpTries(meaning);
            m_linkLost = meaning == CcpClass::lost;
        }
        if (answer.counts || attempt >= tries) {
            return answer;
        }
    }
}

Answer Reckoning::sendOnce(std::uint8_t code) {
    Answer answer = received(frame(code, false));
    answer.counts = answer.came && answer.error == 0;
    return answer;
}

/// A late answer is taken for the answer to the frame that it comes with, but for CCP only if that frame
/// repeats the one it belongs to: any other frame has another counter.
Answer Reckoning::frame(std::uint8_t code, bool isRepeat) {
    const std::size_t number = m_codes.size();
    m_codes.push_back(code);
    if (std::exchange(m_lateOnTheWay, false) && (m_protocol == Protocol::xcp || isRepeat)) {
        return positive();
    }
    const bool isHit = m_fault.hits(number, m_first);
    m_deaf = m_deaf && code != (m_protocol == Protocol::xcp ? kXcpConnect : kCcpConnect);
    m_deaf = m_deaf || (isHit && m_fault.kind == FaultKind::reset);
    if (m_deaf) {
        return {};
    }
    m_lateOnTheWay = isHit && m_fault.kind == FaultKind::late;
    return isHit ? spoiled() : positive();
}

/// What comes of an answer that the fault hits.
Answer Reckoning::spoiled() const {
    const bool isXcp = m_protocol == Protocol::xcp;
    Answer answer = positive();
    switch (m_fault.kind) {
        case FaultKind::silence:
        case FaultKind::late:
            return {};
        case FaultKind::wrongCounter:  // an error is taken whatever its counter
        case FaultKind::error:
            if (m_fault.kind == FaultKind::wrongCounter && m_fault.code == 0) {
                return {};
            }
            if (isXcp && isBusyForXcp(m_fault.code)) {  // and then nothing
                return {};
            }
            answer.error = m_fault.code;
            answer.isSynch = isXcp && m_fault.code == 0;
            answer.length = isXcp ? 2 : Answer::kWhole;
            return answer;
        case FaultKind::cut:
            return m_fault.length < (isXcp ? 1 : kCcpCounterEnd) ? Answer{} : positive(m_fault.length);
        default:  // slow, repeated, extended, busy or among foreign frames, but it comes
            return answer;
    }
}

/// Errors are logged as they come.
Answer Reckoning::received(Answer answer) {
    if (answer.error != 0) {
        log(3, errorTextOf(m_protocol, answer.error));
    }
    return answer;
}

bool Reckoning::looksLost() const {
    if (m_protocol == Protocol::xcp || m_status == kNoAnswer) {
        return m_status == kNoAnswer;
    }
    Answer answer = positive();
    answer.error = static_cast<std::uint8_t>(m_status);
    return ccpClass(answer) == CcpClass::lost;
}

std::string Reckoning::statusText() const {
    if (m_status == kNoAnswer) {
        return m_protocol == Protocol::xcp ? "Recive msg timeout" : "UnKnow 0x80";
    }
    return errorTextOf(m_protocol, static_cast<std::uint8_t>(m_status));
}

void Reckoning::log(std::uint32_t level, const std::string& text) {
    m_journal.push_back("log " + std::to_string(level) + " " + text);
}

void Reckoning::result(std::uint32_t command, std::uint32_t code, const std::string& text,
                       const std::string& detail) {
    const std::string outcome = text + (code == 0 ? " success" : " failed");
    const std::string number = std::to_string(code);
    log(code == 0 ? 1 : 4, "Task cmd result:(" + number + ") " + outcome + ";" + detail + ";");
    m_journal.push_back("task " + std::to_string(command) + " " + number + " [" + outcome + ", " + detail +
                        "]");
}

void Reckoning::notifies(std::uint32_t command) {
    log(1, "Task cmd result:(0) ");
    m_journal.push_back("task " + std::to_string(command) + " 0");
}

void Reckoning::notifiesLoss() {
    const std::string detail = "ecu:ecu-" + statusText();
    log(1, "Task cmd result:(0) " + detail + ";");
    m_journal.push_back("task 3 0 [" + detail + "]");
}

void Reckoning::memory(std::uint32_t command, std::uint32_t value, std::size_t ranges) {
    const std::string data = ranges == 0 ? std::string() : " +" + std::to_string(ranges);
    m_journal.push_back("mem " + std::to_string(command) + " " + std::to_string(value) + data);
}

void Reckoning::memoryResult(std::uint32_t command, std::uint32_t code, std::size_t ranges) {
    log(code == 0 ? 1 : 4, "Task cmd syn result: cmd:" + std::to_string(command) +
                               " ret:" + std::to_string(code) + " segments:" + std::to_string(ranges));
    memory(command, code, ranges);
}

}  // namespace systemtest
