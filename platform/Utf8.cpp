#include "platform/Utf8.h"

#if defined(_WIN32)

#include <windows.h>

namespace platform {

namespace {

/// @return UTF-16; empty if @p text is not UTF-8 and @p flags say that it has to be
std::wstring toWide(const std::string& text, DWORD flags) {
    const int size = static_cast<int>(text.size());
    const int wideSize = MultiByteToWideChar(CP_UTF8, flags, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(wideSize), L'\0');
    MultiByteToWideChar(CP_UTF8, flags, text.data(), size, wide.data(), wideSize);
    return wide;
}

}  // namespace

std::filesystem::path pathFromUtf8(const std::string& path) {
    return toWide(path, MB_ERR_INVALID_CHARS);
}

bool writeToErrorConsole(const std::string& text) {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) == 0) {
        return false;
    }
    const std::wstring wide = toWide(text, 0);
    DWORD written = 0;
    return WriteConsoleW(console, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr) != 0;
}

}  // namespace platform

#else

namespace platform {

std::filesystem::path pathFromUtf8(const std::string& path) {
    return path;
}

bool writeToErrorConsole(const std::string& /*text*/) {
    return false;
}

}  // namespace platform

#endif
