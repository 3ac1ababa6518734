/* The way from a loaded library's setCallBackFuns, whose argument is a record of C++, to a host in C. */
#ifndef TALVEX_LOADER_CALLBACK_GATE_H
#define TALVEX_LOADER_CALLBACK_GATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t (*SendFun)(uint8_t channel, uint32_t id, uint8_t flags, uint8_t length, const uint8_t* data);

/* The name of setCallBackFuns in the library's symbol table. */
extern const char* const setCallBackFunsSymbol;

/* Calls setCallBackFuns, which was looked up as `setter`, with `send` and nothing else. */
void giveSendFun(void* setter, SendFun send);

#ifdef __cplusplus
}
#endif

#endif /* TALVEX_LOADER_CALLBACK_GATE_H */
