// Any plan of XCP DAQ lists against any frames.
#include "tests/fuzz/DtoFrames.h"
#include "xcp/XcpTaskTransmit.h"

void fuzz::run(FuzzInput& input) {
    FuzzEcu ecu(input, true);
    XCP_MOUDLE::XcpTaskTransmit task(drawConfig(input, true), FuzzEcu::callBacks());
    decodeFrames(input, task, ecu);
    for (int i = 0; i < 4 && !input.isEmpty(); ++i) {
        const std::vector<std::uint8_t> payload = input.bytes(64);
        const std::uint16_t list = input.below(6);
        task.m_daq.decodeOdtPayload(payload.data(), input.below(65), list, input.below(5));
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return dtoSeeds();
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {{0x00}, {0x01}, {0x02}, {0xFB}, {0xFC}, {0xFF}, {0x40}, {0x80}, {0xC0}, {0xFF, 0xFF}};
}
