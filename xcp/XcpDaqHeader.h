/// @file
/// What stands ahead of the payload in an XCP DTO.
#pragma once

#include <cstdint>

namespace XCP_MOUDLE {

/// The identification field type: how a DTO names its list and its ODT.
enum class DaqIdField : std::uint8_t {
    absolute = 0,      ///< byte 0 PID, unique over all lists
    relativeByte = 1,  ///< byte 0 ODT number, byte 1 list number
    relativeWord = 2,  ///< byte 0 ODT number, bytes 1 and 2 list number
    aligned = 3,       ///< byte 0 ODT number, byte 1 unused, bytes 2 and 3 list number
};

/// Bits of the mode byte of SET_DAQ_LIST_MODE that add to the first ODT of a list.
inline constexpr std::uint8_t kDaqModeCounter = 0x08;
inline constexpr std::uint8_t kDaqModeTimestamp = 0x10;

/// Lengths of the headers of one configuration.
class XcpDaqHeader {
public:
    /// @param keyByte        DAQ_KEY_BYTE; bits 6, 7 the identification field type
    /// @param listMode       mode byte of SET_DAQ_LIST_MODE
    /// @param timestampMode  TIMESTAMP_MODE; bits 0 to 2 the size of a timestamp
    XcpDaqHeader(std::uint8_t keyByte, std::uint8_t listMode, std::uint8_t timestampMode)
        : m_idField(static_cast<DaqIdField>(keyByte >> 6)),
          m_listMode(listMode),
          m_timestampMode(timestampMode) {}

    [[nodiscard]] DaqIdField idField() const { return m_idField; }

    /// @return bytes ahead of the payload of a later ODT: the identification field, 1 to 4
    [[nodiscard]] std::uint8_t later() const {
        return static_cast<std::uint8_t>(static_cast<std::uint8_t>(m_idField) + 1);
    }

    /// @return bytes ahead of the payload of the first ODT: identification field, counter, timestamp
    [[nodiscard]] std::uint8_t first() const {
        return static_cast<std::uint8_t>(later() + counter() + timestamp());
    }

    /// @return first() or later()
    [[nodiscard]] std::uint8_t of(bool isFirst) const { return isFirst ? first() : later(); }

private:
    /// The aligned field has a byte to spare, which the counter takes.
    [[nodiscard]] int counter() const {
        return (m_listMode & kDaqModeCounter) != 0 && m_idField != DaqIdField::aligned ? 1 : 0;
    }

    [[nodiscard]] int timestamp() const {
        return (m_listMode & kDaqModeTimestamp) != 0 ? m_timestampMode & 7 : 0;
    }

    DaqIdField m_idField;
    std::uint8_t m_listMode;
    std::uint8_t m_timestampMode;
};

}  // namespace XCP_MOUDLE
