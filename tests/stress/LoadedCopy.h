/// @file
/// A copy of the library that comes and goes beside the one that the program is linked to.
#pragma once

#include <filesystem>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace stress {

/// The file is there as long as the object.
class LoadedCopy {
public:
    LoadedCopy();
    ~LoadedCopy();
    LoadedCopy(const LoadedCopy&) = delete;
    LoadedCopy& operator=(const LoadedCopy&) = delete;

    /// Both report what went wrong as failures of the test. @return whether all went well
    bool loads();
    bool unloads();

    /// @return the copy's form of an export
    template <typename Function>
    Function* exported(Function* linked) {
        return reinterpret_cast<Function*>(find(reinterpret_cast<void*>(linked)));
    }

private:
    [[nodiscard]] void* find(void* linked) const;

    const std::filesystem::path m_path;
    void* m_library = nullptr;
};

}  // namespace stress
