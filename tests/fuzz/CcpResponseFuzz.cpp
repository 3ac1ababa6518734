// The operations of a CCP ECU against any answers.
#include "ccp/CcpTaskTransmit.h"
#include "tests/fuzz/TaskOperations.h"

namespace {

/// With CCP a measurement starts without a wait for the ECU, so that it can be among the operations.
void startNow(fuzz::FuzzInput& input, CCP_MOUDLE::CcpTaskTransmit& task) {
    task.prepareMeasurement(fuzz::drawVariables(input, 6, 40));
    fuzz::require(task.startMeasurement() == 0, "a start of a measurement reports success");
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    if (input.flag()) {
        runOperations<CCP_MOUDLE::CcpTaskTransmit>(input, false);
        return;
    }
    const FuzzEcu ecu(input, false);
    CCP_MOUDLE::CcpTaskTransmit task(drawConfig(input, false), FuzzEcu::callBacks());
    task.connect();
    startNow(input, task);
    task.stopMeasurement();
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return responseSeeds();
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {{0xFF}, {0xFE}, {0x10}, {0x12}, {0x18}, {0x20}, {0x30}, {0x33}, {0x36}, {0xFF, 0xFF, 0xFF, 0xFF}};
}
