#include "host/LostOutput.h"

#include <algorithm>
#include <mutex>

namespace host {
namespace {

struct Lost {
    std::mutex mutex;  ///< guards the files; nothing else is locked while it is held
    std::vector<std::string> files;
};

Lost& lost() {
    static Lost instance;
    return instance;
}

}  // namespace

void noteLostFile(const std::string& file) {
    const std::lock_guard<std::mutex> lock(lost().mutex);
    std::vector<std::string>& files = lost().files;
    if (std::find(files.begin(), files.end(), file) == files.end()) {
        files.push_back(file);
    }
}

std::vector<std::string> lostFiles() {
    const std::lock_guard<std::mutex> lock(lost().mutex);
    return lost().files;
}

}  // namespace host
