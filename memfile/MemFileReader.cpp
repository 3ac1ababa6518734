#include "TalvexMemory.h"
#include "memfile/IntelHexReader.h"
#include "memfile/SrecReader.h"
#include "memfile/StderrMessage.h"
#include "platform/Utf8.h"

#include <array>
#include <fstream>
#include <string_view>

using namespace memfile;

namespace {

/// A format by the ending of a file's name. Case counts here, though SaveToHexFile folds it: hosts offer the
/// user only files that this table knows.
struct Ending {
    std::string_view text;
    std::list<mem_buf> (*parse)(std::istream& stream);
};

constexpr std::size_t kEndingSize = 4;
constexpr std::array<Ending, 3> kEndings{{
    {".s19", ParseSrecStream},
    {".mot", ParseSrecStream},
    {".hex", ParseHexStream},
}};

}  // namespace

std::list<mem_buf> ParseMemFile(const std::string& path) {
    // Binary on every system: LineReader drops the carriage returns itself.
    std::ifstream file(platform::pathFromUtf8(path), std::ios::binary);
    if (!file) {
        writeStderr("无法打开文件: " + path + "\n");
        return {};
    }
    file.seekg(0, std::ios::end);
    if (file.tellg() == std::streampos(0)) {
        writeStderr("文件为空: " + path + "\n");
        return {};
    }
    file.seekg(0);
    // A path shorter than an ending wraps the index, and substr throws.
    const std::string ending = path.substr(path.size() - kEndingSize);
    for (const Ending& known : kEndings) {
        if (ending == known.text) {
            return known.parse(file);
        }
    }
    return {};
}
