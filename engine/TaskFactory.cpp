#include "engine/TaskFactory.h"

#include "ccp/CcpTaskTransmit.h"
#include "xcp/XcpTaskTransmit.h"

std::shared_ptr<ITask_Transmit> makeTask(const EcuProtoCfg& cfg, const CallBackFuns& callBacks) {
    if (cfg.protoType == 1) {
        return std::make_shared<XCP_MOUDLE::XcpTaskTransmit>(cfg, callBacks);
    }
    return std::make_shared<CCP_MOUDLE::CcpTaskTransmit>(cfg, callBacks);
}
