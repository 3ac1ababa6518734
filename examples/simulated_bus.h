/* The CAN bus of the examples: one simulated XCP ECU on it instead of hardware. A host of your own has its
   CAN driver in the place of this header.

   The ECU: commands on identifier 0x600, answers and DAQ frames on 0x601, classic CAN, little endian, bytes
   addressed one by one. Its memory:

     0x1000   4 bytes      a counter that goes up by one with each event of channel 0, every 10 ms
     0x2000   0x40 bytes   calibration data that may be written
     0x8000   0x400 bytes  flash that must be cleared before it is programmed

   Calibration, DAQ and programming are locked behind seeds of different lengths. */
#ifndef TALVEX_EXAMPLES_SIMULATED_BUS_H
#define TALVEX_EXAMPLES_SIMULATED_BUS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Takes a frame that the ECU sent, on a thread of the bus; `timeUs` is bus time in microseconds. */
typedef void (*SimulatedBusReceive)(uint32_t id, uint64_t timeUs, uint8_t length, const uint8_t* data);

/* Starts the bus and the ECU. Returns 0 if that failed, with a message on the standard error stream. */
int simulatedBusOpen(SimulatedBusReceive receive);

/* Sends a frame with an 11-bit identifier. */
void simulatedBusSend(uint32_t id, uint8_t length, const uint8_t* data);

/* Waits for some time to pass on the bus. */
void simulatedBusSleep(uint32_t milliseconds);

/* What the maker of the ECU hands out to those who may unlock it: the key to a seed. `key` has room for as
   many bytes as `seed` has, which is also the length of the key. */
void simulatedBusKey(uint8_t resource, uint8_t seedLength, const uint8_t* seed, uint8_t* key);

/* Stops the bus; afterwards `receive` is not called any more. */
void simulatedBusClose(void);

#ifdef __cplusplus
}
#endif

#endif /* TALVEX_EXAMPLES_SIMULATED_BUS_H */
