// A line that goes, on a terminal of 40 columns.

#include "host/PassingLine.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

class Terminal {
public:
    Terminal() {
        winsize size{};
        size.ws_col = 40;
        size.ws_row = 10;
        int end = -1;
        if (openpty(&m_host, &end, nullptr, nullptr, &size) != 0) {
            throw std::runtime_error("no pseudo-terminal");
        }
        m_file = fdopen(end, "w");
    }
    ~Terminal() {
        std::fclose(m_file);
        close(m_host);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::FILE* file() const { return m_file; }

    // So many characters of what was shown.
    std::string shown(std::size_t count) const {
        std::string text;
        std::array<char, 256> part{};
        while (text.size() < count) {
            const ssize_t got = read(m_host, part.data(), part.size());
            if (got <= 0) {
                break;
            }
            text.append(part.data(), static_cast<std::size_t>(got));
        }
        return text;
    }

private:
    int m_host = -1;
    std::FILE* m_file = nullptr;
};

const std::string kEmptyLine = "\r\033[K";

TEST(PassingLine, IsCutToTheTerminalAndGoesWithAnError) {
    const Terminal terminal;
    host::Output output(terminal.file(), false);
    const auto failing = [&output] {
        const host::PassingLine line(output, std::string(50, 'x'));
        throw std::runtime_error("refused");
    };
    EXPECT_THROW(failing(), std::runtime_error);
    const std::string wanted = kEmptyLine + std::string(39, 'x') + kEmptyLine;
    EXPECT_EQ(terminal.shown(wanted.size()), wanted);
}

}  // namespace
