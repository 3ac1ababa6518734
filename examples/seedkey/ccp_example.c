/* A seed and key library for CCP ECUs, as their makers hand them out. Functions for CCP are not told which
   resource is to be opened, so a library has one key for all of them, or serves one: this one opens the DAQ
   lists of the ECUs that this project simulates. The key is the seed with each byte mixed with the high byte
   of a number that all bytes of the seed have turned before. A maker would put a secret here. */
#include <stdbool.h>
#include <stdint.h>

#if defined(_WIN32)
#define SEEDKEY_EXPORT __declspec(dllexport)
#define SEEDKEY_CALL __cdecl
#else
#define SEEDKEY_EXPORT __attribute__((visibility("default")))
#define SEEDKEY_CALL
#endif

enum { DAQ = 0x02 };

static const uint32_t start = 0x54414C56;

/* One turn of a linear congruential generator. */
static uint32_t turn(uint32_t state) {
    return state * 1664525U + 1013904223U;
}

/* Computes the key after `seed`. `keyRoom` is the room at `key`; the length of the key goes to `keyLength`.
   Returns false if there is no key. */
SEEDKEY_EXPORT bool SEEDKEY_CALL ASAP1A_CCP_ComputeKeyFromSeed(uint8_t* seed, uint16_t seedLength,
                                                               uint8_t* key, uint16_t keyRoom,
                                                               uint16_t* keyLength);
bool SEEDKEY_CALL ASAP1A_CCP_ComputeKeyFromSeed(uint8_t* seed, uint16_t seedLength, uint8_t* key,
                                                uint16_t keyRoom, uint16_t* keyLength) {
    uint32_t state = start ^ DAQ;
    unsigned i;
    if (seedLength == 0 || keyRoom < seedLength) {
        return false;
    }
    for (i = 0; i < seedLength; ++i) {
        state = turn(state ^ seed[i]);
    }
    for (i = 0; i < seedLength; ++i) {
        state = turn(state);
        key[i] = (uint8_t)(seed[i] ^ state >> 24);
    }
    *keyLength = seedLength;
    return true;
}
