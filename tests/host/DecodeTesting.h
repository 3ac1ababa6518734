// Words for the tests of `talvex decode`: logs written by hand, and the program with its two outputs apart.
#pragma once

#include "tests/host/Places.h"

#include "host/CandumpLog.h"
#include "host/DecodeStats.h"
#include "host/FrameDecoder.h"

#include <string>
#include <vector>

namespace host_test {

// What the program left behind.
struct Outcome {
    int code = -1;  // its exit code, or minus the number of the signal that ended it
    std::string out;
    std::string err;
};

// Runs the host tool in a folder with this on its standard input.
Outcome runProgram(const std::vector<std::string>& arguments, const std::string& input = "",
                   const std::string& folder = host_test::kProjectFolder);

std::vector<std::string> linesOf(const std::string& text);

// A decoder with pairs as on the command line, "xcp 600:601" or "ccp 700:701,be".
host::FrameDecoder decoderOf(const std::vector<std::string>& pairs);

// A frame from the end of a line, "600#FF00", at a time in microseconds.
host::LoggedFrame frameAt(std::int64_t timeUs, const std::string& frame);

}  // namespace host_test
