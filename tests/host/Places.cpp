#include "tests/host/Places.h"

namespace host_test {

const char* const kProgram = TALVEX_PROGRAM;
const char* const kProjectFolder = TALVEX_SOURCE_DIR;
const char* const kSeedKeyProgram = TALVEX_SEEDKEY_PROGRAM;
const char* const kSeedKeyXcp = TALVEX_SEEDKEY_XCP;
const char* const kSeedKeyCcp = TALVEX_SEEDKEY_CCP;
const char* const kSeedKeyBad = TALVEX_SEEDKEY_BAD;

}  // namespace host_test
