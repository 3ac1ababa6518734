// What the build made and where the project is. In one file of their own, so that a compiler cache can serve
// the others to a checkout in another place.
#pragma once

namespace host_test {

extern const char* const kProgram;         // talvex
extern const char* const kProjectFolder;   // the root of the sources
extern const char* const kSeedKeyProgram;  // talvex-seedkey
extern const char* const kSeedKeyXcp;      // the example libraries
extern const char* const kSeedKeyCcp;
extern const char* const kSeedKeyBad;  // folder of the libraries with faults

}  // namespace host_test
