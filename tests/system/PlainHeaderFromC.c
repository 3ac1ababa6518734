#include "tests/system/PlainHeaderFromC.h"

#include <TalvexPlain.h>

_Static_assert(sizeof(mcMemRange) == 10, "hosts lay out arrays of packed ranges");

int stateSeenFromC(void) {
    const uint8_t data[2] = {0xFF, 0x00};
    recvCanMsg(7U, 1000U, 0U, 0x123U, sizeof data, data);
    recvCanMsg(7U, 1000U, 0U, 0x123U, 0U, 0);
    return (isConnectEcu() ? 1 : 0) | (isMeasureing() ? 2 : 0);
}
