/// @file
/// The exported way in for received frames.
#include "TalvexPlain.h"
#include "transport/FrameStore.h"

#include <algorithm>

void recvCanMsg(std::uint64_t hostTag, std::uint64_t time, std::uint8_t channel, std::uint32_t id,
                std::uint16_t length, const std::uint8_t* data) {
    msgBuf frame;
    frame.hostTag = hostTag;
    frame.time = time;
    frame.id = id;
    frame.channel = channel;
    if (data != nullptr) {
        frame.length = std::min<std::uint16_t>(length, static_cast<std::uint16_t>(frame.data.size()));
        std::copy_n(data, frame.length, frame.data.begin());
    }
    storeFrame(frame);
}
