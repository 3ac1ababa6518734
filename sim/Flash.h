/// @file
/// Flash memory of a simulated ECU: what can be cleared and programmed, and how long that takes.
#pragma once

#include "sim/Frame.h"
#include "sim/Memory.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// What a sector is used for, for commands that name an area and no address.
enum class FlashArea : std::uint8_t { calibration, code, nonVolatileRam };

/// Cells that are cleared together. They are those of one page of a memory segment, or of a part of it, so
/// that everybody who reads the memory sees them.
struct FlashSector {
    std::uint32_t base = 0;  ///< first address, in units of the address granularity
    std::uint8_t extension = 0;
    std::size_t size = 0;  ///< bytes
    FlashArea area = FlashArea::code;
    std::uint8_t page = 0;  ///< page of the segment, whichever is switched to
    std::string name{};
};

struct FlashConfig {
    std::vector<FlashSector> sectors{};  ///< none: no flash
    Time clearTime = 0;                  ///< for one sector, nanoseconds
    Time programTime = 0;                ///< for the bytes of one call, nanoseconds
};

/// Outcome of an access. On anything but `ok` no cell changed.
enum class FlashResult : std::uint8_t {
    ok,
    unmapped,    ///< not all of it is flash
    notCleared,  ///< a bit would have to rise
};

/// Cells hold 0xFF when cleared, and programming only makes bits fall. Nothing else changes them: what was
/// cleared in one session is still so in the next.
///
/// Cells have their new content at once; `busy` tells how long the hardware would still be at it. Holds no
/// lock: the ECU that owns it serialises all access.
class Flash {
public:
    static constexpr std::uint8_t kCleared = 0xFF;

    /// @param layout  the segments that @p memory was made from
    /// @param memory  holds the cells; must outlive this
    /// @throws std::invalid_argument if a sector is empty, lies in no segment or page, or in another sector
    Flash(FlashConfig config, const std::vector<MemorySegment>& layout, Memory& memory);

    /// Clears all sectors that have a byte in the range.
    /// @param size  bytes, at least 1; all of them must be flash
    [[nodiscard]] FlashResult clear(Time now, std::uint32_t address, std::uint8_t extension,
                                    std::uint64_t size);

    /// Clears all sectors of @p area.
    void clear(Time now, FlashArea area);

    [[nodiscard]] FlashResult program(Time now, std::uint32_t address, std::uint8_t extension,
                                      std::span<const std::uint8_t> bytes);

    /// Programs at the byte @p offset of all sectors one behind the other, whatever their addresses.
    [[nodiscard]] FlashResult programAt(Time now, std::uint64_t offset, std::span<const std::uint8_t> bytes);

    /// The hardware clears or programs at @p now, and until when it does.
    [[nodiscard]] bool busy(Time now) const { return now < m_busyUntil; }
    [[nodiscard]] Time busyUntil() const { return m_busyUntil; }

    /// @p size bytes of the cells; empty if not all of them are flash.
    [[nodiscard]] std::vector<std::uint8_t> read(std::uint32_t address, std::uint8_t extension,
                                                 std::size_t size) const;

    /// The cells of a sector.
    [[nodiscard]] std::span<const std::uint8_t> cells(std::size_t sector) const;

    /// Every cell of the sector is cleared.
    [[nodiscard]] bool blank(std::size_t sector) const;

    /// In the order of the configuration; fixed after construction.
    [[nodiscard]] const std::vector<FlashSector>& sectors() const { return m_config.sectors; }

private:
    /// Where a sector's cells are.
    struct Place {
        std::size_t segment = 0;
        std::size_t offset = 0;  ///< bytes from the segment's start
    };
    struct Piece {
        std::size_t sector;
        std::size_t offset;  ///< bytes from the sector's start
        std::size_t size;
    };

    [[nodiscard]] std::uint64_t startOf(const FlashSector& sector) const;
    [[nodiscard]] Place locate(const FlashSector& sector, const std::vector<MemorySegment>& layout) const;
    void checkOverlap() const;
    [[nodiscard]] bool split(std::uint32_t address, std::uint8_t extension, std::uint64_t size,
                             std::vector<Piece>& pieces) const;
    [[nodiscard]] bool find(std::uint64_t position, std::uint8_t extension, Piece& piece) const;
    [[nodiscard]] bool splitAt(std::uint64_t offset, std::uint64_t size, std::vector<Piece>& pieces) const;
    [[nodiscard]] std::span<std::uint8_t> cellsOf(const Piece& piece);
    void clearSector(Time now, std::size_t sector);
    [[nodiscard]] FlashResult burn(Time now, const std::vector<Piece>& pieces,
                                   std::span<const std::uint8_t> bytes);
    void work(Time now, Time duration);

    const FlashConfig m_config;
    Memory& m_memory;
    std::vector<Place> m_places;  ///< by sector; fixed after construction
    Time m_busyUntil = 0;
};

}  // namespace sim
