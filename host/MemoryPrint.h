/// @file
/// What the sub-commands print that move whole ranges of memory, as text and as JSON.
#pragma once

#include "host/FirstDifference.h"
#include "host/HexImage.h"
#include "host/JsonLines.h"
#include "host/Output.h"

#include <TalvexRecords.h>

#include <cstdint>
#include <list>
#include <optional>
#include <string>

namespace host {

/// A range that something is done with.
struct PlanRow {
    const char* action;  ///< "read", "along" (with what is read), "erase", "program", "check" or "outside"
    HexRange range;
    std::string segment;                          ///< name of the part of the memory; empty for none
    std::string note{};                           ///< more of it, for a person
    std::optional<std::uint64_t> sectors{};       ///< of flash that is erased
    std::optional<std::uint64_t> bytesNotHeld{};  ///< of that flash, not in the file
};

/// A block that was compared.
struct BlockRow {
    HexRange range;
    std::string segment;
    std::optional<std::uint32_t> ecuSum{};   ///< checksum of the ECU; none: compared byte by byte
    std::optional<std::uint32_t> fileSum{};  ///< of the file
    int digits = 8;                          ///< hexadecimal, of the checksums
    bool equal = false;
};

/// What an operation took.
struct TransferRow {
    const char* action;  ///< "read", "erased", "programmed"
    std::uint64_t bytes = 0;
    double seconds = 0.0;
};

/// Data on standard output, messages on standard error. One thread.
class MemoryPrint {
public:
    /// @param ecu  name, for messages
    MemoryPrint(std::string ecu, bool json, bool colours);

    /// Begins a plan, for a person.
    void head(const std::string& text);

    void plan(const PlanRow& row);
    void block(const BlockRow& row);
    void difference(const FirstDifference& difference);
    void transfer(const TransferRow& row);

    /// Ends a table of blocks.
    void verified(std::uint64_t bytes);

    /// A file is there.
    void written(const std::string& path, const std::list<mem_buf>& image);

    void message(const std::string& text);

    /// Where messages go, for progress.
    [[nodiscard]] Output& messages() { return m_messages; }

    /// Data could not be written.
    [[nodiscard]] bool broken() const { return m_output.broken() || m_lines.broken(); }

private:
    std::string m_ecu;
    bool m_json;
    Output m_output;
    Output m_messages;
    JsonLines m_lines{stdout};
};

}  // namespace host
