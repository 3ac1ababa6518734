#include "ToyEcu.h"

#include <TalvexSDK.h>

#include <vector>

namespace {

enum Code : std::uint8_t {
    kConnect = 0xFF,
    kDisconnect = 0xFE,
    kGetStatus = 0xFD,
    kShortUpload = 0xF4,

    kPositive = 0xFF,
    kError = 0xFE,
    kErrorUnknownCommand = 0x20,
    kErrorOutOfRange = 0x22,
};

void answer(const std::vector<std::uint8_t>& frame) {
    recvCanMsg(0, 0, 0, ToyEcu::kSlaveId, static_cast<std::uint16_t>(frame.size()), frame.data());
}

// SHORT_UPLOAD has the number of bytes in byte 1 and the address in bytes 4 to 7, little endian.
bool asksForCounter(std::uint8_t length, const std::uint8_t* data) {
    if (length < 8) {
        return false;
    }
    std::uint32_t address = 0;
    for (int i = 7; i >= 4; --i) {
        address = address << 8 | data[i];
    }
    return address == ToyEcu::kCounterAddress && data[1] == ToyEcu::kCounterSize;
}

}  // namespace

void ToyEcu::take(std::uint32_t id, std::uint8_t length, const std::uint8_t* data) {
    if (id != kMasterId || length == 0) {
        return;
    }
    switch (data[0]) {
        case kConnect:  // no resource is locked, little endian, frames of 8 bytes, protocol 1, transport 1
            answer({kPositive, 0x00, 0x00, 8, 8, 0, 1, 1});
            return;
        case kGetStatus:
            answer({kPositive, 0, 0, 0, 0, 0});
            return;
        case kDisconnect:
            answer({kPositive});
            return;
        case kShortUpload: {
            if (!asksForCounter(length, data)) {
                answer({kError, kErrorOutOfRange});
                return;
            }
            const std::uint32_t value = ++m_counter;
            answer({kPositive, static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                    static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)});
            return;
        }
        default:
            answer({kError, kErrorUnknownCommand});
    }
}
