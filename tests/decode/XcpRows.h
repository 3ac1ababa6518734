/// @file
/// What every XCP frame must show, worked by hand.
#pragma once

#include "tests/decode/DecodeTesting.h"

namespace decode_testing {

const std::vector<Row>& xcpCommandRows();
const std::vector<Row>& xcpResponseRows();
const std::vector<Row>& xcpEventRows();

}  // namespace decode_testing
