#include "tests/loader/CallbackGate.h"

#include <TalvexRecords.h>

const char* const setCallBackFunsSymbol = "_Z15setCallBackFuns12CallBackFuns";

void giveSendFun(void* setter, SendFun send) {
    CallBackFuns callbacks;
    callbacks.sndFun = send;
    reinterpret_cast<void (*)(CallBackFuns)>(setter)(callbacks);
}
