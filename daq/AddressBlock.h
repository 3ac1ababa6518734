/// @file
/// Where a variable, or a piece of one, lies in the ECU.
#pragma once

#include <cstdint>

/// The four fields that tell an ECU which bytes are meant. Made from any record that has them:
/// `mcMeasureVariable`, `DaqOdtEntry`.
struct AddressBlock {
    std::uint8_t type = 255;            ///< the variable's type; XCP sends it as BIT_OFFSET
    std::uint32_t size = 0;             ///< bytes
    std::uint8_t addressExtension = 0;  ///< address extension
    std::uint32_t address = 0;          ///< first address

    AddressBlock() = default;

    template <typename Record>
    requires requires(const Record& record) {
        record.type;
        record.size;
        record.addressExtension;
        record.address;
    }
    AddressBlock(const Record& record)
        : type(record.type),
          size(record.size),
          addressExtension(record.addressExtension),
          address(record.address) {}
};
