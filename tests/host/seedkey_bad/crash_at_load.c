/* A library that crashes while it is loaded. */
#include <stdint.h>
#include <stdlib.h>

__attribute__((constructor)) static void crash(void) {
    abort();
}

__attribute__((visibility("default"))) uint32_t XCP_ComputeKeyFromSeed(void);
uint32_t XCP_ComputeKeyFromSeed(void) {
    return 0;
}
