// Any text as a log for `talvex decode`, in all its forms of output.
#include "host/CandumpLog.h"
#include "host/DecodeCommand.h"
#include "host/Interrupt.h"
#include "host/LineReader.h"
#include "tests/fuzz/ScratchFile.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using host::LoggedFrame;

constexpr int kAsAfterAnInterrupt = 130;

/// While there is one, what is printed to the streams of the C library goes nowhere. What a sanitizer says
/// goes to the file descriptor, which stays as it is.
class Quiet {
public:
    Quiet() {
        stdout = nowhere();
        stderr = nowhere();
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    ~Quiet() {
        stdout = m_output;
        stderr = m_messages;
    }

private:
    static std::FILE* nowhere() {
        static std::FILE* const file = std::fopen("/dev/null", "w");
        fuzz::require(file != nullptr, "there is a place for what nobody reads");
        return file;
    }

    std::FILE* const m_output = stdout;
    std::FILE* const m_messages = stderr;
};

/// Of an error frame that a log has without a time, and of a request, the line says less than the frame.
bool isWhole(const LoggedFrame& frame) {
    return frame.timeUs.value_or(-1) >= 0 && !frame.remote;
}

void checkFrame(const LoggedFrame& frame) {
    const std::size_t most = frame.fd ? host::kMostFrameBytes : 8;
    fuzz::require(frame.length <= most, "a frame has no more bytes than there can be");
    fuzz::require(std::all_of(frame.data.begin() + frame.length, frame.data.end(),
                              [](std::uint8_t byte) { return byte == 0; }),
                  "the bytes behind a frame are zero");
    fuzz::require(frame.id <= (frame.extended ? 0x1FFFFFFFU : 0x7FFU), "an identifier has 11 or 29 bits");
    fuzz::require(!frame.interface.empty(), "a frame has an interface");
    fuzz::require(!frame.remote || frame.length == 0, "a request has no data");
}

/// What was read is written so that it is read again.
void checkLine(const LoggedFrame& frame) {
    const std::optional<LoggedFrame> again = host::readCandumpLine(host::candumpLine(frame));
    fuzz::require(again && again->timeUs == frame.timeUs && again->interface == frame.interface &&
                      again->id == frame.id && again->extended == frame.extended && again->fd == frame.fd &&
                      again->rateSwitch == frame.rateSwitch && again->error == frame.error &&
                      again->length == frame.length && again->data == frame.data,
                  "a frame that is written is read again");
}

/// @return whether each line of the log is a frame or blank
bool readLines(const std::string& path) {
    host::LineReader reader(path);
    bool understood = true;
    while (const auto line = reader.next()) {
        try {
            const std::optional<LoggedFrame> frame = host::readCandumpLine(*line);
            if (frame) {
                checkFrame(*frame);
            }
            if (frame && isWhole(*frame)) {
                checkLine(*frame);
            }
        } catch (const host::CandumpError& error) {
            const std::string_view text = error.what();
            fuzz::require(std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; }),
                          "a complaint can be shown");
            understood = false;
        }
    }
    return understood;
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    static ScratchFile file(".log");
    const std::uint8_t flags = input.u8();
    host::DecodeOptions options;
    options.json = (flags & 1U) != 0;
    options.stats = (flags & 2U) != 0;
    options.timeDeltas = (flags & 4U) != 0;
    options.xcpPairs = {"600:601", "640:641,be", "18DA10F1:18DAF110"};
    options.ccpPairs = {"680:681", "00000700:00000701,be"};
    options.log = file.holding(input.rest());
    const bool understood = readLines(options.log);
    host::ExitCode code{};
    {
        const Quiet quiet;
        code = host::runDecode(options);
    }
    if (host::interrupted()) {
        std::_Exit(kAsAfterAnInterrupt);  // meant for whoever runs the target
    }
    require(code == (understood ? host::ExitCode::done : host::ExitCode::failed),
            "the exit code tells whether all lines were understood");
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    // The first byte says what is printed.
    std::vector<Bytes> made;
    for (const char flags : {'@', 'A', 'B', 'C', 'D', 'F'}) {
        made.push_back(
            bytesOf(std::string(1, flags) +
                    "\n(1436509052.249713) can0 600#FF00\n(1436509052.250) can0 601#FF05800808000101\n"
                    "  can0  680   [8]  01 27 39 00 00 00 00 00   '.'9.....'\n"
                    "  can0  681  [8]  FF 00 27 00 00 00 00 00\r\n"
                    " (2015-07-10 06:17:32.249713)  can1  TX B E  640  [02]  FF 00\n"
                    "(000.000123)  can1  641##1FF05C14000400101 R\n"
                    "(0.000000001) can0 18DA10F1#R8\n"
                    "  can0  20000004   [8]  00 01 00 00 00 00 00 00   ERRORFRAME\n"
                    "\tcontroller-problem{rx-overflow}\n"
                    "(0.0) vcan0 00000700#01.02.03.04.05.06.07.08_F\n"
                    "  can0  123   [0]  remote request\n"
                    "not a frame\n"));
    }
    return made;
}

std::vector<fuzz::Bytes> fuzz::words() {
    std::vector<Bytes> made;
    for (const char* word : {"\n(0.000001) can0 600#",
                             "\n(0.000002) can0 601#FF",
                             "\n(0.000003) can0 601#FE10",
                             "\n(0.000004) can0 680#0101",
                             "\n(0.000005) can0 681#FF0001",
                             "\n  can0  601   [8]  FF 00 00 00 00 00 00 00",
                             "\n(0000-01-01 00:00:00.000000) a 001#",
                             "\n(9999-12-31 23:59:59.999999999) a 001#",
                             "\n(999999999999.999999) a 001#",
                             "##1",
                             "##",
                             "#R",
                             "_F",
                             "[64]",
                             "[08]",
                             "[8]",
                             "RX - -",
                             "TX B E",
                             "ERRORFRAME",
                             "remote request",
                             "1FFFFFFF",
                             "20000080",
                             "7FF",
                             "  ",
                             "\t",
                             "\r\n",
                             "'"}) {
        made.push_back(bytesOf(word));
    }
    return made;
}
