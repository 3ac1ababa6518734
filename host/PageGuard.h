/// @file
/// The reference page for a while.
#pragma once

#include "host/HostError.h"

#include <functional>
#include <utility>

namespace host {

/// Has the reference page selected as long as it lives, whatever ends that. One thread.
class PageGuard {
public:
    /// Selects the reference page; what @p select throws passes.
    /// @param select  as `MemoryLink::selectPage`: true is the working page
    explicit PageGuard(std::function<void(bool working)> select) : m_select(std::move(select)) {
        m_select(false);
    }

    /// Selects the working page if `restore` did not; what stands in the way of that stays unsaid, as the
    /// caller is on its way out with an error already.
    ~PageGuard() {
        try {
            restore();
        } catch (const HostError&) {
            m_away = false;
        }
    }

    PageGuard(const PageGuard&) = delete;
    PageGuard& operator=(const PageGuard&) = delete;

    /// Selects the working page, once; what that throws passes.
    void restore() {
        if (std::exchange(m_away, false)) {
            m_select(true);
        }
    }

private:
    const std::function<void(bool working)> m_select;
    bool m_away = true;
};

}  // namespace host
