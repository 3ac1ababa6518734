// Any text as an Intel HEX file.
#include "memfile/IntelHexReader.h"
#include "tests/fuzz/FuzzTarget.h"

#include <sstream>
#include <stdexcept>

void fuzz::run(FuzzInput& input) {
    const std::string text = input.rest();
    std::istringstream stream(text);
    try {
        std::size_t bytes = 0;
        for (const mem_buf& block : ParseHexStream(stream)) {
            bytes += block.data.size();
        }
        require(bytes <= text.size() / 2, "two characters make a byte");
    } catch (const std::out_of_range&) {
        return;  // a line that is cut in its head, which callers of the reader are told so
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    return {
        bytesOf(":020000048000FA\n:02100000AABB89\r\n:020000021000EC\n:01100200CC21\n:00000001FF\n"),
        bytesOf(":10001000000102030405060708090a0b0c0d0e0f68\n:0400200010111213 96\n"),
        bytesOf(":00000001FF\n:0100000011EE"),
        bytesOf(":02000002F0000C\n:02FFFF00112 2CD\n:020000040000FA"),
    };
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {bytesOf("\n:"),
            bytesOf("\r\n"),
            bytesOf(":00000001FF\n"),
            bytesOf(":020000048000FA\n"),
            bytesOf(":020000021000EC\n"),
            bytesOf("FF"),
            bytesOf("FFFF"),
            bytesOf(" "),
            bytesOf("0x"),
            bytesOf("\n:01"),
            bytesOf("-1")};
}
