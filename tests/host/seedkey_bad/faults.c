/* Seed and key functions with faults, each under a name of its own, called as those for XCP are unless told
   otherwise. Where nothing else is said the key is the seed upside down. */
#include <fcntl.h>
#include <signal.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define ENTRY(name)                                                                                        \
    __attribute__((visibility("default"))) uint32_t name(uint8_t privilege, uint8_t seedLength,            \
                                                         uint8_t* seed, uint8_t* keyLength, uint8_t* key); \
    uint32_t name(uint8_t privilege, uint8_t seedLength, uint8_t* seed, uint8_t* keyLength, uint8_t* key)
#define UNUSED ((void)privilege, (void)seedLength, (void)seed, (void)keyLength, (void)key)

#define CCP_ENTRY(name)                                                                                \
    __attribute__((visibility("default"))) bool name(uint8_t* seed, uint16_t seedLength, uint8_t* key, \
                                                     uint16_t keyRoom, uint16_t* keyLength);           \
    bool name(uint8_t* seed, uint16_t seedLength, uint8_t* key, uint16_t keyRoom, uint16_t* keyLength)

enum { SUCCESS = 0, FAILURE = 1 };

static void turnRound(uint8_t seedLength, const uint8_t* seed, uint8_t* keyLength, uint8_t* key) {
    unsigned i;
    for (i = 0; i < seedLength; ++i) {
        key[i] = seed[seedLength - 1U - i];
    }
    *keyLength = seedLength;
}

ENTRY(Plain) {
    (void)privilege;
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

/* As some makers have it: anything but 0 is success. */
ENTRY(OneIsSuccess) {
    (void)privilege;
    turnRound(seedLength, seed, keyLength, key);
    return 1;
}

/* The key is what the function was given: privilege, length of the seed, room. */
ENTRY(Echo) {
    (void)seed;
    key[2] = *keyLength;
    key[0] = privilege;
    key[1] = seedLength;
    *keyLength = 3;
    return SUCCESS;
}

ENTRY(SaysTwo) {
    UNUSED;
    return 2;
}

ENTRY(Crash) {
    volatile uint8_t* volatile nowhere = NULL;
    UNUSED;
    *nowhere = 1;
    return SUCCESS;
}

ENTRY(Abort) {
    UNUSED;
    abort();
}

ENTRY(Hang) {
    UNUSED;
    for (;;) {
        pause();
    }
}

/* Does not let itself be asked to end. */
ENTRY(HangWithoutSignals) {
    sigset_t all;
    UNUSED;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, NULL);
    for (;;) {
        pause();
    }
}

ENTRY(Exit) {
    UNUSED;
    exit(0);
}

ENTRY(ExitAtOnce) {
    UNUSED;
    _exit(0);
}

/* Leaves without a word, with a code that means something else. */
ENTRY(ExitWithThree) {
    UNUSED;
    _exit(3);
}

ENTRY(NoBytes) {
    UNUSED;
    *keyLength = 0;
    return SUCCESS;
}

/* Says that the key is longer than its room, and does not write it. */
ENTRY(SaysTooLong) {
    UNUSED;
    *keyLength = (uint8_t)(*keyLength + 1);
    return SUCCESS;
}

/* Writes one byte behind the room, and keeps quiet about it. */
ENTRY(OneTooMany) {
    UNUSED;
    memset(key, 0x5A, *keyLength + 1U);
    return SUCCESS;
}

ENTRY(FarTooMany) {
    UNUSED;
    memset(key, 0x5A, 0x10000);
    return SUCCESS;
}

/* Takes the length for one of 32 bits. */
ENTRY(WideLength) {
    const uint32_t length = seedLength;
    (void)privilege;
    turnRound(seedLength, seed, keyLength, key);
    memcpy(keyLength, &length, sizeof length);
    return SUCCESS;
}

ENTRY(Talkative) {
    (void)privilege;
    printf("00112233\n");
    fflush(stdout);
    fprintf(stderr, "computing\n");
    turnRound(seedLength, seed, keyLength, key);
    printf("without a line end");
    return SUCCESS;
}

ENTRY(TalksForEver) {
    UNUSED;
    for (;;) {
        printf("and another line, because the one before was not enough\n");
    }
}

ENTRY(ClosesStreams) {
    (void)privilege;
    close(0);
    close(1);
    close(2);
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

ENTRY(ClosesAllButStandardError) {
    int descriptor;
    (void)privilege;
    for (descriptor = 3; descriptor < 1024; ++descriptor) {
        close(descriptor);
    }
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

ENTRY(ClosesEverything) {
    int descriptor;
    (void)privilege;
    for (descriptor = 0; descriptor < 1024; ++descriptor) {
        close(descriptor);
    }
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

/* Leaves a child behind that keeps the streams open. */
ENTRY(LeavesAChild) {
    (void)privilege;
    if (fork() == 0) {
        for (;;) {
            pause();
        }
    }
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

/* The key is the list of descriptors above the standard ones that are open, but for that of the key. */
ENTRY(OpenDescriptors) {
    uint8_t count = 0;
    int descriptor;
    UNUSED;
    for (descriptor = 3; descriptor < 100; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) != -1) {
            key[1 + count] = (uint8_t)descriptor;
            ++count;
        }
    }
    key[0] = count;
    *keyLength = (uint8_t)(count + 1);
    return SUCCESS;
}

static void crashAtTheEnd(void) {
    abort();
}

ENTRY(CrashesWhenItIsUnloaded) {
    (void)privilege;
    atexit(crashAtTheEnd);
    turnRound(seedLength, seed, keyLength, key);
    return SUCCESS;
}

/* The key is what the function was given: both bytes of the seed's length and of the room, high byte first.
 */
CCP_ENTRY(CcpEcho) {
    (void)seed;
    key[0] = (uint8_t)(seedLength >> 8);
    key[1] = (uint8_t)seedLength;
    key[2] = (uint8_t)(keyRoom >> 8);
    key[3] = (uint8_t)keyRoom;
    *keyLength = 4;
    return true;
}

CCP_ENTRY(CcpZeroIsSuccess) {
    (void)seedLength;
    (void)keyRoom;
    key[0] = (uint8_t)~seed[0];
    *keyLength = 1;
    return false;
}

/* A length whose low byte alone would be fine. */
CCP_ENTRY(CcpTooLong) {
    (void)seed;
    (void)seedLength;
    (void)key;
    (void)keyRoom;
    *keyLength = 0x0104;
    return true;
}
