/* A host in C that links nothing: loads the library by path, looks every function of the channel interface up
   by its name, runs a session with an ECU of its own, and unloads the library again.

   usage: talvex_loader <library> <list of exports> */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tests/loader/CallbackGate.h"
#include "tests/loader/LoadedLibrary.h"

enum { CHANNEL = 3, MASTER_ID = 0x100, SLAVE_ID = 0x101, SUCCESS = 256, BAD_HANDLE = 1280, NO_ANSWER = 2304 };

static LoadedLibrary talvex;
static uint8_t answer[64];

/* ---- The ECU ---------------------------------------------------------------------------------------- */

/* Memory of 256 bytes at any address, and what the session is expected to send, frame by frame. */
static uint8_t memory[256];
static uint8_t mta;
static unsigned commands;
static int faults;

static void fault(const char* text) {
    fprintf(stderr, "ECU: %s in frame %u\n", text, commands);
    ++faults;
}

/* Answers inside the send function, as a host with a fast bus might see it. */
static void respond(const uint8_t* data, uint8_t length) {
    talvex.recvCanMsg(0, 0, CHANNEL, SLAVE_ID, length, data);
}

static uint32_t ecu(uint8_t channel, uint32_t id, uint8_t flags, uint8_t length, const uint8_t* data) {
    uint8_t out[8] = {0xFF, 0, 0, 0, 0, 0, 0, 0};
    ++commands;
    if (channel != CHANNEL || id != MASTER_ID || flags != 0 || length == 0 || length > 8) {
        fault("a frame that is not for this ECU");
        return 0;
    }
    switch (data[0]) {
        case 0xFF: /* CONNECT */
            memcpy(out + 1, "\x15\x00\x08\x08\x00\x01\x01", 7);
            break;
        case 0xF8: /* GET_SEED */
            memcpy(out + 1, "\x04\x01\x02\x03\x04", 5);
            break;
        case 0xF7: /* UNLOCK: the key is the seed upside down */
            if (memcmp(data + 1, "\x04\x04\x03\x02\x01", 5) != 0) {
                fault("a wrong key");
            }
            break;
        case 0xF6: /* SET_MTA */
            mta = data[4];
            break;
        case 0xF5: /* UPLOAD */
            memcpy(out + 1, memory + mta, data[1]);
            mta = (uint8_t)(mta + data[1]);
            break;
        case 0xF0: /* DOWNLOAD */
        case 0xD0: /* PROGRAM */
            memcpy(memory + mta, data + 2, data[1]);
            mta = (uint8_t)(mta + data[1]);
            break;
        case 0xD1: /* PROGRAM_CLEAR */
            memset(memory + mta, 0xFF, data[4]);
            break;
        case 0xC8: /* PROGRAM_VERIFY */
            out[0] = 0xFE;
            out[1] = 0x32;
            break;
        case 0xF1: /* USER_CMD: says nothing */
            return 1;
        default:
            break;
    }
    respond(out, sizeof out);
    return 1;
}

/* ---- The session ------------------------------------------------------------------------------------ */

static int expect(const char* step, uint32_t status, uint32_t expected) {
    if (status != expected) {
        fprintf(stderr, "%s: %u instead of %u\n", step, (unsigned)status, (unsigned)expected);
        return 0;
    }
    return 1;
}

#define STEP(expected, name, ...) expect(#name, talvex.name(__VA_ARGS__, answer, sizeof answer), expected)

static int addSlave(uint16_t* channel, uint32_t* slave, uint16_t timeoutMs) {
    XcpCanChannelCfg bus;
    XcpSlaveCanCfg can;
    XcpSlaveProtoCfg proto;
    memset(&bus, 0, sizeof bus);
    memset(&can, 0, sizeof can);
    memset(&proto, 0, sizeof proto);
    bus.canChannel = CHANNEL;
    can.masterId = MASTER_ID;
    can.slaveId = SLAVE_ID;
    proto.t1 = proto.t2 = proto.t3 = proto.t4 = proto.t5 = proto.t6 = proto.t7 = timeoutMs;
    proto.addressGranularity = 1;
    return expect("xcpInitializeCan", talvex.xcpInitializeCan(channel, bus), SUCCESS) &&
           expect("xcpAddSlave", talvex.xcpAddSlave(*channel, can, proto, slave), SUCCESS);
}

static int unlock(uint32_t slave) {
    uint8_t key[4];
    uint8_t seed[255];
    uint8_t length = 0;
    int i;
    if (!STEP(SUCCESS, xcpGetSeed, slave, 0, 4)) {
        return 0;
    }
    for (i = 0; i < 4; ++i) {
        key[i] = answer[5 - i];
    }
    return STEP(SUCCESS, xcpUnlock, slave, 4, key) &&
           expect("xcpGetSeedEx", talvex.xcpGetSeedEx(slave, 4, seed, &length), SUCCESS) &&
           expect("xcpUnlockEx", talvex.xcpUnlockEx(slave, 4, key), SUCCESS);
}

static int writesAndReads(uint32_t slave, uint8_t address,
                          uint32_t (*write)(uint32_t, uint8_t, const uint8_t*, uint8_t, uint8_t*, uint16_t)) {
    static const uint8_t data[6] = {0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6};
    return STEP(SUCCESS, xcpSetMta, slave, 0, address) &&
           expect("write", write(slave, 0, data, sizeof data, answer, sizeof answer), SUCCESS) &&
           STEP(SUCCESS, xcpSetMta, slave, 0, address) && STEP(SUCCESS, xcpUpload, slave, sizeof data) &&
           expect("read back", (uint32_t)memcmp(answer + 1, data, sizeof data), 0);
}

static int setsDaqUp(uint32_t slave) {
    const XcpDaqEntry entry = {255, 4, 0, 0x10};
    const XcpDaqListSetup setup = {0, 0, 1, 0};
    return STEP(SUCCESS, xcpGetDaqProcessorInfo, slave) && STEP(SUCCESS, xcpGetDaqResolutionInfo, slave) &&
           STEP(SUCCESS, xcpFreeDaqLists, slave) && STEP(SUCCESS, xcpAllocateDaqLists, slave, 1) &&
           STEP(SUCCESS, xcpAllocateOdt, slave, 0, 1) && STEP(SUCCESS, xcpAllocateOdtEntry, slave, 0, 0, 1) &&
           STEP(SUCCESS, xcpSetDaqPtr, slave, 0, 0, 0) && STEP(SUCCESS, xcpWriteDaqListEntry, slave, entry) &&
           STEP(SUCCESS, xcpSetDaqListMode, slave, 0, setup) &&
           STEP(SUCCESS, xcpStartStopDaqList, slave, 2, 0) && STEP(SUCCESS, xcpStartStopSynch, slave, 1) &&
           STEP(SUCCESS, xcpStartStopSynch, slave, 0);
}

static int programs(uint32_t slave) {
    return STEP(SUCCESS, xcpProgramStart, slave) && STEP(SUCCESS, xcpSetMta, slave, 0, 0x80) &&
           STEP(SUCCESS, xcpProgramClear, slave, 0, 0x10) && writesAndReads(slave, 0x80, talvex.xcpProgram) &&
           expect("flash behind the data", memory[0x86], 0xFF) &&
           STEP(0x32, xcpProgramVerify, slave, 0, 1, 2) && STEP(SUCCESS, xcpProgramReset, slave);
}

static int runsSession(void) {
    uint16_t channel = 0;
    uint32_t slave = 0;
    return addSlave(&channel, &slave, 60000) && STEP(SUCCESS, xcpConnect, slave, 0) &&
           STEP(SUCCESS, xcpGetStatus, slave) && unlock(slave) && setsDaqUp(slave) &&
           writesAndReads(slave, 0x20, talvex.xcpDownload) && programs(slave) &&
           STEP(SUCCESS, xcpDisconnect, slave) &&
           expect("xcpRemoveSlave", talvex.xcpRemoveSlave(slave), SUCCESS) &&
           STEP(BAD_HANDLE, xcpGetStatus, slave) &&
           expect("xcpUninitialize", talvex.xcpUninitialize(channel), SUCCESS);
}

/* The ECU says nothing to USER_CMD. The slave is still there when the library goes. */
static int losesTheLink(void) {
    char text[128] = "";
    uint16_t channel = 0;
    uint32_t slave = 0;
    if (!addSlave(&channel, &slave, 5) || !STEP(NO_ANSWER, xcpUserCommand, slave, 0x7E, NULL, 0) ||
        !STEP(NO_ANSWER, xcpGetStatus, slave)) {
        return 0;
    }
    talvex.xcpGetErrorText(NO_ANSWER, text);
    return expect("xcpGetErrorText", (uint32_t)strcmp(text, "Recive msg timeout"), 0);
}

int main(int argc, char** argv) {
    int done;
    if (argc != 3) {
        fprintf(stderr, "usage: %s <library> <list of exports>\n", argv[0]);
        return EXIT_FAILURE;
    }
    if (!checkExportList(argv[2]) || !loadLibrary(&talvex, argv[1])) {
        return EXIT_FAILURE;
    }
    giveSendFun(talvex.setCallBackFuns, ecu);
    done = runsSession() && losesTheLink();
    if (!unloadLibrary(&talvex, argv[1]) || !done || faults > 0) {
        return EXIT_FAILURE;
    }
    printf("%u commands\n", commands);
    return EXIT_SUCCESS;
}
