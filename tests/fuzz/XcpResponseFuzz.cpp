// The operations of an XCP ECU against any answers.
#include "tests/fuzz/TaskOperations.h"
#include "xcp/XcpTaskTransmit.h"

void fuzz::run(FuzzInput& input) {
    runOperations<XCP_MOUDLE::XcpTaskTransmit>(input, true);
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return operationSeeds();
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {
        {0xFF}, {0xFE}, {0xFE, 0x10}, {0xFD}, {0xFC}, {0x12}, {0xFF, 0xFF, 0xFF, 0xFF}, {0x00, 0x10, 0, 0}};
}
