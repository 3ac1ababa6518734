/// @file
/// Ctrl-C, requests to terminate, and pipes that close.
#pragma once

namespace host {

/// Has SIGINT and SIGTERM noted instead of ending the process, once: a second one ends it. Writing to a
/// closed pipe becomes an error instead of a signal.
void watchInterrupts();

/// Whether SIGINT or SIGTERM came.
[[nodiscard]] bool interrupted();

}  // namespace host
