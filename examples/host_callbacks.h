/* The one thing that a host in C cannot do by itself: give the library its send function. The table of
   callbacks is a record of C++, so a host in C has one small C++ source for it. */
#ifndef TALVEX_EXAMPLES_HOST_CALLBACKS_H
#define TALVEX_EXAMPLES_HOST_CALLBACKS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sends a frame. Flags: bit 0 extended identifier, bit 1 CAN FD, bit 2 bit rate switch. The library does not
   look at the result. */
typedef uint32_t (*HostSend)(uint8_t channel, uint32_t id, uint8_t flags, uint8_t length,
                             const uint8_t* data);

/* Hands `send` to the library. To be called before the first slave is added. */
void hostCallbacksSet(HostSend send);

#ifdef __cplusplus
}
#endif

#endif /* TALVEX_EXAMPLES_HOST_CALLBACKS_H */
