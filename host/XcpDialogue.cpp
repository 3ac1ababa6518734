#include "host/XcpDialogue.h"

#include <algorithm>

namespace host {
namespace {

using Frame = std::vector<std::uint8_t>;

constexpr std::uint8_t kResponse = 0xFF;
constexpr std::uint8_t kError = 0xFE;
constexpr std::uint8_t kSynchronised = 0x00;  ///< ERR_CMD_SYNCH
constexpr std::uint8_t kBusy = 0x10;          ///< ERR_CMD_BUSY

/// Answers that may come ahead of that to SYNCH: each is to a command that was given up.
constexpr int kMostLate = 16;

constexpr std::uint8_t kConnect = 0xFF;
constexpr std::uint8_t kSynch = 0xFC;
constexpr std::uint8_t kUpload = 0xF5;

bool isError(const Frame& frame, std::uint8_t code) {
    return frame.size() > 1 && frame[0] == kError && frame[1] == code;
}

SlaveAnswer answerOf(const Frame& frame) {
    SlaveAnswer answer;
    answer.length = std::min(frame.size(), answer.bytes.size());
    std::copy_n(frame.begin(), answer.length, answer.bytes.begin());
    answer.status = frame[0] == kResponse ? SlaveAnswer::kSuccess : std::uint32_t{answer.bytes[1]};
    return answer;
}

}  // namespace

/// An ECU that is busy has not begun with the command, so that is repeated as it is.
std::optional<Frame> XcpDialogue::exchange(const Frame& command) {
    std::optional<Frame> frame;
    for (int left = m_wire.retries; left >= 0; --left) {
        m_responses.clear();
        m_wire.send(command);
        frame = m_responses.next(m_wire.patience);
        if (!frame || !isError(*frame, kBusy)) {
            break;
        }
    }
    return frame;
}

/// Answers come in the order of the commands: behind the one to SYNCH no late one follows.
void XcpDialogue::synchronise() {
    m_responses.clear();
    m_wire.send({kSynch});
    for (int late = 0; late < kMostLate; ++late) {
        const auto frame = m_responses.next(m_wire.patience);
        if (!frame || isError(*frame, kSynchronised)) {
            return;
        }
    }
}

std::optional<SlaveAnswer> XcpDialogue::ask(const Frame& command) {
    for (int left = m_wire.retries; left >= 0; --left) {
        if (const auto frame = exchange(command)) {
            return answerOf(*frame);
        }
        if (m_wire.patience.giveUp()) {
            return std::nullopt;
        }
        if (left > 0 && command.front() != kConnect) {
            synchronise();
        }
    }
    return std::nullopt;
}

std::optional<Frame> XcpDialogue::upload(const XcpText& text) {
    for (int left = m_wire.retries; left >= 0; --left) {
        if (auto bytes = uploadOnce(text)) {
            return bytes;
        }
        if (m_wire.patience.giveUp() || left == 0) {
            return std::nullopt;
        }
        synchronise();
        const auto again = ask(text.position);
        if (!again || !again->good()) {
            return again ? std::optional(Frame()) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<Frame> XcpDialogue::uploadOnce(const XcpText& text) {
    const std::size_t size = text.granularity;
    const std::size_t most = m_frameSize / size - 1;
    Frame bytes;
    while (bytes.size() < text.count && most > 0) {
        const std::size_t elements = std::min((text.count - bytes.size() + size - 1) / size, most);
        const auto frame = exchange({kUpload, static_cast<std::uint8_t>(elements)});
        if (!frame) {
            return std::nullopt;
        }
        if ((*frame)[0] != kResponse || frame->size() < (elements + 1) * size) {
            break;
        }
        const auto start = frame->begin() + static_cast<std::ptrdiff_t>(size);
        bytes.insert(bytes.end(), start, start + static_cast<std::ptrdiff_t>(elements * size));
    }
    bytes.resize(std::min(bytes.size(), text.count));
    return bytes;
}

}  // namespace host
