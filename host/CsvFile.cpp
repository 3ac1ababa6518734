#include "host/CsvFile.h"

#include "host/HostError.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace host {
namespace {

constexpr std::size_t kMostWaiting = 256U * 1024U;  ///< bytes
constexpr std::chrono::seconds kFlushPeriod{1};
constexpr mode_t kMode = 0644;

std::string reasonText(int number) {
    return std::generic_category().message(number);
}

int openFile(const std::string& path) {
    if (path == "-") {
        return STDOUT_FILENO;
    }
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kMode);
    if (file < 0) {
        throw HostError(path + ": cannot be written: " + reasonText(errno));
    }
    return file;
}

std::string failureText(int number) {
    return number == ETIMEDOUT ? "its reader stands still" : reasonText(number);
}

}  // namespace

std::string csvQuoted(const std::string& cell) {
    if (cell.find_first_of(",\"\r\n") == std::string::npos) {
        return cell;
    }
    std::string quoted(1, '"');
    for (const char letter : cell) {
        quoted.append(letter == '"' ? 2 : 1, letter);
    }
    quoted.push_back('"');
    return quoted;
}

CsvFile::CsvFile(std::string path, GiveUp giveUp)
    : m_path(std::move(path)), m_giveUp(std::move(giveUp)), m_file(openFile(m_path)) {}

CsvFile::~CsvFile() {
    try {
        flush();
    } catch (const HostError&) {
        m_failed = true;  // whoever wanted to know has called `flush`
    }
    if (m_file != STDOUT_FILENO) {
        close(m_file);
    }
}

void CsvFile::row(const std::vector<std::string>& cells) {
    if (m_failed) {
        return;
    }
    const char* comma = "";
    for (const std::string& cell : cells) {
        m_waiting.append(comma).append(csvQuoted(cell));
        comma = ",";
    }
    m_waiting += '\n';
    if (m_waiting.size() >= kMostWaiting) {
        flush();
    }
}

void CsvFile::flushSometimes() {
    if (std::chrono::steady_clock::now() - m_lastFlush >= kFlushPeriod) {
        flush();
    }
}

void CsvFile::flush() {
    m_lastFlush = std::chrono::steady_clock::now();
    if (m_failed || m_waiting.empty()) {
        return;
    }
    emptyOnce();
    const std::size_t written = writePatiently(m_file, m_waiting.data(), m_waiting.size(), m_giveUp);
    if (written < m_waiting.size()) {
        const int reason = errno;
        m_waiting.resize(written);
        cutBack();
        const ExitCode code = reason == ETIMEDOUT && interrupted() ? ExitCode::interrupted : ExitCode::failed;
        throw HostError(
            (m_path == "-" ? "standard output" : m_path) + ": cannot be written: " + failureText(reason),
            code);
    }
    m_size += static_cast<off_t>(written);
    m_waiting.clear();
}

/// What a file held goes with the first line that takes its place. What is no file has nothing to cut.
void CsvFile::emptyOnce() {
    if (!m_emptied && m_file != STDOUT_FILENO) {
        static_cast<void>(ftruncate(m_file, 0));
    }
    m_emptied = true;
}

/// After a write that failed: the line that was cut goes. A pipe cannot be cut back; its reader is gone.
void CsvFile::cutBack() {
    m_failed = true;
    const std::size_t end = m_waiting.rfind('\n');
    m_size += end == std::string::npos ? 0 : static_cast<off_t>(end + 1);
    m_waiting.clear();
    if (m_file != STDOUT_FILENO) {
        static_cast<void>(ftruncate(m_file, m_size));
    }
}

}  // namespace host
