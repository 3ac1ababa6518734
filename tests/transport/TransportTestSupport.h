/// @file
/// Verbs of the transport tests: frames, and a protocol object without a protocol.
#pragma once

#include "TalvexSDK.h"
#include "tests/support/HexText.h"
#include "transport/BasicCfgTransmit.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace transport_test {

/// The base with the operations that a protocol adds left empty.
class PlainTransmit : public BasicCfgTransmit {
public:
    using BasicCfgTransmit::BasicCfgTransmit;
    std::uint32_t sendFrame(msgBuf& /*frame*/) override { return 0; }
    std::uint32_t receiveResponse(const msgBuf& /*request*/, msgBuf& /*response*/,
                                  std::int32_t /*timeoutMs*/) override {
        return 0;
    }
    bool exchange(msgBuf& /*request*/, msgBuf& /*response*/) override { return false; }
    bool computeKey(std::uint8_t /*resource*/, std::uint8_t* /*seed*/, std::uint8_t /*seedLength*/,
                    std::uint8_t* /*key*/, std::uint8_t& /*keyLength*/) override {
        return false;
    }
};

inline msgBuf frame(std::uint32_t id, const std::string& hex, std::uint64_t time = 0,
                    std::uint8_t channel = 0) {
    const std::vector<std::uint8_t> data = support::bytes(hex);
    msgBuf made;
    made.id = id;
    made.time = time;
    made.channel = channel;
    made.length = static_cast<std::uint16_t>(data.size());
    std::copy(data.begin(), data.end(), made.data.begin());
    return made;
}

inline void receives(std::uint32_t id, const std::string& hex, std::uint64_t time = 0,
                     std::uint8_t channel = 0) {
    const std::vector<std::uint8_t> data = support::bytes(hex);
    recvCanMsg(0, time, channel, id, static_cast<std::uint16_t>(data.size()), data.data());
}

/// Frames as "2:ff 00 | 5:01".
template <typename Frames>
std::string text(const Frames& frames) {
    std::string shown;
    for (const msgBuf& one : frames) {
        shown += (shown.empty() ? "" : " | ") + std::to_string(one.id) + ":" +
                 support::hexText(one.data.data(), one.length);
    }
    return shown;
}

}  // namespace transport_test
