/// @file
/// What a VirtualBus keeps of an attached node. Inside of the bus only.
#pragma once

#include "sim/VirtualBus.h"

#include <mutex>

namespace sim {

/// Outlives its port as long as the bus thread looks at it.
struct VirtualBus::Attachment {
    Attachment(PortNumber itsNumber, Node& itsNode) : number(itsNumber), node(itsNode) {}

    const PortNumber number;
    Node& node;            ///< not touched once `attached` is false
    std::mutex callMutex;  ///< held while a callback of the node runs
    bool attached = true;  ///< guarded by callMutex
};

}  // namespace sim
