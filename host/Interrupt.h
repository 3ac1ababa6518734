/// @file
/// Ctrl-C, requests to terminate, and pipes that close.
#pragma once

namespace host {

/// Has SIGINT and SIGTERM noted instead of ending the process, once: a second one, of either kind, ends it.
/// Writing to a closed pipe, or beyond a limit on the size of files, becomes an error instead of a signal.
/// Processes can be waited for, whatever the parent of this one thought of that.
void watchInterrupts();

/// Whether SIGINT or SIGTERM came.
[[nodiscard]] bool interrupted();

}  // namespace host
