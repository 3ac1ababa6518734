#include "host/HexFile.h"

#include "host/HostError.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace host {
namespace {

struct Ending {
    std::string_view text;
    HexFormat format;
};

constexpr std::array<Ending, 3> kEndings{{
    {".hex", HexFormat::intelHex},
    {".s19", HexFormat::srecord},
    {".mot", HexFormat::srecord},
}};

constexpr std::uint64_t kAddressSpace = 0x1'0000'0000;

/// A folder opens like a file and a pipe cannot be read twice.
void expectRegularFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw HostError(fmt::format("{}: is no regular file", path));
    }
}

}  // namespace

HexFormat hexFormatOf(const std::string& path) {
    const auto found = std::find_if(kEndings.begin(), kEndings.end(), [&](const Ending& ending) {
        return path.size() >= ending.text.size() &&
               path.compare(path.size() - ending.text.size(), std::string::npos, ending.text) == 0;
    });
    if (found == kEndings.end()) {
        throw HostError(
            fmt::format("{}: the ending of the name tells the format: .hex is Intel HEX, .s19 and "
                        ".mot are S-records, all in lower case",
                        path),
            ExitCode::usage);
    }
    return found->format;
}

const char* hexFormatName(HexFormat format) {
    return format == HexFormat::intelHex ? "Intel HEX" : "S-record";
}

HexFile loadHexFile(const std::string& path) {
    HexFile file{path, hexFormatOf(path), {}};
    expectRegularFile(path);
    checkHexLines(path, file.format);
    file.blocks = ParseMemFile(path);
    file.blocks.remove_if([](const mem_buf& block) { return block.data.empty(); });
    for (const mem_buf& block : file.blocks) {
        if (endOf(block) > kAddressSpace) {
            throw HostError(fmt::format("{}: the block at 0x{:08x} has {} bytes and ends behind 0xffffffff",
                                        path, block.address, block.data.size()));
        }
    }
    return file;
}

}  // namespace host
