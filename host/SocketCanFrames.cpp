#include "host/SocketCanFrames.h"

#include <linux/can/error.h>
#include <linux/can/raw.h>
#include <sys/time.h>

#include <algorithm>
#include <cstring>
#include <ctime>

namespace host {
namespace {

constexpr std::uint8_t kClassicBytes = 8;

std::uint64_t microseconds(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000 +
           static_cast<std::uint64_t>(time.tv_nsec) / 1'000;
}

/// A control message is aligned for nothing in particular.
template <class Value>
std::optional<Value> contentOf(cmsghdr& header) {
    if (header.cmsg_len < CMSG_LEN(sizeof(Value))) {
        return std::nullopt;
    }
    Value value{};
    std::memcpy(&value, CMSG_DATA(&header), sizeof value);
    return value;
}

canid_t kernelId(std::uint32_t id, bool extended) {
    return extended ? (id & CAN_EFF_MASK) | CAN_EFF_FLAG : id & CAN_SFF_MASK;
}

}  // namespace

canfd_frame kernelFrame(const sim::Frame& frame, std::size_t& size) {
    canfd_frame kernel{};
    kernel.can_id = kernelId(frame.id, frame.extended);
    kernel.len =
        std::min(frame.length, frame.fd ? static_cast<std::uint8_t>(sim::kMaxPayload) : kClassicBytes);
    kernel.flags = frame.fd && frame.brs ? CANFD_BRS : 0;
    std::copy_n(frame.data.begin(), kernel.len, kernel.data);
    size = frame.fd ? CANFD_MTU : CAN_MTU;
    return kernel;
}

std::optional<sim::Frame> frameOfKernel(const canfd_frame& kernel, std::size_t size) {
    const bool known = size == CAN_MTU || size == CANFD_MTU;
    if (!known || (kernel.can_id & (CAN_RTR_FLAG | CAN_ERR_FLAG)) != 0) {
        return std::nullopt;
    }
    sim::Frame frame;
    frame.fd = size == CANFD_MTU;
    frame.extended = (kernel.can_id & CAN_EFF_FLAG) != 0;
    frame.id = kernel.can_id & (frame.extended ? CAN_EFF_MASK : CAN_SFF_MASK);
    frame.brs = frame.fd && (kernel.flags & CANFD_BRS) != 0;
    frame.length =
        std::min(kernel.len, frame.fd ? static_cast<std::uint8_t>(sim::kMaxPayload) : kClassicBytes);
    std::copy_n(kernel.data, frame.length, frame.data.begin());
    return frame;
}

bool isBusOff(const canfd_frame& kernel, std::size_t size) {
    return size == CAN_MTU && (kernel.can_id & CAN_ERR_FLAG) != 0 && (kernel.can_id & CAN_ERR_BUSOFF) != 0;
}

KernelNote noteOfKernel(msghdr& message) {
    KernelNote note;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET) {
            continue;
        }
        if (header->cmsg_type == SO_TIMESTAMPNS) {
            const std::optional<timespec> time = contentOf<timespec>(*header);
            note.timeUs = time ? std::optional<std::uint64_t>(microseconds(*time)) : std::nullopt;
        } else if (header->cmsg_type == SO_RXQ_OVFL) {
            note.overflows = contentOf<std::uint32_t>(*header);
        }
    }
    return note;
}

std::vector<can_filter> kernelFilters(const std::vector<FrameId>& ids) {
    std::vector<can_filter> filters;
    for (const FrameId& id : ids) {
        const canid_t mask = (id.extended ? CAN_EFF_MASK : CAN_SFF_MASK) | CAN_EFF_FLAG | CAN_RTR_FLAG;
        const can_filter filter{kernelId(id.id, id.extended), mask};
        const bool known = std::any_of(filters.begin(), filters.end(), [&](const can_filter& other) {
            return other.can_id == filter.can_id;
        });
        if (!known) {
            filters.push_back(filter);
        }
    }
    return filters;
}

}  // namespace host
