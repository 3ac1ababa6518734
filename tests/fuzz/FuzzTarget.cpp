#include "tests/fuzz/FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace fuzz
