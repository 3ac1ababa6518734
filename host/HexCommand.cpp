#include "host/HexCommand.h"

#include "host/HexCompare.h"
#include "host/HexContent.h"
#include "host/HexCrop.h"
#include "host/HexFile.h"
#include "host/HexPrint.h"
#include "host/HexSave.h"
#include "host/HostError.h"
#include "host/RunCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace host {
namespace {

/// What a sub-command does; it throws HostError.
using Work = ExitCode (*)(const HexOptions& options, HexPrint& print);

ExitCode run(const char* command, const HexOptions& options, Work work) {
    return runCommand(std::string("hex ") + command, options.json, [&] {
        HexPrint print(options.json);
        return work(options, print);
    });
}

void save(const std::list<mem_buf>& image, const std::string& path, HexPrint& print) {
    saveHexFile(image, path);
    print.written(path, image);
}

std::list<mem_buf> joinedWithLast(const std::vector<HexFile>& files) {
    std::vector<HexPiece> pieces = piecesOf(files);
    std::reverse(pieces.begin(), pieces.end());
    return joined(pieces);
}

ExitCode info(const HexOptions& options, HexPrint& print) {
    const HexChecksum* const checksum = options.checksum ? findHexChecksum(*options.checksum) : nullptr;
    for (const std::string& path : options.files) {
        const std::vector<HexFile> file{loadHexFile(path)};
        print.contents({file.front(), joinedWithLast(file), overlapsOf(piecesOf(file)), checksum});
    }
    return ExitCode::done;
}

ExitCode merge(const HexOptions& options, HexPrint& print) {
    static_cast<void>(hexFormatOf(options.out));
    std::vector<HexFile> files;
    for (const std::string& path : options.files) {
        files.push_back(loadHexFile(path));
        expectBytes(path, files.back().blocks);
    }
    if (options.overlap == "error") {
        expectApart(files);
    }
    save(options.overlap == "last" ? joinedWithLast(files) : joined(piecesOf(files)), options.out, print);
    return ExitCode::done;
}

/// Tells of ranges that hold nothing: one of several may be a slip.
void tellOfEmpty(const std::vector<HexRange>& ranges, const std::string& path,
                 const std::list<mem_buf>& image, HexPrint& print) {
    for (const HexRange& range : ranges) {
        if (!holdsAny(image, range)) {
            print.message(fmt::format("{}: holds nothing from {} to {}", path, addressText(range.first),
                                      addressText(range.last)));
        }
    }
}

ExitCode crop(const HexOptions& options, HexPrint& print) {
    static_cast<void>(hexFormatOf(options.out));
    std::vector<HexRange> ranges;
    for (const std::string& text : options.ranges) {
        ranges.push_back(parseHexRange(text));
    }
    const std::optional<std::uint8_t> fill =
        options.fill ? std::optional(parseFillByte(*options.fill)) : std::nullopt;
    const std::string& path = options.files.front();
    const std::list<mem_buf> image = contentOf(path);
    tellOfEmpty(ranges, path, image, print);
    ranges = united(ranges);
    std::list<mem_buf> part = cropped(image, ranges);
    if (fill) {
        part = filled(part, ranges, *fill);
    }
    if (part.empty()) {
        throw HostError(fmt::format("{}: nothing of it lies in the ranges", path));
    }
    save(part, options.out, print);
    return ExitCode::done;
}

ExitCode convert(const HexOptions& options, HexPrint& print) {
    static_cast<void>(hexFormatOf(options.out));
    save(contentOf(options.files.front()), options.out, print);
    return ExitCode::done;
}

ExitCode compare(const HexOptions& options, HexPrint& print) {
    const std::list<mem_buf> first = imageOf(options.files.at(0));
    const std::list<mem_buf> second = imageOf(options.files.at(1));
    const std::vector<HexDifference> differences = differencesOf(first, second);
    print.comparison({options.files[0], options.files[1], bytesIn(first), differences});
    return differences.empty() ? ExitCode::done : ExitCode::different;
}

}  // namespace

ExitCode runHexInfo(const HexOptions& options) {
    return run("info", options, info);
}

ExitCode runHexMerge(const HexOptions& options) {
    return run("merge", options, merge);
}

ExitCode runHexCrop(const HexOptions& options) {
    return run("crop", options, crop);
}

ExitCode runHexConvert(const HexOptions& options) {
    return run("convert", options, convert);
}

ExitCode runHexCompare(const HexOptions& options) {
    return run("compare", options, compare);
}

}  // namespace host
