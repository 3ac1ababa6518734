// P10 and P11: reading and writing files of memory images, held against a bare loop over the lines and
// against the other programs that do the same work.

#include "TalvexMemory.h"
#include "bench/Harness.h"
#include "bench/ImageFiles.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using bench::ImageFiles;

/// Of a large and of a small Intel HEX file, MiB.
constexpr std::size_t kLarge = 64;
constexpr std::size_t kSmall = 4;

bench::Block parsing(std::string path) {
    return bench::wallBlock(1, [path = std::move(path)] { benchmark::DoNotOptimize(ParseMemFile(path)); });
}

bench::Block saving(const std::list<mem_buf>& image, std::string path) {
    return bench::wallBlock(1, [&image, path = std::move(path)] { SaveToHexFile(image, path); });
}

bench::Block gettingLines(std::string path) {
    return bench::wallBlock(1, [path = std::move(path)] {
        std::ifstream file(path);
        std::size_t characters = 0;
        for (std::string line; std::getline(file, line);) {
            characters += line.size();
        }
        benchmark::DoNotOptimize(characters);
    });
}

/// Another program, as one line for the shell.
/// @return nothing as value and the reason, if it can't be run
bench::Figure comparedWithCommand(const bench::Block& subject, const std::string& command) {
    const std::string quiet = command + " >/dev/null 2>&1";
    if (std::system(quiet.c_str()) != 0) {
        return bench::failed("can't run: " + command);
    }
    return bench::compareInterleaved(
        subject, bench::wallBlock(1, [quiet] { benchmark::DoNotOptimize(std::system(quiet.c_str())); }));
}

bench::Figure parseHexLines() {
    const ImageFiles files(kLarge);
    return bench::compareInterleaved(parsing(files.hex()), gettingLines(files.hex()));
}

bench::Figure parseSrecLines() {
    const ImageFiles files(kLarge);
    return bench::compareInterleaved(parsing(files.srec()), gettingLines(files.srec()));
}

bench::Figure parseObjcopy() {
    const ImageFiles files(kLarge);
    return comparedWithCommand(parsing(files.hex()),
                               "objcopy -I ihex -O binary " + files.hex() + " " + files.path("out.bin"));
}

bench::Figure parseSrecCat() {
    const ImageFiles files(kLarge);
    return comparedWithCommand(
        parsing(files.hex()), "srec_cat " + files.hex() + " -Intel -o " + files.path("out.bin") + " -Binary");
}

bench::Figure parseLargeAndSmall() {
    const ImageFiles large(kLarge);
    const ImageFiles small(kSmall);
    return bench::compareInterleaved(parsing(large.hex()), parsing(small.hex()));
}

/// A field of the process's own status, in bytes.
double statusBytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0) {
            return std::stod(line.substr(field.size() + 1)) * 1024;
        }
    }
    return 0;
}

bench::Figure parsePeakMemory() {
    ImageFiles files(kLarge);
    const auto imageBytes = static_cast<double>(files.image().front().data.size());
    files.dropImage();
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;  // sets the peak to what is there now
    const double before = statusBytes("VmRSS");
    benchmark::DoNotOptimize(ParseMemFile(files.hex()));
    const double peak = statusBytes("VmHWM");
    if (before == 0 || peak < before + imageBytes) {
        return bench::failed("the system doesn't tell the peak");
    }
    return bench::compared(peak - before, imageBytes);
}

bench::Figure saveObjcopy(const std::string& format, const std::string& name) {
    const ImageFiles files(kLarge);
    return comparedWithCommand(
        saving(files.image(), files.path("ours" + name)),
        "objcopy -I binary -O " + format + " " + files.binary() + " " + files.path("theirs" + name));
}

bench::Figure saveSrecCat(const std::string& format, const std::string& name) {
    const ImageFiles files(kLarge);
    return comparedWithCommand(
        saving(files.image(), files.path("ours" + name)),
        "srec_cat " + files.binary() + " -Binary -o " + files.path("theirs" + name) + " " + format);
}

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P10", "ParseMemFile, Intel HEX of 64 MiB", "a bare getline loop", "ns",
                   bench::atMost(3.5), parseHexLines}),
    bench::addRow(
        {"P10", "ParseMemFile, Intel HEX of 64 MiB", "objcopy", "ns", bench::atMost(1.0 / 4), parseObjcopy}),
    bench::addRow({"P10", "ParseMemFile, Intel HEX of 64 MiB", "srec_cat", "ns", bench::atMost(1.0 / 10),
                   parseSrecCat}),
    bench::addRow({"P10", "ParseMemFile, S-records of 64 MiB", "a bare getline loop", "ns",
                   bench::atMost(4.0), parseSrecLines}),
    bench::addRow({"P10", "ParseMemFile, Intel HEX of 64 MiB", "of 4 MiB", "ns", bench::atMost(18.0),
                   parseLargeAndSmall}),
    bench::addRow(
        {"P10", "ParseMemFile, peak memory", "the image", "bytes", bench::atMost(3.0), parsePeakMemory}),
    bench::addRow({"P11", "SaveToHexFile, Intel HEX of 64 MiB", "objcopy", "ns", bench::atMost(1.2),
                   [] { return saveObjcopy("ihex", ".hex"); }}),
    bench::addRow({"P11", "SaveToHexFile, Intel HEX of 64 MiB", "srec_cat", "ns", bench::atMost(1.0 / 7),
                   [] { return saveSrecCat("-Intel", ".hex"); }}),
    bench::addRow({"P11", "SaveToHexFile, S-records of 64 MiB", "objcopy", "ns", bench::atMost(1.2),
                   [] { return saveObjcopy("srec --srec-forceS3", ".s19"); }}),
    bench::addRow({"P11", "SaveToHexFile, S-records of 64 MiB", "srec_cat", "ns", bench::atMost(1.0 / 7),
                   [] { return saveSrecCat("-Motorola -address-length=4", ".s19"); }}),
};

}  // namespace
