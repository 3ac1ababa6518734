#include "tests/stress/LoadedCopy.h"

#include <string>

#include <unistd.h>

namespace stress {

LoadedCopy::LoadedCopy()
    : m_path(std::filesystem::path(testing::TempDir()) / ("stress_" + std::to_string(getpid()) + ".so")) {
    std::filesystem::copy_file(TALVEX_LIBRARY_FILE, m_path,
                               std::filesystem::copy_options::overwrite_existing);
}

LoadedCopy::~LoadedCopy() {
    std::filesystem::remove(m_path);
}

bool LoadedCopy::loads() {
    m_library = dlopen(m_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(m_library, nullptr) << dlerror();
    return m_library != nullptr;
}

bool LoadedCopy::unloads() {
    const bool closed = dlclose(m_library) == 0;
    EXPECT_TRUE(closed) << dlerror();
    const bool gone = dlopen(m_path.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr;
    EXPECT_TRUE(gone) << "still loaded";
    return closed && gone;
}

void* LoadedCopy::find(void* linked) const {
    Dl_info info{};
    EXPECT_NE(dladdr(linked, &info), 0);
    void* found = dlsym(m_library, info.dli_sname);
    EXPECT_NE(found, nullptr) << info.dli_sname;
    EXPECT_NE(found, linked) << info.dli_sname;
    return found;
}

}  // namespace stress
