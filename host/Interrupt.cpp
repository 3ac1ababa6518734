#include "host/Interrupt.h"

#include <atomic>
#include <csignal>

namespace host {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

void onSignal(int) {
    g_interrupted = true;
}

void noteOnce(int number) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

}  // namespace

void watchInterrupts() {
    noteOnce(SIGINT);
    noteOnce(SIGTERM);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGPIPE, &ignore, nullptr);
}

bool interrupted() {
    return g_interrupted;
}

}  // namespace host
