#include "tests/sweep/AnswerModel.h"

#include "tests/support/HexText.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

namespace sweep {
namespace {

constexpr std::uint32_t kXcpSuccess = 256;
constexpr std::uint32_t kXcpNoAnswer = 2304;
constexpr std::uint32_t kCcpNoAnswer = 128;
constexpr std::uint8_t kResponse = 0xFF;
constexpr std::uint8_t kError = 0xFE;
constexpr std::uint8_t kBusy = 0x10;
constexpr std::uint8_t kProgramActive = 0x12;

// CCP return codes by what they make of a command.
const std::set<std::uint32_t> kRepeatedTwice = {0x10, 0x11, 0x12, 0x18, 0x19};
const std::set<std::uint32_t> kRepeatedOnce = {0x20, 0x21, 0x22, 0x23};
const std::set<std::uint32_t> kEndTheLink = {0x30, 0x32, 0x33, 0x34, 0x35, 0x36, 0x80};

}  // namespace

std::uint32_t numberAt(const Bytes& response, std::size_t position, std::size_t width) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < width && position + i < response.size(); ++i) {
        number |= std::uint32_t{response[position + i]} << (8 * i);
    }
    return number;
}

/// @return the status, or 0 for a frame that ends no wait
std::uint32_t XcpModel::judge(const Bytes& frame) {
    if (frame.empty() || frame[0] < kError) {
        return 0;
    }
    if (frame[0] == kResponse || frame.size() < 2 || frame[1] == 0) {
        return kXcpSuccess;
    }
    if (frame[1] == kBusy || frame[1] == kProgramActive) {
        return 0;
    }
    ++m_outcome.warnings;
    return frame[1];
}

std::uint32_t XcpModel::attempt() {
    for (const Bytes& frame : turnOf(m_script, m_outcome.sends++)) {
        const std::uint32_t status = judge(frame);
        if (status != 0) {
            m_outcome.response = frame;
            return status;
        }
    }
    return kXcpNoAnswer;
}

Outcome XcpModel::exchange() {
    for (std::size_t repeat = 0; repeat <= kRetries && !m_outcome.done; ++repeat) {
        m_outcome.status = attempt();
        m_outcome.done = m_outcome.status == kXcpSuccess;
        if (m_outcome.done && repeat == 0) {
            m_outcome.lastResponse = m_outcome.response;
        }
    }
    m_outcome.lost = m_outcome.status == kXcpNoAnswer;
    return m_outcome;
}

Outcome XcpModel::sendOnce() {
    m_outcome.done = attempt() == kXcpSuccess;
    m_outcome.stored = m_outcome.done ? kTransferSize : 0;
    return m_outcome;
}

Outcome XcpModel::upload() {
    while (m_outcome.stored < kTransferSize && attempt() == kXcpSuccess && m_outcome.response.size() > 1) {
        m_outcome.stored += std::min(kTransferSize - m_outcome.stored, m_outcome.response.size() - 1);
    }
    return m_outcome;
}

Outcome XcpModel::uploadAndKeep() {
    while (m_outcome.stored < kTransferSize && attempt() == kXcpSuccess) {
        m_outcome.lastResponse = m_outcome.response;
        if (m_outcome.response.size() < 2) {
            break;
        }
        m_outcome.stored += std::min(kTransferSize - m_outcome.stored, m_outcome.response.size() - 1);
    }
    return m_outcome;
}

Outcome XcpModel::uploadBlock() {
    for (const Bytes& frame : turnOf(m_script, m_outcome.sends++)) {
        if (m_outcome.stored == kTransferSize) {
            break;
        }
        const std::uint32_t status = judge(frame);
        if (status == kXcpSuccess) {
            m_outcome.stored += std::min(kTransferSize - m_outcome.stored, frame.size() - 1);
        } else if (status != 0) {
            break;
        }
    }
    return m_outcome;
}

std::uint32_t CcpModel::attempt() {
    for (const Bytes& frame : turnOf(m_script, m_outcome.sends++)) {
        if (frame.size() < 2 || frame[0] != kResponse) {
            continue;
        }
        if (frame[1] != 0) {
            ++m_outcome.warnings;
            m_outcome.response = frame;
            return frame[1];
        }
        if (frame.size() > 2 && frame[2] == 0) {
            m_outcome.response = frame;
            return 0;
        }
    }
    return kCcpNoAnswer;
}

bool CcpModel::isDone(std::uint32_t status) {
    return !kRepeatedTwice.contains(status) && !kRepeatedOnce.contains(status) &&
           !kEndTheLink.contains(status);
}

Outcome CcpModel::exchange() {
    m_outcome.status = attempt();
    std::size_t repeats = kRepeatedTwice.contains(m_outcome.status) ? 2 : 1;
    if (kEndTheLink.contains(m_outcome.status)) {
        m_outcome.lost = true;
        repeats = kRetries;
    }
    while (!isDone(m_outcome.status) && repeats-- > 0) {
        m_outcome.status = attempt();
    }
    m_outcome.done = isDone(m_outcome.status);
    return m_outcome;
}

Outcome CcpModel::sendOnce() {
    m_outcome.done = attempt() == 0;
    m_outcome.stored = m_outcome.done ? kTransferSize : 0;
    return m_outcome;
}

namespace {

Bytes cut(Bytes frame, std::size_t length) {
    frame.resize(length);
    return frame;
}

std::string named(const Turn& turn) {
    std::string name;
    for (const Bytes& frame : turn) {
        name += (name.empty() ? "" : " + ") + (frame.empty() ? "empty" : support::hexText(frame));
    }
    return name.empty() ? "silence" : name;
}

/// Each turn always, and once; and a first answer that comes with that of the repeat.
std::vector<AnswerCase> allWays(const std::vector<Turn>& turns, const Bytes& positive) {
    std::vector<AnswerCase> cases;
    for (const Turn& turn : turns) {
        cases.push_back({named(turn) + " always", {turn}});
        cases.push_back({named(turn) + " once", {turn, {positive}}});
    }
    cases.push_back({"late", {{}, {positive, positive}}});
    cases.push_back({"late once", {{}, {positive, positive}, {positive}}});
    return cases;
}

void addLengths(std::vector<Turn>& turns, const Bytes& frame, std::size_t first) {
    for (std::size_t length = first; length <= frame.size(); ++length) {
        turns.push_back({cut(frame, length)});
    }
}

}  // namespace

std::vector<AnswerCase> xcpCases(const Bytes& positive, bool allFirst) {
    std::vector<Turn> turns = {{}, {{kError, kBusy}, positive}, {{kError, kProgramActive}, positive}};
    addLengths(turns, positive, 0);
    addLengths(turns, {kError, 0x31, 1, 2, 3, 4, 5, 6}, 1);
    for (unsigned code = 0; code <= 0xFF; ++code) {
        turns.push_back({{kError, static_cast<std::uint8_t>(code)}});
    }
    for (unsigned first = 0; first < kError; first = allFirst || first >= 0xFA ? first + 1 : first + 125) {
        Bytes foreign = positive;
        foreign[0] = static_cast<std::uint8_t>(first);
        turns.push_back({foreign});
        turns.push_back({foreign, positive});
    }
    return allWays(turns, positive);
}

std::vector<AnswerCase> ccpCases(const Bytes& positive) {
    std::vector<Turn> turns = {{}};
    addLengths(turns, positive, 0);
    for (const int code : {0x01, 0x10, 0x20, 0x33}) {
        addLengths(turns, {kResponse, static_cast<std::uint8_t>(code), 0, 4, 3, 2, 1, 9}, 1);
    }
    for (unsigned code = 1; code <= 0xFF; ++code) {
        turns.push_back({{kResponse, static_cast<std::uint8_t>(code), 0, 4, 3, 2, 1, 9}});
    }
    Bytes wrongCounter = positive;
    wrongCounter[2] = 1;
    turns.push_back({wrongCounter});
    turns.push_back({wrongCounter, positive});
    turns.push_back({{kResponse, 0x33, 1, 0, 0, 0, 0, 0}});
    turns.push_back({{kResponse, 0x33, 1, 0, 0, 0, 0, 0}, positive});
    for (const int first : {0x00, 0x05, 0xFD, 0xFE}) {
        Bytes foreign = positive;
        foreign[0] = static_cast<std::uint8_t>(first);
        turns.push_back({foreign});
        turns.push_back({foreign, positive});
    }
    return allWays(turns, positive);
}

std::string onlyCase() {
    const char* const name = std::getenv("TALVEX_CASE");
    return name == nullptr ? std::string() : std::string(name);
}

}  // namespace sweep
