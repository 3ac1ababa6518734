#include "host/seedkey/GuardedRoom.h"

#include "host/SeedKeyWire.h"

#include <csignal>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace seedkey {
namespace {

/// Whoever takes the length for one of 16 bits writes this far at most.
constexpr std::size_t kWallSize = 0x20000;

/// What the signal handler needs.
struct Wall {
    std::uintptr_t begin = 0;
    std::string_view message;
};
Wall g_wall;

/// A fault anywhere else comes again without this handler, and ends the process as it would have.
void onFault(int number, siginfo_t* info, void* /*context*/) {
    const auto place = reinterpret_cast<std::uintptr_t>(info->si_addr);
    if (place < g_wall.begin || place - g_wall.begin >= kWallSize) {
        static_cast<void>(std::signal(number, SIG_DFL));
        return;
    }
    const ssize_t written = write(STDERR_FILENO, g_wall.message.data(), g_wall.message.size());
    static_cast<void>(written);  // the exit code tells as much
    _exit(static_cast<int>(host::SeedKeyStatus::badKey));
}

void watchFaults() {
    struct sigaction action {};
    action.sa_sigaction = onFault;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, nullptr);
}

}  // namespace

GuardedRoom::GuardedRoom(std::size_t size, std::string message)
    : m_size(size), m_message(std::move(message)) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t open = (size + page - 1) / page * page;
    m_mapped = open + kWallSize;
    void* const base = mmap(nullptr, m_mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) {
        throw std::bad_alloc();
    }
    m_base = static_cast<std::uint8_t*>(base);
    m_wall = m_base + open;
    if (mprotect(m_wall, kWallSize, PROT_NONE) != 0) {
        munmap(m_base, m_mapped);
        throw std::bad_alloc();
    }
    g_wall = {reinterpret_cast<std::uintptr_t>(m_wall), m_message};
    watchFaults();
}

GuardedRoom::~GuardedRoom() {
    static_cast<void>(std::signal(SIGSEGV, SIG_DFL));
    g_wall = {};
    munmap(m_base, m_mapped);
}

}  // namespace seedkey
