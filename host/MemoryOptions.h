/// @file
/// What the sub-commands take that move whole ranges of memory.
#pragma once

#include "host/LinkOptions.h"

#include <string>
#include <vector>

namespace host {

/// Options of `upload`, `flash`, `erase` and `check`; each of them takes some.
struct MemoryOptions {
    LinkOptions link;
    std::string file;                   ///< image; not for `erase`
    std::vector<std::string> segments;  ///< as in `partKindWords`; empty: what the sub-command does by itself
    bool dryRun = false;                ///< the plan, and no more
    bool ignoreOutside = false;         ///< leaves out what lies in no segment; else it is an error
    bool noErase = false;               ///< programs flash that is erased already
};

}  // namespace host
