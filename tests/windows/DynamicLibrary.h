/// @file
/// The DLL as a host has it that links nothing: loaded by its path, functions looked up by their names.
#pragma once

#include <string>

namespace windowstest {

/// One load of the DLL. At most one at a time.
class DynamicLibrary {
public:
    /// Loads the DLL.
    /// @throws std::system_error if that fails
    explicit DynamicLibrary(const std::string& path);
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;
    /// Leaves the DLL loaded, as a host does that exits.
    ~DynamicLibrary() = default;

    /// Unloads the DLL.
    /// @return false if it is still there
    bool free();

    /// @return an export; of those with C++ names the one called @p name, whatever its arguments
    /// @throws std::runtime_error if there is none
    template <typename Function>
    Function* function(const std::string& name) const {
        return reinterpret_cast<Function*>(find(name));
    }

private:
    using Address = void (*)();

    [[nodiscard]] Address find(const std::string& name) const;

    std::wstring m_path;
    void* m_module;
};

}  // namespace windowstest
