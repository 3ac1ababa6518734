/// @file
/// `talvex page`: calibration pages.
#pragma once

#include "host/ExitCode.h"
#include "host/LinkOptions.h"

#include <cstdint>

namespace host {

enum class PageAction : std::uint8_t {
    working,    ///< select the page that can be written
    reference,  ///< select the page that cannot
    copy,       ///< copy the reference page to the working page
};

struct PageOptions {
    LinkOptions link;
    PageAction action = PageAction::working;
};

/// Does that to the pages of one ECU.
[[nodiscard]] ExitCode runPage(const PageOptions& options);

}  // namespace host
