/* A library that needs what nobody has. */
#include <stdint.h>

extern uint32_t functionOfADongle(void);

__attribute__((visibility("default"))) uint32_t XCP_ComputeKeyFromSeed(void);
uint32_t XCP_ComputeKeyFromSeed(void) {
    return functionOfADongle();
}
