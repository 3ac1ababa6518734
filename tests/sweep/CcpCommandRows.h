/// @file
/// The commands of a CCP master and what they make of an answer.
#pragma once

#include "ccp/CcpProtoTransmit.h"
#include "tests/sweep/AnswerModel.h"

#include <vector>

namespace sweep {

using CcpRow = CommandRow<CCP_MOUDLE::CcpProtoTransmit, CcpModel>;

[[nodiscard]] std::vector<CcpRow> ccpRows();

}  // namespace sweep
