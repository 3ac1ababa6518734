#include "host/WakeUp.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace host {

WakeUp::WakeUp() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_event.valid()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

/// Neither can fail in a way that matters: an event that is full is set, one that is empty is clear.
void WakeUp::set() const {
    const std::uint64_t one = 1;
    static_cast<void>(!write(m_event.get(), &one, sizeof one));
}

void WakeUp::clear() const {
    std::uint64_t count = 0;
    static_cast<void>(!read(m_event.get(), &count, sizeof count));
}

}  // namespace host
