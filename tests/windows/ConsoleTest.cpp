// Messages of the library in a console, whose own code page is hardly ever UTF-8.
#include "tests/windows/DynamicLibrary.h"

#include <TalvexMemory.h>

#include <gtest/gtest.h>

#include <string>

#include <windows.h>

namespace {

constexpr const wchar_t* kInConsole = L"TALVEX_TEST_IN_CONSOLE";

/// A console's screen that takes the place of the standard error stream.
class ErrorScreen {
public:
    ErrorScreen()
        : m_before(GetStdHandle(STD_ERROR_HANDLE)),
          m_screen(CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                             CONSOLE_TEXTMODE_BUFFER, nullptr)) {
        if (isOpen()) {
            SetStdHandle(STD_ERROR_HANDLE, m_screen);
        }
    }
    ~ErrorScreen() {
        SetStdHandle(STD_ERROR_HANDLE, m_before);
        CloseHandle(m_screen);
    }
    ErrorScreen(const ErrorScreen&) = delete;
    ErrorScreen& operator=(const ErrorScreen&) = delete;

    bool isOpen() const { return m_screen != INVALID_HANDLE_VALUE; }

    /// @return the first characters of the first line
    std::wstring line(DWORD size) const {
        std::wstring text(size, L' ');
        DWORD read = 0;
        ReadConsoleOutputCharacterW(m_screen, text.data(), size, {0, 0}, &read);
        return text.substr(0, read);
    }

private:
    HANDLE m_before;
    HANDLE m_screen;
};

/// Runs this program's one test in a process that has a console without a window.
/// @return its exit code, 1 if it did not start
DWORD exitCodeInConsole() {
    wchar_t program[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring line = L'"' + std::wstring(program) + L"\" --gtest_filter=Console.*";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    DWORD code = 1;
    SetEnvironmentVariableW(kInConsole, L"1");
    if (CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                       &startup, &process) != 0) {
        WaitForSingleObject(process.hProcess, INFINITE);
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    return code;
}

TEST(Console, ShowsMessagesWhateverItsCodePage) {
    if (GetEnvironmentVariableW(kInConsole, nullptr, 0) == 0) {
        ASSERT_EQ(exitCodeInConsole(), 0U);
        return;
    }
    const ErrorScreen screen;
    ASSERT_TRUE(screen.isOpen());
    const windowstest::DynamicLibrary library(TALVEX_LIBRARY_FILE);
    (*library.function<decltype(ParseMemFile)>("ParseMemFile"))("none.hex");
    EXPECT_EQ(screen.line(17).find(L"\u65e0\u6cd5\u6253\u5f00\u6587\u4ef6"), 0U)
        << "six signs, then the path";
}

}  // namespace
