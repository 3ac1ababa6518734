#include "TalvexPlan.h"

#include "ccp/CcpDaq.h"
#include "xcp/XcpDaq.h"

#include <utility>

namespace {

constexpr std::uint32_t kProtoXcp = 1;

template <typename Planner>
DaqInfo planWith(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables, bool unlimited) {
    Planner planner;
    planner.configure(cfg);
    planner.assignVariables(variables);
    planner.planLists(unlimited);
    return {std::move(planner.m_daqLists), std::move(planner.m_pollVars), std::move(planner.m_finishedNames)};
}

}  // namespace

DaqInfo getDaqInfo(const EcuProtoCfg& cfg, const std::vector<mcMeasureVariable>& variables, bool unlimited) {
    return cfg.protoType == kProtoXcp ? planWith<XCP_MOUDLE::XcpDaq>(cfg, variables, unlimited)
                                      : planWith<CCP_MOUDLE::CcpDaq>(cfg, variables, unlimited);
}
