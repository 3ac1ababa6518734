#include "examples/host_callbacks.h"

#include <TalvexSDK.h>

void hostCallbacksSet(HostSend send) {
    CallBackFuns callbacks;
    callbacks.sndFun = send;
    setCallBackFuns(callbacks);
}
