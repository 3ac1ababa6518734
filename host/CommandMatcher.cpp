#include "host/CommandMatcher.h"

namespace host {
namespace {

constexpr std::uint8_t kUpload = 0xF5;

/// A command whose data goes on in frames with a code of their own; only the last of them is answered.
struct Block {
    std::uint8_t first;
    std::uint8_t next;
};
constexpr Block kBlocks[] = {{0xF0, 0xEF}, {0xD0, 0xCA}};  // DOWNLOAD, PROGRAM

bool continues(std::uint8_t code, std::uint8_t before) {
    for (const Block& block : kBlocks) {
        if (code == block.next && (before == block.first || before == block.next)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<std::uint8_t> CommandMatcher::sent(const SentCommand& command, std::uint8_t counter) {
    const std::uint8_t key = m_protocol == Protocol::ccp ? counter : std::uint8_t{0};
    const auto waiting = m_waiting.find(key);
    std::optional<std::uint8_t> continued;
    if (m_protocol == Protocol::xcp && waiting != m_waiting.end() &&
        continues(command.code, waiting->second.code)) {
        continued = waiting->second.code;
    }
    m_waiting[key] = command;
    m_uploading.reset();
    return continued;
}

std::optional<MatchedAnswer> CommandMatcher::answered(std::uint8_t counter, bool positive) {
    const std::uint8_t key = m_protocol == Protocol::ccp ? counter : std::uint8_t{0};
    const auto waiting = m_waiting.find(key);
    if (waiting == m_waiting.end()) {
        return positive && m_uploading ? std::optional(MatchedAnswer{*m_uploading, true}) : std::nullopt;
    }
    const SentCommand command = waiting->second;
    m_waiting.erase(waiting);
    if (m_protocol == Protocol::xcp && positive && command.code == kUpload) {
        m_uploading = command;
    }
    return MatchedAnswer{command, false};
}

}  // namespace host
