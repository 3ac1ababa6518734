#include "tests/channel/ChannelFromC.h"

#include <TalvexChannel.h>
#include <string.h>

_Static_assert(sizeof(XcpCanChannelCfg) == 22, "hosts lay out packed records");
_Static_assert(sizeof(XcpSlaveCanCfg) == 16, "hosts lay out packed records");
_Static_assert(sizeof(XcpSlaveProtoCfg) == 24, "hosts lay out packed records");
_Static_assert(sizeof(XcpPageRef) == 2, "hosts lay out packed records");
_Static_assert(sizeof(XcpDaqEntry) == 7, "hosts lay out packed records");
_Static_assert(sizeof(XcpDaqListSetup) == 6, "hosts lay out packed records");

static const uint32_t SUCCESS = 256;
static const uint32_t BAD_HANDLE = 1280;

/* One step behind the other; `failed` holds the first that did not do what it should. */
static void check(int* failed, int step, int done) {
    if (!done && *failed == 0) {
        *failed = step;
    }
}

static uint32_t openSlave(uint16_t* channel, uint32_t* slave) {
    XcpCanChannelCfg channelCfg;
    XcpSlaveCanCfg can;
    XcpSlaveProtoCfg proto;
    memset(&channelCfg, 0, sizeof channelCfg);
    memset(&can, 0, sizeof can);
    memset(&proto, 0, sizeof proto);
    channelCfg.canChannel = 3;
    can.masterId = 0x100;
    can.slaveId = 0x101;
    proto.t1 = 60000;
    proto.addressGranularity = 1;
    xcpInitializeCan(channel, channelCfg);
    return xcpAddSlave(*channel, can, proto, slave);
}

int sessionFromC(uint8_t* data, char* text) {
    const XcpDaqEntry entry = {255, 4, 0, 0x12345678};
    const XcpDaqListSetup setup = {1, 2, 1, 0};
    uint8_t buffer[64];
    uint16_t channel = 0;
    uint32_t slave = 0;
    int failed = 0;
    check(&failed, 1, openSlave(&channel, &slave) == SUCCESS);
    check(&failed, 2, xcpConnect(slave, 0, buffer, sizeof buffer) == SUCCESS && buffer[0] == 0xFF);
    check(&failed, 3, xcpSetMta(slave, 0, 0x1000, buffer, sizeof buffer) == SUCCESS);
    check(&failed, 4, xcpWriteDaqListEntry(slave, entry, buffer, sizeof buffer) == SUCCESS);
    check(&failed, 5, xcpSetDaqListMode(slave, 0x10, setup, buffer, sizeof buffer) == SUCCESS);
    check(&failed, 6, xcpUpload(slave, 7, buffer, sizeof buffer) == SUCCESS);
    memcpy(data, buffer, 8);
    check(&failed, 7, xcpDisconnect(slave, 0, 0) == SUCCESS);
    check(&failed, 8, xcpRemoveSlave(slave) == SUCCESS && xcpRemoveSlave(slave) == BAD_HANDLE);
    check(&failed, 9, xcpUninitialize(channel) == SUCCESS);
    xcpGetErrorText(SUCCESS, text);
    return failed;
}
