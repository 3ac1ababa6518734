/// @file
/// The commands of an XCP master and what they make of an answer.
#pragma once

#include "tests/sweep/AnswerModel.h"
#include "xcp/XcpProtoTransmit.h"

#include <vector>

namespace sweep {

using XcpRow = CommandRow<XCP_MOUDLE::XcpProtoTransmit, XcpModel>;

[[nodiscard]] std::vector<XcpRow> xcpRows();

}  // namespace sweep
