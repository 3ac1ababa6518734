/// @file
/// What `talvex hex` prints, as text and as JSON.
#pragma once

#include "host/HexChecksum.h"
#include "host/HexCompare.h"
#include "host/HexImage.h"
#include "host/JsonLines.h"
#include "host/Output.h"

#include <cstddef>
#include <list>
#include <string>
#include <vector>

namespace host {

/// Rows of a table for a person; JSON has them all.
inline constexpr std::size_t kMostDifferenceRows = 20;

/// "0x00008000".
[[nodiscard]] std::string addressText(std::uint64_t address);

/// "1 block", "2 blocks".
[[nodiscard]] std::string countText(std::uint64_t count, const char* what);

/// What is in a file.
struct HexContents {
    const HexFile& file;
    const std::list<mem_buf>& image;          ///< its blocks, joined
    const std::vector<HexOverlap>& overlaps;  ///< among its blocks
    const HexChecksum* checksum;              ///< for each block; null is none
};

/// What two files are to each other.
struct HexComparison {
    const std::string& first;  ///< name of the file
    const std::string& second;
    std::uint64_t bytes;  ///< in the first
    const std::vector<HexDifference>& differences;
};

/// Data on standard output, messages on standard error.
class HexPrint {
public:
    /// @param json  objects instead of text
    explicit HexPrint(bool json) : m_json(json) {}

    void contents(const HexContents& contents);
    void comparison(const HexComparison& comparison);

    /// A file is there.
    void written(const std::string& path, const std::list<mem_buf>& image);

    void message(const std::string& text) { m_messages.line("talvex: " + text); }

private:
    void contentsJson(const HexContents& contents);
    void contentsText(const HexContents& contents);
    void comparisonJson(const HexComparison& comparison);
    void comparisonText(const HexComparison& comparison);

    bool m_json;
    Output m_output{stdout, false};
    JsonLines m_lines{stdout};
    Output m_messages{stderr, false};
};

}  // namespace host
