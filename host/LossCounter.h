/// @file
/// Counts what a measurement lost: on the bus, in the ECU, and between the bus and the values.
#pragma once

#include "host/CanBus.h"
#include "host/DaqShape.h"
#include "host/Session.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace host {

/// What became of one DAQ list.
struct ListLosses {
    std::uint16_t list = 0;
    std::uint16_t event = 0;             ///< event channel that drives it
    std::size_t odts = 0;                ///< packets of one cycle
    std::uint64_t cycles = 0;            ///< with all their packets, in order
    std::uint64_t gaps = 0;              ///< packets that did not follow the one before
    std::uint64_t incompleteCycles = 0;  ///< that lack a packet
    std::uint64_t undelivered = 0;       ///< whole cycles of which the library delivered no values
};

/// What became of the packets of one ECU. A plain copy.
struct EcuLosses {
    std::vector<ListLosses> lists;
    std::uint64_t overloads = 0;  ///< times that the ECU said it could not keep up
    std::uint64_t strangers = 0;  ///< packets of no planned list; not a loss

    /// What all lists count, added up; what names a list is 0.
    [[nodiscard]] ListLosses sum() const;

    /// Losses of all kinds.
    [[nodiscard]] std::uint64_t total() const;
};

/// Follows the packets of one ECU on the bus and the values that the library made of them. A cycle of one
/// packet has no order that could have a gap, so the loss of a whole cycle shows only if the ECU tells.
/// Any thread; cheap enough for the thread of a bus.
class LossCounter {
public:
    /// @param bus       index of the ECU's bus
    /// @param extended  the ECU's identifiers have 29 bits
    LossCounter(std::size_t bus, bool extended) : m_bus(bus), m_extended(extended) {}

    /// A measurement of that shape is about to start; packets ahead of this count as strangers.
    void begin(DaqShape shape);

    /// Takes a frame of the bus with index @p bus, of whatever kind.
    void take(std::size_t bus, const BusFrame& frame);

    /// Takes values that the library delivers by DAQ.
    /// @return the event channel that they are of, if that can be told
    std::optional<std::uint16_t> deliver(const std::vector<mcMeasureVariableValue>& values);

    /// From here on the library is given time: what it still owes is the least that it owed since.
    void settle();

    /// Whether the library has delivered all that it owed at some moment since `settle`.
    [[nodiscard]] bool settled() const;

    /// What was lost so far. `undelivered` counts only behind `settle`: ahead of it values may be on their
    /// way.
    [[nodiscard]] EcuLosses losses() const;

private:
    /// A list and where it is in its cycle.
    struct List {
        DaqListShape shape;
        ListLosses losses;
        std::size_t next = 0;         ///< ODT that is to come; 0 between cycles
        bool broken = false;          ///< the cycle at hand lacks a packet
        std::vector<bool> seen{};     ///< by ODT, since the last first one: what the library puts together
        std::uint64_t closed = 0;     ///< times that all were seen as the next first one came
        std::uint64_t delivered = 0;  ///< of these
        std::uint64_t least = 0;      ///< least of what was owed since `settle`

        [[nodiscard]] std::uint64_t owed() const;
        void take(std::size_t odt);
        void followOrder(std::size_t odt);
        void close();
        void breakCycle();
        void noteOwed();
    };

    /// Which ODT of which list a packet is.
    struct Place {
        List* list = nullptr;
        std::size_t odt = 0;
    };

    void follow(const sim::Frame& frame);
    void followCommand(const sim::Frame& frame);
    void followSelection(const sim::Frame& frame);
    void takePacket(const sim::Frame& frame);
    [[nodiscard]] bool isPacket(const sim::Frame& frame) const;
    [[nodiscard]] bool isOverload(const sim::Frame& frame) const;
    [[nodiscard]] Place placeOf(const sim::Frame& frame);
    [[nodiscard]] Place absolutePlace(std::size_t pid);
    [[nodiscard]] List* listNumbered(std::size_t number);
    [[nodiscard]] List* listOf(const std::vector<mcMeasureVariableValue>& values);

    const std::size_t m_bus;
    const bool m_extended;

    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::optional<DaqShape> m_shape;
    std::vector<List> m_lists;
    std::optional<std::uint16_t> m_selected;  ///< list whose selection has not been answered yet
    std::uint64_t m_overloads = 0;
    std::uint64_t m_strangers = 0;
    bool m_settling = false;
};

}  // namespace host
