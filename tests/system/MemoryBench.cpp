#include "tests/system/MemoryBench.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <random>
#include <utility>

namespace systemtest {
namespace {

constexpr std::uint8_t kResourcePgm = 0x10;
constexpr std::uint8_t kDownloadNext = 0xEF;
constexpr std::uint8_t kSetCalPage = 0xEB;
/// SET_CAL_PAGE, COPY_CAL_PAGE, BUILD_CHECKSUM, and the group of programming.
const std::set<std::uint8_t> kMemoryCommands = {0xEB, 0xE4, 0xF3, 0xD2, 0xD1, 0xD0, 0xCF, 0xCA};

constexpr const char* kReadName = "read";

std::mutex g_progressMutex;  ///< guards the two below
Bytes g_read;
std::vector<std::pair<std::uint32_t, std::uint32_t>> g_progress;

void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
    if (command == kUploadPercent || command == kDownloadPercent) {
        const std::lock_guard lock(g_progressMutex);
        g_progress.emplace_back(command, result);
        return;
    }
    BusHost::callBacks().memResultFun(command, result, std::move(data));
}

void takeValues(const std::string& ecuName, std::int32_t kind,
                const std::vector<mcMeasureVariableValue>& values, const std::vector<std::string>& rejected) {
    if (kind != 0 || values.size() != 1 || values[0].name != kReadName) {
        BusHost::callBacks().measureFun(ecuName, kind, values, rejected);
        return;
    }
    const std::lock_guard lock(g_progressMutex);
    g_read = values[0].data;
}

sim::MemorySegment patterned(sim::MemorySegment segment, std::uint32_t seed) {
    for (sim::MemoryPage& page : segment.pages) {
        page.bytes = noise(page.bytes.size(), seed++);
        // Every cell has a bit that cannot rise by programming.
        std::for_each(page.bytes.begin(), page.bytes.end(),
                      [](std::uint8_t& byte) { byte = static_cast<std::uint8_t>(byte & 0x7F); });
    }
    return segment;
}

sim::MemorySegment calibrationSegment(std::uint32_t base, std::uint32_t size) {
    sim::MemorySegment segment = sim::plainSegment(base, size);
    segment.calibration = true;
    segment.pages.push_back(sim::MemoryPage{.bytes = Bytes(size), .toolWritable = false});
    return segment;
}

void addSectors(sim::FlashConfig& flash, std::uint32_t base, std::uint32_t size, sim::FlashArea area,
                std::uint8_t page) {
    for (std::uint32_t offset = 0; offset < size; offset += kSectorSize) {
        flash.sectors.push_back({.base = base + offset, .size = kSectorSize, .area = area, .page = page});
    }
}

mcMemoryInfo dataSegment(std::uint32_t base, std::uint32_t size, std::uint8_t number) {
    mcMemoryInfo segment;
    segment.address = base;
    segment.length = size;
    segment.segmentNumber = number;
    segment.memoryType = 2;
    segment.checksumType = 1;
    segment.pages.resize(2);
    segment.pages[0].pageNumber = kRamPage;
    segment.pages[0].writeAccess = 1;
    segment.pages[1].pageNumber = kFlashPage;
    return segment;
}

void addEcuMemory(sim::XcpEcuConfig& ecu) {
    using sim::MemoryAccess;
    ecu.memory.push_back(patterned(sim::plainSegment(kCodeBase - kGuardSize, kGuardSize), 1));
    ecu.memory.push_back(patterned(sim::plainSegment(kCodeBase, kCodeSize, MemoryAccess::readOnly), 2));
    ecu.memory.push_back(patterned(sim::plainSegment(kDataBase - kGuardSize, kGuardSize), 3));
    ecu.memory.push_back(patterned(calibrationSegment(kDataBase, kDataSize), 4));
    ecu.memory.push_back(patterned(calibrationSegment(kMoreDataBase, kMoreDataSize), 6));
    ecu.memory.push_back(patterned(sim::plainSegment(kMoreDataBase + kMoreDataSize, kGuardSize), 8));
    addSectors(ecu.program.flash, kCodeBase, kCodeSize, sim::FlashArea::code, 0);
    addSectors(ecu.program.flash, kDataBase, kDataSize, sim::FlashArea::calibration, kFlashPage);
    addSectors(ecu.program.flash, kMoreDataBase, kMoreDataSize, sim::FlashArea::calibration, kFlashPage);
}

}  // namespace

EcuPair memoryEcu(bool blockMode, bool fd) {
    EcuPair pair = fd ? fdEcu("ecu", 64) : classicEcu("ecu");
    pair.cfg.xcp.statusPeriodMs = 0;
    pair.cfg.supportedCmds.insert(kMemoryCommands.begin(), kMemoryCommands.end());
    mcMemoryInfo code;
    code.address = kCodeBase;
    code.length = kCodeSize;
    code.programType = 1;
    code.checksumType = 1;
    pair.cfg.codeSegments = {code};
    pair.cfg.dataSegments = {dataSegment(kDataBase, kDataSize, 0),
                             dataSegment(kMoreDataBase, kMoreDataSize, 1)};
    pair.ecu.resources |= kResourcePgm;
    addEcuMemory(pair.ecu);
    // A forced download has blocks of 35 frames whatever the ECU tells.
    pair.ecu.program.masterBlockMode = true;
    pair.ecu.program.maxBs = 43;
    if (blockMode) {
        pair.cfg.supportedCmds.insert(kDownloadNext);
        pair.cfg.xcp.useSlaveBlockMode = pair.cfg.xcp.useMasterBlockMode = 1;
        pair.ecu.slaveBlockMode = pair.ecu.masterBlockMode = true;
        pair.ecu.maxBs = 43;
        pair.ecu.program.takesDownloadNext = true;
    }
    return pair;
}

void forgetPages(EcuPair& pair) {
    pair.cfg.supportedCmds.erase(kSetCalPage);
}

Bytes noise(std::size_t size, std::uint32_t seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

ExpectedMemory::ExpectedMemory(const sim::XcpEcuConfig& config) : m_segments(config.memory) {}

void ExpectedMemory::put(EcuSegment segment, EcuPage page, std::uint32_t address, const Bytes& bytes) {
    sim::MemorySegment& target = m_segments.at(segment);
    Bytes& all = target.pages.at(page).bytes;
    ASSERT_GE(address, target.base);
    ASSERT_LE(address - target.base + bytes.size(), all.size());
    std::copy(bytes.begin(), bytes.end(), all.begin() + static_cast<std::ptrdiff_t>(address - target.base));
}

void ExpectedMemory::clear(EcuSegment segment, EcuPage page, std::uint32_t address, std::uint32_t size) {
    put(segment, page, address, Bytes(size, 0xFF));
}

void ExpectedMemory::expectIn(const sim::XcpEcu& ecu) const {
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        for (std::size_t page = 0; page < m_segments[i].pages.size(); ++page) {
            const Bytes& wanted = m_segments[i].pages[page].bytes;
            const Bytes found = ecu.readPage(i, page);
            ASSERT_EQ(found.size(), wanted.size());
            const auto other = std::mismatch(found.begin(), found.end(), wanted.begin());
            if (other.first != found.end()) {
                ADD_FAILURE() << "segment " << i << ", page " << page << ", offset "
                              << other.first - found.begin() << ": " << int{*other.first} << " instead of "
                              << int{*other.second};
            }
        }
    }
}

MemoryBench::MemoryBench(const EcuPair& pair, const sim::VirtualBusConfig& busConfig)
    : bus(host.addBus(busConfig)),
      ecu(host.addEcu(pair)),
      expected(pair.ecu),
      m_masterId(pair.cfg.canIdMaster) {
    CallBackFuns table;
    table.memResultFun = takeMemory;
    table.measureFun = takeValues;
    setCallBackFuns(table);
    static_cast<void>(takeProgress(kUploadPercent));
    static_cast<void>(takeProgress(kDownloadPercent));
    EXPECT_EQ(connects(), 0);
}

/// Connects again where the ECU has no session, because the host would wait in vain for the end of one.
MemoryBench::~MemoryBench() {
    bus.setMonitor(nullptr);
    if (!ecu.connected()) {
        ecu.clearFaults();
        EXPECT_EQ(connects(), 0);
    }
}

int MemoryBench::finishes(std::uint32_t command) {
    const int result = host.awaitResult(command).result;
    m_pageResult = host.awaitResult(kSetPage).result;
    return result;
}

int MemoryBench::uploads(mcMemOperType type) {
    UploadFromEcuMem("ecu", type);
    return finishes(kUpload);
}

int MemoryBench::downloads(mcMemOperType type, const std::list<mem_buf>& blocks) {
    DownToEcuMem("ecu", type, blocks);
    return finishes(kDownload);
}

int MemoryBench::erases(mcMemOperType type) {
    EarseEcu("ecu", type);
    return finishes(kErase);
}

int MemoryBench::checks(mcMemOperType type, const std::list<mem_buf>& blocks) {
    CheckEcuMemory("ecu", blocks, type);
    return finishes(kCheck);
}

int MemoryBench::forces(const std::string& path) {
    ForceDataDownToEcu("ecu", path);
    return host.awaitResult(kForce).result;
}

int MemoryBench::setsPage(bool working) {
    SetCalPage("ecu", working);
    return host.awaitResult(kSetPage).result;
}

int MemoryBench::copiesPage() {
    EcuCopyRefeToWork("ecu");
    return host.awaitResult(kCopyPage).result;
}

int MemoryBench::writes(std::uint32_t address, const Bytes& bytes) {
    mcMeasureVariable variable;
    variable.name = "written";
    variable.address = address;
    variable.size = static_cast<std::uint32_t>(bytes.size());
    CalibrationVar("ecu", variable, bytes);
    return host.awaitResult(kCalibrate).result;
}

Bytes MemoryBench::reads(std::uint32_t address, std::uint32_t size) {
    mcMeasureVariable variable;
    variable.name = kReadName;
    variable.address = address;
    variable.size = size;
    MeasureVars("ecu", {variable});
    EXPECT_EQ(host.awaitResult(kMeasureVars).result, 0);
    const std::lock_guard lock(g_progressMutex);
    return std::exchange(g_read, {});
}

std::vector<std::uint32_t> MemoryBench::takeProgress(std::uint32_t command) {
    const std::lock_guard lock(g_progressMutex);
    std::vector<std::uint32_t> percentages;
    for (const auto& [code, percentage] : g_progress) {
        if (code == command) {
            percentages.push_back(percentage);
        }
    }
    std::erase_if(g_progress, [command](const auto& entry) { return entry.first == command; });
    return percentages;
}

void MemoryBench::record() {
    bus.setMonitor([this](const sim::Frame& frame, sim::PortNumber /*sender*/, sim::Time /*end*/) {
        if (frame.id == m_masterId) {
            m_recorded.push_back(frame.data[0]);
        }
    });
}

std::vector<std::uint8_t> MemoryBench::recorded() {
    bus.setMonitor(nullptr);
    return std::exchange(m_recorded, {});
}

void expectRisingTo100(const std::vector<std::uint32_t>& percentages) {
    ASSERT_FALSE(percentages.empty());
    EXPECT_TRUE(std::is_sorted(percentages.begin(), percentages.end()));
    EXPECT_EQ(percentages.back(), 100U);
}

}  // namespace systemtest
