#include "host/Interrupt.h"

#include <atomic>
#include <csignal>

namespace host {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

void handle(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

/// Whichever comes second ends the process.
void onSignal(int) {
    g_interrupted = true;
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
}

}  // namespace

void watchInterrupts() {
    handle(SIGINT, onSignal);
    handle(SIGTERM, onSignal);
    handle(SIGPIPE, SIG_IGN);
    handle(SIGXFSZ, SIG_IGN);
    handle(SIGCHLD,
           SIG_DFL);  // who ignores it hands that on, and with it nobody can tell how a process ended
}

bool interrupted() {
    return g_interrupted;
}

}  // namespace host
