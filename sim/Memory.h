/// @file
/// The memory of a simulated ECU: segments with access rights and calibration pages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

/// What a measurement and calibration tool may do with a segment.
enum class MemoryAccess : std::uint8_t { none, readOnly, readWrite };

/// Whose page of a paged segment an access sees.
enum class MemoryView : std::uint8_t {
    tool,  ///< the page that XCP or CCP commands read and write
    ecu,   ///< the page that the ECU's own code runs on, and that DAQ samples
};

/// Outcome of an access. On anything but `ok` nothing was read or written.
enum class MemoryResult : std::uint8_t { ok, unmapped, readProtected, writeProtected };

/// One calibration page of a segment, or the whole content of a segment without pages.
struct MemoryPage {
    std::vector<std::uint8_t> bytes{};
    bool toolWritable = true;        ///< false for a reference page in flash
    std::uint8_t properties = 0x3F;  ///< access flags as GET_PAGE_INFO of XCP reports them
    std::uint8_t initSegment = 0;    ///< segment that holds the initial values of this page
};

/// A range of addresses. All pages of a segment have the same size.
struct MemorySegment {
    std::uint32_t base = 0;  ///< first address, in units of the address granularity
    std::uint8_t extension = 0;
    MemoryAccess access = MemoryAccess::readWrite;
    std::vector<MemoryPage> pages{};
    bool calibration = false;   ///< one of the segments that the paging commands number
    std::uint8_t toolPage = 0;  ///< page that the tool sees
    std::uint8_t ecuPage = 0;   ///< page that the ECU sees
    bool freeze = false;        ///< the page is to be stored at the next store request
};

/// A segment of one page of @p size zero bytes.
[[nodiscard]] MemorySegment plainSegment(std::uint32_t base, std::size_t size,
                                         MemoryAccess access = MemoryAccess::readWrite,
                                         std::uint8_t extension = 0);

/// Bounds-checked access to the segments. An access may run over adjoining segments. Holds no lock:
/// the ECU that owns it serialises all access.
///
/// One address names `granularity` bytes, as on a processor that addresses words: address 0x1001 of
/// a memory of granularity 2 is two bytes behind address 0x1000.
class Memory {
public:
    /// @param granularity  bytes per address: 1, 2 or 4
    /// @throws std::invalid_argument for another granularity, a segment without pages or with pages
    ///         of different sizes, an active page that is not there, or segments that overlap
    Memory(std::vector<MemorySegment> segments, std::size_t granularity);

    /// Copies `out.size()` bytes from @p address with the tool's rights.
    [[nodiscard]] MemoryResult read(MemoryView view, std::uint32_t address, std::uint8_t extension,
                                    std::span<std::uint8_t> out) const;

    /// Stores @p bytes at @p address with the tool's rights.
    [[nodiscard]] MemoryResult write(MemoryView view, std::uint32_t address, std::uint8_t extension,
                                     std::span<const std::uint8_t> bytes);

    /// Stores @p bytes at @p address whatever the rights say, as the ECU's own code does.
    [[nodiscard]] MemoryResult poke(MemoryView view, std::uint32_t address, std::uint8_t extension,
                                    std::span<const std::uint8_t> bytes);

    /// @p size bytes at @p address whatever the rights say; empty where there is no memory.
    [[nodiscard]] std::vector<std::uint8_t> peek(MemoryView view, std::uint32_t address,
                                                 std::uint8_t extension, std::size_t size) const;

    /// Tells whether the tool may read @p size bytes from @p address, without touching them.
    [[nodiscard]] MemoryResult checkRead(std::uint32_t address, std::uint8_t extension,
                                         std::uint64_t size) const;

    /// Numbers of the segments that take part in paging, in the order of the paging commands.
    [[nodiscard]] const std::vector<std::size_t>& calibrationSegments() const { return m_calibration; }

    [[nodiscard]] MemorySegment& segment(std::size_t number) { return m_segments.at(number); }
    [[nodiscard]] const MemorySegment& segment(std::size_t number) const { return m_segments.at(number); }
    [[nodiscard]] std::size_t granularity() const { return m_granularity; }

private:
    enum class Rights : std::uint8_t { read, write, any };
    struct Piece {
        std::size_t segment;
        std::size_t offset;  ///< byte offset in the segment
        std::size_t size;
    };

    void checkSegment(const MemorySegment& segment) const;
    void checkOverlap() const;
    [[nodiscard]] MemoryResult split(std::uint32_t address, std::uint8_t extension, std::uint64_t size,
                                     Rights rights, MemoryView view, std::vector<Piece>& pieces) const;
    [[nodiscard]] bool find(std::uint64_t position, std::uint8_t extension, Piece& piece) const;
    [[nodiscard]] MemoryResult allowed(const MemorySegment& segment, Rights rights, MemoryView view) const;
    [[nodiscard]] static const MemoryPage& page(const MemorySegment& segment, MemoryView view);
    void fetch(MemoryView view, const std::vector<Piece>& pieces, std::span<std::uint8_t> out) const;
    [[nodiscard]] MemoryResult store(Rights rights, MemoryView view, std::uint32_t address,
                                     std::uint8_t extension, std::span<const std::uint8_t> bytes);

    std::size_t m_granularity;
    std::vector<MemorySegment> m_segments;
    std::vector<std::size_t> m_calibration;
};

}  // namespace sim
