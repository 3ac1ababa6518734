// Any text as a file of S-records.
#include "memfile/SrecReader.h"
#include "tests/fuzz/FuzzTarget.h"

#include <sstream>

void fuzz::run(FuzzInput& input) {
    const std::string text = input.rest();
    std::istringstream stream(text);
    std::size_t bytes = 0;
    for (const mem_buf& block : ParseSrecStream(stream)) {
        bytes += block.data.size();
    }
    require(bytes <= text.size() / 2, "two characters make a byte");
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return {
        bytesOf("S00600004844521B\nS1051000AABB85\nS206012345AABB2B\r\nS30780001000AABB03\nS70500000000FA\n"),
        bytesOf("S1051000AABB85\nS1041002CC1D\nS9030000FC\n"),
        bytesOf("S5030003F9\nS10 51000AABB85\nS1"),
        bytesOf("S1131000000102030405060708090a0b0c0d0e0f64\n"),
    };
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {bytesOf("S0"),   bytesOf("S1"),  bytesOf("S2"), bytesOf("S3"),
            bytesOf("S7"),   bytesOf("S8"),  bytesOf("S9"), bytesOf("\nS1051000AABB85\n"),
            bytesOf("\r\n"), bytesOf("FF"),  bytesOf(" "),  bytesOf("S100"),
            bytesOf("S101"), bytesOf("S3FF")};
}
