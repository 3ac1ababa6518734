#include "host/MemoryVerify.h"

#include "host/PageGuard.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace host {
namespace {

/// Bytes read at once in search of a difference.
constexpr std::uint32_t kPiece = 240;

constexpr std::uint8_t kXcpBuildChecksum = 0xF3;
constexpr std::uint8_t kCcpBuildChecksum = 0x0E;

/// One comparison, from the checksums to the first difference.
class Verification {
public:
    Verification(const EcuRecord& ecu, const MemoryPlan& plan, MemoryLink& link, MemoryPrint& print)
        : m_ecu(ecu), m_plan(plan), m_link(link), m_print(print) {}

    ExitCode run() {
        MemoryPlan summed = m_plan;
        const auto unsummed = std::stable_partition(
            summed.blocks.begin(), summed.blocks.end(),
            [this](const PlannedBlock& planned) { return hasChecksum(m_plan.parts[planned.part]); });
        const std::vector<PlannedBlock> toRead(unsummed, summed.blocks.end());
        summed.blocks.erase(unsummed, summed.blocks.end());
        if (!summed.blocks.empty()) {
            bySums(summed);
        }
        for (const PlannedBlock& planned : toRead) {
            byReading(planned);
        }
        tellFirst();
        if (m_equal) {
            m_print.verified(bytesIn(plannedImage(m_plan)));
        }
        return m_equal ? ExitCode::done : ExitCode::different;
    }

private:
    [[nodiscard]] bool hasChecksum(const MemoryPart& part) const {
        const std::uint8_t kind = m_ecu.segments[part.segment].checksum.value_or(m_ecu.checksum);
        return kind != 0 && m_ecu.knows(m_ecu.ccp ? kCcpBuildChecksum : kXcpBuildChecksum);
    }

    void bySums(const MemoryPlan& summed);
    void bySum(const MemoryPlan& summed, const mcMemoryData& sum);
    void byReading(const PlannedBlock& planned);
    void keepLowest(const std::optional<FirstDifference>& difference);
    void tellFirst();
    [[nodiscard]] std::optional<FirstDifference> search(const PlannedBlock& planned);
    [[nodiscard]] std::string segmentOf(const PlannedBlock& planned) const {
        return partKindName(m_plan.parts[planned.part].kind);
    }

    const EcuRecord& m_ecu;
    const MemoryPlan& m_plan;
    MemoryLink& m_link;
    MemoryPrint& m_print;
    bool m_equal = true;                     ///< so far
    std::vector<PlannedBlock> m_unsearched;  ///< whose checksums differ
    std::optional<FirstDifference> m_first;  ///< the lowest found so far
};

HexRange rangeOf(std::uint32_t address, std::size_t size) {
    return {address, static_cast<std::uint32_t>(address + (size - 1))};
}

/// @param bytes  least significant first
std::uint32_t numberOf(const std::vector<std::uint8_t>& bytes) {
    std::uint32_t number = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        number = (number << 8U) | *byte;
    }
    return number;
}

/// The piece of the plan that one checksum was made of.
PlannedBlock pieceOf(const MemoryPlan& plan, const mcMemoryData& sum) {
    const auto found =
        std::find_if(plan.blocks.begin(), plan.blocks.end(), [&sum](const PlannedBlock& planned) {
            return sum.length > 0 && planned.block.address <= sum.address &&
                   std::uint64_t{sum.address} + sum.length <= endOf(planned.block);
        });
    if (found == plan.blocks.end()) {
        throw HostError(
            fmt::format("check: the library checked 0x{:08x}, which is not in the plan", sum.address));
    }
    const auto begin = found->block.data.begin() + (sum.address - found->block.address);
    return {{sum.address, {begin, begin + sum.length}}, found->part};
}

std::vector<PartKind> kindsOf(const MemoryPlan& plan) {
    std::vector<PartKind> kinds;
    for (const PlannedBlock& planned : plan.blocks) {
        kinds.push_back(plan.parts[planned.part].kind);
    }
    return kinds;
}

void Verification::bySums(const MemoryPlan& summed) {
    const std::list<mem_buf> image = plannedImage(summed);
    const std::vector<mcMemoryData> sums = m_link.check(image, memTypeOf(kindsOf(summed)));
    std::uint64_t checked = 0;
    for (const mcMemoryData& sum : sums) {
        bySum(summed, sum);
        checked += sum.length;
    }
    if (checked != bytesIn(image)) {
        throw HostError(fmt::format("{}: check: the ECU gave checksums for {} of {} bytes", m_ecu.name,
                                    checked, bytesIn(image)));
    }
}

void Verification::bySum(const MemoryPlan& summed, const mcMemoryData& sum) {
    const PlannedBlock piece = pieceOf(summed, sum);
    BlockRow row{rangeOf(sum.address, sum.length), segmentOf(piece)};
    row.ecuSum = numberOf(sum.data);
    row.fileSum = numberOf(sum.expected);
    row.digits = static_cast<int>(sum.expected.size() * 2);
    row.equal = !sum.data.empty() && sum.data == sum.expected;
    m_print.block(row);
    if (!row.equal) {
        m_unsearched.push_back(piece);
    }
    m_equal = m_equal && row.equal;
}

void Verification::byReading(const PlannedBlock& planned) {
    const std::optional<FirstDifference> difference = search(planned);
    BlockRow row{rangeOf(planned.block.address, planned.block.data.size()), segmentOf(planned)};
    row.equal = !difference.has_value();
    m_print.block(row);
    keepLowest(difference);
    m_equal = m_equal && row.equal;
}

void Verification::keepLowest(const std::optional<FirstDifference>& difference) {
    if (difference && (!m_first || difference->address < m_first->address)) {
        m_first = difference;
    }
}

/// Blocks with equal bytes and different checksums may stand ahead of one with different bytes.
void Verification::tellFirst() {
    std::stable_sort(m_unsearched.begin(), m_unsearched.end(),
                     [](const PlannedBlock& left, const PlannedBlock& right) {
                         return left.block.address < right.block.address;
                     });
    for (const PlannedBlock& piece : m_unsearched) {
        if (!m_first || piece.block.address < m_first->address) {
            keepLowest(search(piece));
        }
    }
    if (m_first) {
        m_print.difference(*m_first);
    } else if (!m_unsearched.empty()) {
        m_print.message(fmt::format(
            "the checksums from 0x{:08x} on differ, the bytes do not: the ECU sums them in another way, look "
            "at `checksum` of the configuration",
            m_unsearched.front().block.address));
    }
}

/// Both pages of an XCP segment lie at one address; the working page is the one that is active.
std::optional<FirstDifference> Verification::search(const PlannedBlock& planned) {
    const MemoryPart& part = m_plan.parts[planned.part];
    std::optional<PageGuard> guard;
    if (part.kind == PartKind::referencePage && !m_ecu.ccp) {
        guard.emplace([this](bool working) { m_link.selectPage(working); });
    }
    const std::optional<FirstDifference> difference = findFirstDifference(
        planned.block, kPiece,
        [&](std::uint32_t address, std::uint32_t size) { return m_link.read(part.segment, address, size); });
    if (guard) {
        guard->restore();
    }
    return difference;
}

}  // namespace

ExitCode verifyPlan(const EcuRecord& ecu, const MemoryPlan& plan, MemoryLink& link, MemoryPrint& print) {
    return Verification(ecu, plan, link, print).run();
}

}  // namespace host
