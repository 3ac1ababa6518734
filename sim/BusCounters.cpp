#include "sim/BusCounters.h"

namespace sim {

double BusCounters::loadPercent() const {
    return loadPercentSince(BusCounters{});
}

double BusCounters::loadPercentSince(const BusCounters& earlier) const {
    if (now <= earlier.now) {
        return 0;
    }
    return 100.0 * static_cast<double>(busy - earlier.busy) / static_cast<double>(now - earlier.now);
}

}  // namespace sim
