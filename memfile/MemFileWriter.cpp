#include "TalvexMemory.h"
#include "memfile/IntelHexWriter.h"
#include "memfile/PageSplit.h"
#include "memfile/SrecWriter.h"
#include "memfile/StderrMessage.h"
#include "platform/Utf8.h"

#include <algorithm>
#include <fstream>
#include <string_view>

using namespace memfile;

namespace {

struct Format {
    void (*write)(std::ostream& stream, const std::vector<PageRun>& runs);
    const char* openFailure;
};

constexpr Format kSrec{writeSrec, "Failed to open the file for writing (S-Record).\n"};
constexpr Format kIntelHex{writeIntelHex, "Failed to open the file for writing.\n"};

char toLower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Case is folded here, and no name is refused, unlike in ParseMemFile.
const Format& chooseFormat(const std::string& path) {
    constexpr std::size_t endingSize = 4;
    if (path.size() < endingSize) {
        return kIntelHex;
    }
    std::string ending = path.substr(path.size() - endingSize);
    std::transform(ending.begin(), ending.end(), ending.begin(), toLower);
    return ending == ".s19" || ending == ".mot" ? kSrec : kIntelHex;
}

}  // namespace

bool SaveToHexFile(const std::list<mem_buf>& blocks, const std::string& path) {
    const Format& format = chooseFormat(path);
    std::ofstream file(platform::pathFromUtf8(path), std::ios::binary | std::ios::trunc);
    if (!file) {
        writeStderr(format.openFailure);
        return false;
    }
    format.write(file, splitIntoPages(blocks));
    return true;
}
