#include "host/HexSave.h"

#include "host/HexFile.h"
#include "host/HostError.h"
#include "host/Interrupt.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace host {
namespace {

/// All endings that tell a format have this length.
constexpr int kEndingLength = 4;

std::string reason() {
    return std::generic_category().message(errno);
}

/// Permissions that a file at @p path is to have: those it has, else those of a new file.
mode_t permissionsFor(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return status.st_mode & 07777U;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

/// A file beside another that takes its place in the end, or goes.
class Replacement {
public:
    /// @param path    of the file to replace
    /// @param ending  of the temporary name, kEndingLength characters
    Replacement(const std::filesystem::path& path, const std::string& ending)
        : m_target(path.string()), m_path((path.parent_path() / ".talvex-XXXXXX").string() + ending) {
        m_file = mkstemps(m_path.data(), kEndingLength);
        if (m_file < 0) {
            throw HostError(fmt::format("{}: cannot be written: {}", m_target, reason()));
        }
    }

    ~Replacement() {
        close(m_file);
        if (!m_done) {
            unlink(m_path.c_str());
        }
    }

    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    [[nodiscard]] const std::string& path() const { return m_path; }

    void takePlace() {
        m_done = fchmod(m_file, permissionsFor(m_target)) == 0 && fsync(m_file) == 0 &&
                 std::rename(m_path.c_str(), m_target.c_str()) == 0;
        if (!m_done) {
            throw HostError(fmt::format("{}: cannot be written: {}", m_target, reason()));
        }
    }

private:
    std::string m_target;
    std::string m_path;
    int m_file = -1;
    bool m_done = false;
};

/// The file itself, if @p path is a link.
std::filesystem::path targetOf(const std::string& path) {
    std::error_code error;
    std::filesystem::path target = path;
    if (std::filesystem::is_symlink(target, error)) {
        target = std::filesystem::weakly_canonical(target, error);
    }
    const auto status = std::filesystem::status(target, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw HostError(fmt::format("{}: is no regular file", path));
    }
    return target;
}

bool equal(const std::list<mem_buf>& left, const std::list<mem_buf>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const mem_buf& one, const mem_buf& other) {
                          return one.address == other.address && one.data == other.data;
                      });
}

/// The library does not tell whether writing failed after the file was open.
bool isWhole(const std::string& path, const std::list<mem_buf>& image) {
    try {
        return equal(loadHexFile(path).blocks, image);
    } catch (const HostError& error) {
        if (error.code() == ExitCode::interrupted) {
            throw;
        }
        return false;
    }
}

}  // namespace

void requireHexTarget(const std::string& path) {
    static_cast<void>(hexFormatOf(path));
    const std::filesystem::path parent = targetOf(path).parent_path();
    const std::string folder = parent.empty() ? "." : parent.string();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error) || access(folder.c_str(), W_OK | X_OK) != 0) {
        throw HostError(
            fmt::format("{}: cannot be written: {} is no folder that files can be made in", path, folder));
    }
}

void saveHexFile(const std::list<mem_buf>& image, const std::string& path) {
    // A link may have another ending than the file behind it; the one that was asked for counts.
    Replacement replacement(targetOf(path), path.substr(path.size() - kEndingLength));
    if (!SaveToHexFile(image, replacement.path()) || !isWhole(replacement.path(), image)) {
        throw HostError(
            fmt::format("{}: not written: the disk is full or files are limited in size; what was "
                        "there is as it was",
                        path));
    }
    if (interrupted()) {
        throw HostError("interrupted", ExitCode::interrupted);
    }
    replacement.takePlace();
}

}  // namespace host
