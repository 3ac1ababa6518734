#include "tests/windows/DynamicLibrary.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <windows.h>

namespace windowstest {

namespace {

HMODULE handleOf(void* module) {
    return static_cast<HMODULE>(module);
}

template <typename Record>
const Record* at(HMODULE module, std::size_t offset) {
    return reinterpret_cast<const Record*>(reinterpret_cast<const std::byte*>(module) + offset);
}

/// The names in a loaded module's export table.
const IMAGE_EXPORT_DIRECTORY& exportsOf(HMODULE module) {
    const auto* dos = at<IMAGE_DOS_HEADER>(module, 0);
    const auto* head = at<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& place = head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    return *at<IMAGE_EXPORT_DIRECTORY>(module, place.VirtualAddress);
}

}  // namespace

DynamicLibrary::DynamicLibrary(const std::string& path)
    : m_path(std::filesystem::path(path).wstring()), m_module(LoadLibraryW(m_path.c_str())) {
    if (m_module == nullptr) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), path);
    }
}

bool DynamicLibrary::free() {
    return FreeLibrary(handleOf(m_module)) != 0 && GetModuleHandleW(m_path.c_str()) == nullptr;
}

DynamicLibrary::Address DynamicLibrary::find(const std::string& name) const {
    const HMODULE module = handleOf(m_module);
    // The C++ name of a function outside classes: the length of its name, its name, its arguments.
    const std::string head = "_Z" + std::to_string(name.size()) + name;
    const IMAGE_EXPORT_DIRECTORY& exports = exportsOf(module);
    const auto* names = at<DWORD>(module, exports.AddressOfNames);
    for (DWORD i = 0; i < exports.NumberOfNames; ++i) {
        const std::string found = at<char>(module, names[i]);
        if (found == name || found.compare(0, head.size(), head) == 0) {
            return reinterpret_cast<Address>(GetProcAddress(module, found.c_str()));
        }
    }
    throw std::runtime_error("no export " + name);
}

}  // namespace windowstest
