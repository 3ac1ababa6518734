/* A seed and key library for XCP ECUs, as their makers hand them out: it opens the ECUs that this project
   simulates. The key is the seed with each byte mixed with the high byte of a number that all bytes of the
   seed and the resource have turned before. A maker would put a secret here. */
#include <stdint.h>

#if defined(_WIN32)
#define SEEDKEY_EXPORT __declspec(dllexport)
#define SEEDKEY_CALL __cdecl
#else
#define SEEDKEY_EXPORT __attribute__((visibility("default")))
#define SEEDKEY_CALL
#endif

enum { SUCCESS = 0, NO_PRIVILEGE = 1, WRONG_SEED_LENGTH = 2, ROOM_TOO_SMALL = 3 };

/* Resources that can be locked: calibration and paging 0x01, DAQ 0x04, STIM 0x08, programming 0x10. */
enum { RESOURCES = 0x1D };

static const uint32_t start = 0x54414C56;

/* One turn of a linear congruential generator. */
static uint32_t turn(uint32_t state) {
    return state * 1664525U + 1013904223U;
}

/* Tells which resources this library has keys for. Tools do not have to ask. */
SEEDKEY_EXPORT uint32_t SEEDKEY_CALL XCP_GetAvailablePrivileges(uint8_t* privileges);
uint32_t SEEDKEY_CALL XCP_GetAvailablePrivileges(uint8_t* privileges) {
    *privileges = RESOURCES;
    return SUCCESS;
}

/* Computes the key that opens `privilege`, one resource, after `seed`. `keyLength` holds the room at `key` on
   entry and the length of the key on return. */
SEEDKEY_EXPORT uint32_t SEEDKEY_CALL XCP_ComputeKeyFromSeed(uint8_t privilege, uint8_t seedLength,
                                                            uint8_t* seed, uint8_t* keyLength, uint8_t* key);
uint32_t SEEDKEY_CALL XCP_ComputeKeyFromSeed(uint8_t privilege, uint8_t seedLength, uint8_t* seed,
                                             uint8_t* keyLength, uint8_t* key) {
    uint32_t state = start ^ privilege;
    unsigned i;
    if ((privilege & RESOURCES) == 0) {
        return NO_PRIVILEGE;
    }
    if (seedLength == 0) {
        return WRONG_SEED_LENGTH;
    }
    if (*keyLength < seedLength) {
        return ROOM_TOO_SMALL;
    }
    for (i = 0; i < seedLength; ++i) {
        state = turn(state ^ seed[i]);
    }
    for (i = 0; i < seedLength; ++i) {
        state = turn(state);
        key[i] = (uint8_t)(seed[i] ^ state >> 24);
    }
    *keyLength = seedLength;
    return SUCCESS;
}
