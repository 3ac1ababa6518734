#include "host/seedkey/LibraryFile.h"

#include "host/seedkey/SeedKeyFailure.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include <sys/stat.h>

namespace seedkey {
namespace {

constexpr std::string_view kElf =
    "\x7F"
    "ELF";
constexpr std::string_view kWindows = "MZ";
constexpr std::size_t kClassPlace = 4;  ///< of the byte that tells the word size of an ELF file
constexpr char k32Bits = 1;
constexpr char k64Bits = 2;
constexpr char kOwnClass = sizeof(void*) == 4 ? k32Bits : k64Bits;

[[noreturn]] void fail(const std::string& text) {
    throw SeedKeyFailure(host::SeedKeyStatus::notLoaded, text);
}

std::string bits(char elfClass) {
    return elfClass == k32Bits ? "32" : "64";
}

void requireFile(const std::string& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0) {
        fail(std::string(std::strerror(errno)) + "; check the path of the seed and key library");
    }
    if (!S_ISREG(facts.st_mode)) {
        fail("is not a file; name the shared library itself");
    }
}

/// The first bytes of the file; fewer if it has no more.
std::string readHead(const std::string& path) {
    std::array<char, kClassPlace + 1> head{};
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) {
        fail("cannot be read: " + std::string(std::strerror(errno)) + "; check the rights of the file");
    }
    return {head.data(), std::fread(head.data(), 1, head.size(), file.get())};
}

}  // namespace

void requireLoadable(const std::string& path) {
    requireFile(path);
    const std::string head = readHead(path);
    if (head.compare(0, kWindows.size(), kWindows) == 0) {
        fail("is a library for Windows; ask its maker for one for Linux");
    }
    if (head.size() <= kClassPlace || head.compare(0, kElf.size(), kElf) != 0) {
        fail("is not a shared library; name the file that ends in .so");
    }
    const char elfClass = head[kClassPlace];
    if (elfClass != kOwnClass && (elfClass == k32Bits || elfClass == k64Bits)) {
        fail("is a " + bits(elfClass) + "-bit library; give a helper built for " + bits(elfClass) +
             " bits, this one has " + bits(kOwnClass));
    }
}

}  // namespace seedkey
