/* What a host in C does with the channel interface. */
#ifndef TALVEX_CHANNEL_FROM_C_H
#define TALVEX_CHANNEL_FROM_C_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A session with an ECU on channel 3, identifiers 0x100 and 0x101: connect, set the MTA, set up one entry of
   a DAQ list, read eight bytes, disconnect, and give all handles back.
   @param data  gets the eight bytes
   @param text  128 characters; gets the text of a status
   @return 0, or the number of the first step that failed */
int sessionFromC(uint8_t* data, char* text);

#ifdef __cplusplus
}
#endif

#endif /* TALVEX_CHANNEL_FROM_C_H */
