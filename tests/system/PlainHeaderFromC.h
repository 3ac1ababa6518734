/* What a host in C does with the library. */
#ifndef TALVEX_PLAIN_HEADER_FROM_C_H
#define TALVEX_PLAIN_HEADER_FROM_C_H

#ifdef __cplusplus
extern "C" {
#endif

/* Hands one frame over, empty and with data, and asks for the state of the engine.
   @return 0 if no ECU is connected and nothing is measured; bit 0: connected, bit 1: measuring */
int stateSeenFromC(void);

#ifdef __cplusplus
}
#endif

#endif /* TALVEX_PLAIN_HEADER_FROM_C_H */
