// The operations of an XCP ECU against any answers.
#include "tests/fuzz/TaskOperations.h"
#include "xcp/XcpTaskTransmit.h"

namespace {

/// A start waits for the ECU after each list, so there is one at most, of few lists.
void startOnce(fuzz::FuzzInput& input) {
    fuzz::FuzzEcu ecu(input, true);
    const EcuProtoCfg cfg = fuzz::drawConfig(input, true);
    ecu.isBigEndian(cfg.xcp.byteOrder != 0);
    XCP_MOUDLE::XcpTaskTransmit task(cfg, fuzz::FuzzEcu::callBacks());
    task.connect();
    task.prepareMeasurement(fuzz::drawVariables(input, 6, 40));
    fuzz::require(task.startMeasurement() <= 73, "a result code");
    task.stopMeasurement();
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    if (input.flag()) {
        runOperations<XCP_MOUDLE::XcpTaskTransmit>(input, true);
    } else {
        startOnce(input);
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return responseSeeds();
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {
        {0xFF}, {0xFE}, {0xFE, 0x10}, {0xFD}, {0xFC}, {0x12}, {0xFF, 0xFF, 0xFF, 0xFF}, {0x00, 0x10, 0, 0}};
}
