/// @file
/// What every CCP frame must show, worked by hand.
#pragma once

#include "tests/decode/DecodeTesting.h"

namespace decode_testing {

const std::vector<Row>& ccpCommandRows();
const std::vector<Row>& ccpResponseRows();

}  // namespace decode_testing
