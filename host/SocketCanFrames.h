/// @file
/// What passes between the host and the CAN sockets of the Linux kernel.
#pragma once

#include "host/CanBus.h"

#include <linux/can.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace host {

/// An identifier that a bus is listened to for.
struct FrameId {
    std::uint32_t id = 0;
    bool extended = false;
};

/// @p frame as the kernel takes it.
/// @param size  becomes the number of bytes to write: CAN_MTU or CANFD_MTU
[[nodiscard]] canfd_frame kernelFrame(const sim::Frame& frame, std::size_t& size);

/// The frame in @p kernel, of which @p size bytes were read.
/// @return nothing for what is no data frame: remote frames, error frames, other sizes
[[nodiscard]] std::optional<sim::Frame> frameOfKernel(const canfd_frame& kernel, std::size_t size);

/// Whether @p kernel reports that the controller has left the bus.
[[nodiscard]] bool isBusOff(const canfd_frame& kernel, std::size_t size);

/// What the kernel says beside a frame.
struct KernelNote {
    std::optional<std::uint64_t> timeUs;     ///< when it was on the bus, on the system clock
    std::optional<std::uint32_t> overflows;  ///< frames lost by the socket so far; wraps
};

/// Reads the control messages of @p message.
[[nodiscard]] KernelNote noteOfKernel(msghdr& message);

/// Filters that let data frames with these identifiers through, each once.
[[nodiscard]] std::vector<can_filter> kernelFilters(const std::vector<FrameId>& ids);

}  // namespace host
