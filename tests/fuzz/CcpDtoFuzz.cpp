// Any plan of CCP DAQ lists against any frames.
#include "ccp/CcpTaskTransmit.h"
#include "tests/fuzz/DtoFrames.h"

void fuzz::run(FuzzInput& input) {
    FuzzEcu ecu(input, false);
    CCP_MOUDLE::CcpTaskTransmit task(drawConfig(input, false), FuzzEcu::callBacks());
    decodeFrames(input, task, ecu);
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return dtoSeeds();
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {{0x00}, {0x01}, {0x02}, {0xFD}, {0xFE}, {0xFF}, {0xFF, 0xFF}};
}
