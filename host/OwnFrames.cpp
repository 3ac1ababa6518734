#include "host/OwnFrames.h"

#include <algorithm>

namespace host {
namespace {

/// CAN FD pads a frame to a length that it has.
bool isLengthOnWire(const sim::Frame& sent, const sim::Frame& wire) {
    return sent.fd ? sent.length <= wire.length : sent.length == wire.length;
}

bool isOnWireAs(const sim::Frame& sent, const sim::Frame& wire) {
    return sent.id == wire.id && sent.extended == wire.extended && sent.fd == wire.fd &&
           sent.brs == wire.brs && isLengthOnWire(sent, wire) && sent.data == wire.data;
}

}  // namespace

void OwnFrames::add(const sim::Frame& frame, std::uint64_t sender) {
    Sent sent{frame, sender};
    std::fill(sent.frame.data.begin() + std::min<std::size_t>(frame.length, sim::kMaxPayload),
              sent.frame.data.end(), std::uint8_t{0});
    m_frames.push_back(sent);
}

std::optional<std::uint64_t> OwnFrames::take(const sim::Frame& wire) {
    const auto found = std::find_if(m_frames.begin(), m_frames.end(),
                                    [&](const Sent& sent) { return isOnWireAs(sent.frame, wire); });
    if (found == m_frames.end()) {
        return std::nullopt;
    }
    const std::uint64_t sender = found->sender;
    m_frames.erase(found);
    return sender;
}

}  // namespace host
