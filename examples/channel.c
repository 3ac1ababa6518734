/* A whole session with an XCP ECU from a host in C, one command at a time: connect, unlock, measure,
   calibrate, program, disconnect. Read it from top to bottom; the steps stand in the order in which they run.

   What a host in C needs:
     TalvexChannel.h       the xcp* functions
     TalvexPlain.h         recvCanMsg, to which every received frame goes
     host_callbacks.h      one C++ source that gives the library the host's send function
     a CAN driver          here simulated_bus.h, a bus with a simulated ECU on it

   Every xcp* function waits for its answer on the thread that calls it and returns a status: 256 is success,
   1 to 255 an error code of the ECU, 2304 no answer in time. The ECU's answer comes back in a buffer, byte by
   byte as it stood in the frame: byte 0 is 0xFF, the rest is what the XCP standard says for that command. */
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "TalvexChannel.h"
#include "TalvexPlain.h"
#include "examples/host_callbacks.h"
#include "examples/simulated_bus.h"

enum {
    CAN_CHANNEL = 0,
    MASTER_ID = 0x600,
    SLAVE_ID = 0x601,

    SUCCESS = 256,

    /* Resources of an XCP ECU, as bits. */
    CALIBRATION = 0x01,
    DAQ = 0x04,
    PROGRAMMING = 0x10,

    /* First bytes of what an ECU sends: below this one stand DAQ frames. */
    FIRST_RESPONSE = 0xFC,

    COUNTER_ADDRESS = 0x1000,
    COUNTER_SIZE = 4,
    COUNTER_EVENT = 0,
    DATA_ADDRESS = 0x2000,
    FLASH_ADDRESS = 0x8000,
    FLASH_SIZE = 0x400,
    IMAGE_SIZE = 100,

    WANTED_SAMPLES = 10,
    MOST_WAITS = 3000 /* of 10 ms each */
};

static uint32_t slave;     /* the ECU's handle */
static uint8_t answer[64]; /* the last answer; 64 bytes always suffice */
static uint8_t maxCto;     /* bytes of the largest command that the ECU takes */

/* What the bus thread tells the main thread about DAQ frames. */
static atomic_int daqPid = -1; /* identifier of the one ODT, -1 while nothing is measured */
static atomic_uint samples;
static atomic_uint gaps;

/* Tells of a step that failed. Returns 1 for success, so that steps can be chained with &&. */
static int check(const char* step, uint32_t status) {
    char text[128];
    if (status == SUCCESS) {
        return 1;
    }
    xcpGetErrorText(status, text);
    fprintf(stderr, "%s failed: %u %s\n", step, (unsigned)status, text);
    return 0;
}

static uint16_t wordAt(const uint8_t* bytes) {
    return (uint16_t)(bytes[0] | bytes[1] << 8);
}

static uint32_t longAt(const uint8_t* bytes) {
    return (uint32_t)wordAt(bytes) | (uint32_t)wordAt(bytes + 2) << 16;
}

static uint8_t lesser(uint32_t a, uint32_t b) {
    return (uint8_t)(a < b ? a : b);
}

/* ---- Frames ---------------------------------------------------------------------------------------- */

/* From the library to the bus. */
static uint32_t sendFrame(uint8_t channel, uint32_t id, uint8_t flags, uint8_t length, const uint8_t* data) {
    (void)channel; /* this host has one bus only, and on it neither long identifiers nor CAN FD */
    (void)flags;
    simulatedBusSend(id, length, data);
    return 1;
}

/* A DAQ frame: the identifier of its ODT, then the bytes of the ODT's entries, here the ECU's counter. Each
   sample has to count one more than the one before. */
static void takeSample(const uint8_t* data) {
    static uint32_t previous; /* of the bus thread alone */
    const uint32_t count = longAt(data + 1);
    if (atomic_load(&samples) > 0 && count != previous + 1) {
        atomic_fetch_add(&gaps, 1);
    }
    previous = count;
    atomic_fetch_add(&samples, 1);
}

/* From the bus, on the bus thread. Answers go to the library, on whatever thread they come. The channel
   interface delivers no DAQ frames: a host that measures with it picks them out itself. */
static void receiveFrame(uint32_t id, uint64_t timeUs, uint8_t length, const uint8_t* data) {
    if (id == SLAVE_ID && length > COUNTER_SIZE && data[0] == atomic_load(&daqPid)) {
        takeSample(data);
    } else if (length > 0 && data[0] >= FIRST_RESPONSE) {
        recvCanMsg(0, timeUs, CAN_CHANNEL, id, length, data);
    }
}

/* ---- Handles --------------------------------------------------------------------------------------- */

/* A channel is a CAN bus, a slave is an ECU on it. */
static int addSlave(uint16_t* channel) {
    XcpCanChannelCfg bus;
    XcpSlaveCanCfg can;
    XcpSlaveProtoCfg proto;
    memset(&bus, 0, sizeof bus);
    memset(&can, 0, sizeof can);
    memset(&proto, 0, sizeof proto);

    bus.canChannel = CAN_CHANNEL;

    can.masterId = MASTER_ID; /* bit 31 would make it an extended identifier, bit 29 CAN FD */
    can.slaveId = SLAVE_ID;

    proto.t1 = 10000; /* ms; t1 to t7 are the time-outs of the standard. An ECU answers within a few ms, */
    proto.t2 = 10000; /* but this one shares its processor with whatever else runs on this machine */
    proto.t3 = 10000;
    proto.t4 = 10000;
    proto.t5 = 10000;
    proto.t6 = 10000;
    proto.t7 = 10000;
    proto.byteOrder = 0; /* little endian; CONNECT tells what an ECU has */
    proto.addressGranularity = 1;
    proto.retryCount = 0;

    return check("channel", xcpInitializeCan(channel, bus)) &&
           check("slave", xcpAddSlave(*channel, can, proto, &slave));
}

static int removeSlave(uint16_t channel) {
    return check("removing the slave", xcpRemoveSlave(slave)) &&
           check("removing the channel", xcpUninitialize(channel));
}

/* ---- Session --------------------------------------------------------------------------------------- */

static int connectSlave(void) {
    if (!check("CONNECT", xcpConnect(slave, 0, answer, sizeof answer))) {
        return 0;
    }
    maxCto = answer[3];
    if (maxCto < 8) {
        fprintf(stderr, "CONNECT: a MAX_CTO of %u is not XCP\n", maxCto);
        return 0;
    }
    printf("connected: resources 0x%02x, MAX_CTO %u, MAX_DTO %u\n", answer[1], maxCto, wordAt(answer + 4));
    return 1;
}

static int disconnectSlave(void) {
    if (!check("DISCONNECT", xcpDisconnect(slave, answer, sizeof answer))) {
        return 0;
    }
    printf("disconnected\n");
    return 1;
}

/* ---- Seed and key ---------------------------------------------------------------------------------- */

/* A seed may be longer than a frame. The first request has mode 0, the following ones mode 1; each answer
   says how much of the seed is still to come, its own part included. */
static int fetchSeed(uint8_t resource, uint8_t* seed, uint8_t* length) {
    uint8_t mode = 0;
    *length = 0;
    for (;;) {
        uint8_t remaining;
        uint8_t part;
        if (!check("GET_SEED", xcpGetSeed(slave, mode, resource, answer, sizeof answer))) {
            return 0;
        }
        remaining = answer[1];
        part = lesser(remaining, maxCto - 2U);
        if (*length + part > UINT8_MAX) {
            fprintf(stderr, "GET_SEED: the seed has no end\n");
            return 0;
        }
        memcpy(seed + *length, answer + 2, part);
        *length = (uint8_t)(*length + part);
        if (part == remaining) {
            return 1;
        }
        mode = 1;
    }
}

/* So may a key. Each UNLOCK says how much of the key is still to come, its own part included, and carries as
   many bytes as fit; the answer to the last one tells which resources are still locked. */
static int sendKey(uint8_t resource, const uint8_t* key, uint8_t length) {
    uint8_t sent = 0;
    while (sent < length) {
        const uint8_t remaining = (uint8_t)(length - sent);
        if (!check("UNLOCK", xcpUnlock(slave, remaining, key + sent, answer, sizeof answer))) {
            return 0;
        }
        sent = (uint8_t)(sent + lesser(remaining, maxCto - 2U));
    }
    return (answer[1] & resource) == 0;
}

static int unlock(uint8_t resource) {
    uint8_t seed[UINT8_MAX];
    uint8_t key[UINT8_MAX];
    uint8_t length = 0;
    if (!fetchSeed(resource, seed, &length)) {
        return 0;
    }
    if (length > 0) { /* a seed of no bytes: it is open already */
        simulatedBusKey(resource, length, seed, key);
        if (!sendKey(resource, key, length)) {
            fprintf(stderr, "resource 0x%02x is still locked\n", resource);
            return 0;
        }
    }
    printf("unlocked: resource 0x%02x, a seed of %u bytes\n", resource, length);
    return 1;
}

/* GET_STATUS tells in byte 2 what is locked. */
static int unlockAll(void) {
    unsigned bit;
    unsigned locked;
    if (!check("GET_STATUS", xcpGetStatus(slave, answer, sizeof answer))) {
        return 0;
    }
    locked = answer[2];
    printf("locked: 0x%02x\n", locked);
    for (bit = CALIBRATION; bit <= PROGRAMMING; bit <<= 1) {
        if ((locked & bit) != 0 && !unlock((uint8_t)bit)) {
            return 0;
        }
    }
    return 1;
}

/* ---- DAQ ------------------------------------------------------------------------------------------- */

/* One DAQ list with one ODT with one entry: room for it first, then what stands in it. */
static int setUpList(void) {
    const XcpDaqEntry counter = {255, COUNTER_SIZE, 0, COUNTER_ADDRESS};
    const XcpDaqListSetup setup = {0, COUNTER_EVENT, 1, 0};
    return check("FREE_DAQ", xcpFreeDaqLists(slave, answer, sizeof answer)) &&
           check("ALLOC_DAQ", xcpAllocateDaqLists(slave, 1, answer, sizeof answer)) &&
           check("ALLOC_ODT", xcpAllocateOdt(slave, 0, 1, answer, sizeof answer)) &&
           check("ALLOC_ODT_ENTRY", xcpAllocateOdtEntry(slave, 0, 0, 1, answer, sizeof answer)) &&
           check("SET_DAQ_PTR", xcpSetDaqPtr(slave, 0, 0, 0, answer, sizeof answer)) &&
           check("WRITE_DAQ", xcpWriteDaqListEntry(slave, counter, answer, sizeof answer)) &&
           check("SET_DAQ_LIST_MODE", xcpSetDaqListMode(slave, 0, setup, answer, sizeof answer));
}

/* Selects the list, which tells the identifier of its first ODT, and starts what is selected. */
static int startList(void) {
    if (!check("START_STOP_DAQ_LIST", xcpStartStopDaqList(slave, 2, 0, answer, sizeof answer))) {
        return 0;
    }
    atomic_store(&daqPid, answer[1]);
    return check("START_STOP_SYNCH", xcpStartStopSynch(slave, 1, answer, sizeof answer));
}

static int measure(void) {
    unsigned waits = 0;
    if (!setUpList() || !startList()) {
        return 0;
    }
    while (atomic_load(&samples) < WANTED_SAMPLES && waits < MOST_WAITS) {
        simulatedBusSleep(10);
        ++waits;
    }
    if (!check("START_STOP_SYNCH", xcpStartStopSynch(slave, 0, answer, sizeof answer))) {
        return 0;
    }
    atomic_store(&daqPid, -1);
    if (atomic_load(&samples) < WANTED_SAMPLES || atomic_load(&gaps) > 0) {
        fprintf(stderr, "measured %u samples with %u gaps\n", atomic_load(&samples), atomic_load(&gaps));
        return 0;
    }
    printf("measured: more than %d samples without a gap\n", WANTED_SAMPLES - 1);
    return 1;
}

/* ---- Calibration ----------------------------------------------------------------------------------- */

/* Reads memory and compares. UPLOAD reads on from where the MTA stands; the bytes are in the answer, behind
   its first one. */
static int verify(uint32_t address, const uint8_t* expected, unsigned size) {
    unsigned offset = 0;
    if (!check("SET_MTA", xcpSetMta(slave, 0, address, answer, sizeof answer))) {
        return 0;
    }
    while (offset < size) {
        const uint8_t part = lesser(size - offset, maxCto - 1U);
        if (!check("UPLOAD", xcpUpload(slave, part, answer, sizeof answer))) {
            return 0;
        }
        if (memcmp(answer + 1, expected + offset, part) != 0) {
            fprintf(stderr, "UPLOAD: other bytes at 0x%x\n", (unsigned)(address + offset));
            return 0;
        }
        offset += part;
    }
    return 1;
}

/* DOWNLOAD writes from where the MTA stands and moves it on. */
static int calibrate(void) {
    static const uint8_t values[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA};
    const uint8_t room = (uint8_t)(maxCto - 2);
    uint8_t offset = 0;
    if (!check("SET_MTA", xcpSetMta(slave, 0, DATA_ADDRESS, answer, sizeof answer))) {
        return 0;
    }
    while (offset < sizeof values) {
        const uint8_t part = lesser(sizeof values - offset, room);
        if (!check("DOWNLOAD", xcpDownload(slave, 0, values + offset, part, answer, sizeof answer))) {
            return 0;
        }
        offset = (uint8_t)(offset + part);
    }
    if (!verify(DATA_ADDRESS, values, sizeof values)) {
        return 0;
    }
    printf("calibrated: %u bytes written and read back\n", (unsigned)sizeof values);
    return 1;
}

/* ---- Programming ----------------------------------------------------------------------------------- */

/* From PROGRAM_START on the ECU takes programming commands, of a size of its own. Flash is cleared before it
   is programmed, both from where the MTA stands. */
static int startProgramming(void) {
    if (!check("PROGRAM_START", xcpProgramStart(slave, answer, sizeof answer))) {
        return 0;
    }
    maxCto = lesser(maxCto, answer[3]); /* MAX_CTO_PGM */
    return check("SET_MTA", xcpSetMta(slave, 0, FLASH_ADDRESS, answer, sizeof answer)) &&
           check("PROGRAM_CLEAR", xcpProgramClear(slave, 0, FLASH_SIZE, answer, sizeof answer)) &&
           check("SET_MTA", xcpSetMta(slave, 0, FLASH_ADDRESS, answer, sizeof answer));
}

/* A PROGRAM without data ends the sequence. */
static int programImage(const uint8_t* image) {
    uint8_t offset = 0;
    while (offset < IMAGE_SIZE) {
        const uint8_t part = lesser((unsigned)(IMAGE_SIZE - offset), maxCto - 2U);
        if (!check("PROGRAM", xcpProgram(slave, 0, image + offset, part, answer, sizeof answer))) {
            return 0;
        }
        offset = (uint8_t)(offset + part);
    }
    return check("PROGRAM", xcpProgram(slave, 0, NULL, 0, answer, sizeof answer));
}

/* PROGRAM_RESET has the ECU start anew, which ends the session. So what it holds is read in a new one. */
static int program(void) {
    uint8_t image[IMAGE_SIZE];
    uint8_t i;
    for (i = 0; i < IMAGE_SIZE; ++i) {
        image[i] = (uint8_t)(7 * i + 1);
    }
    if (!startProgramming() || !programImage(image) ||
        !check("PROGRAM_RESET", xcpProgramReset(slave, answer, sizeof answer))) {
        return 0;
    }
    printf("programmed: %d bytes, and the ECU started anew\n", IMAGE_SIZE);
    if (!connectSlave() || !verify(FLASH_ADDRESS, image, sizeof image)) {
        return 0;
    }
    printf("verified: %d bytes\n", IMAGE_SIZE);
    return 1;
}

/* ---- All of it ------------------------------------------------------------------------------------- */

static int runSession(void) {
    uint16_t channel = 0;
    hostCallbacksSet(sendFrame);
    return addSlave(&channel) && connectSlave() && unlockAll() && measure() && calibrate() && program() &&
           disconnectSlave() && removeSlave(channel);
}

int main(void) {
    int done;
    if (!simulatedBusOpen(receiveFrame)) {
        return EXIT_FAILURE;
    }
    done = runSession();
    simulatedBusClose();
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
