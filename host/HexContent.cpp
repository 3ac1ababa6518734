#include "host/HexContent.h"

#include "host/HexImage.h"
#include "host/HexPrint.h"
#include "host/HostError.h"

#include <fmt/format.h>

namespace host {

void expectBytes(const std::string& path, const std::list<mem_buf>& blocks) {
    if (blocks.empty()) {
        throw HostError(fmt::format("{}: holds no bytes", path));
    }
}

void expectApart(const std::vector<HexFile>& files) {
    const std::vector<HexOverlap> overlaps = overlapsOf(piecesOf(files));
    if (overlaps.empty()) {
        return;
    }
    const HexOverlap& lowest = overlaps.front();
    const std::string& below = files[lowest.fileBelow].path;
    const std::string where =
        fmt::format("{} ({} to {})", addressText(lowest.range.first),
                    countText(lengthOf(lowest.range), "byte"), addressText(lowest.range.last));
    const char* const remedy = "talvex hex merge with --overlap first or last settles it";
    if (lowest.fileBelow == lowest.fileAbove) {
        throw HostError(fmt::format("{}: holds {} twice; {}", below, where, remedy));
    }
    throw HostError(
        fmt::format("{} and {} both hold {}; {}", below, files[lowest.fileAbove].path, where, remedy));
}

std::list<mem_buf> imageOf(const std::string& path) {
    const std::vector<HexFile> file{loadHexFile(path)};
    expectApart(file);
    return joined(piecesOf(file));
}

std::list<mem_buf> contentOf(const std::string& path) {
    std::list<mem_buf> image = imageOf(path);
    expectBytes(path, image);
    return image;
}

}  // namespace host
