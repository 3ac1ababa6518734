#include "host/ImageFile.h"

#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace host {
namespace {

std::filesystem::path newFolder() {
    std::string folder = (std::filesystem::temp_directory_path() / "talvex-image-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error(fmt::format("no temporary folder: {}", std::strerror(errno)));
    }
    return folder;
}

void write(const std::filesystem::path& file, std::span<const std::uint8_t> bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error(fmt::format("{} cannot be written", file.string()));
    }
}

/// Runs a program that the search path finds. @throws std::runtime_error if it does not end well
void run(std::vector<std::string> command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    pid_t process = -1;
    const int error = posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
        throw std::runtime_error(fmt::format("{} cannot be started: {}; it is part of binutils", command[0],
                                             std::strerror(error)));
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(fmt::format("{} failed", command[0]));
    }
}

}  // namespace

ImageFile::ImageFile(std::span<const std::uint8_t> bytes, std::uint32_t address) : m_folder(newFolder()) {
    try {
        make(bytes, address);
    } catch (...) {
        remove();
        throw;
    }
}

ImageFile::~ImageFile() {
    remove();
}

void ImageFile::make(std::span<const std::uint8_t> bytes, std::uint32_t address) const {
    const std::filesystem::path raw = m_folder / "image.bin";
    write(raw, bytes);
    run({"objcopy", "-I", "binary", "-O", "ihex", "--change-addresses", fmt::format("0x{:X}", address),
         raw.string(), path()});
}

void ImageFile::remove() const {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

}  // namespace host
