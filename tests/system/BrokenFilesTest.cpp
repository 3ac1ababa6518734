// Broken variants of real images, forced into a simulated ECU and downloaded to it.
#include "tests/support/TempFolder.h"
#include "tests/system/MemoryBench.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <random>
#include <set>
#include <string>

namespace systemtest {
namespace {

constexpr int kVariants = 1'000;
constexpr EcuSegment kOutside[] = {kSignalSegment, kScratchSegment,   kCodeGuardSegment,
                                   kCodeSegment,   kDataGuardSegment, kLastGuardSegment};

using Random = std::mt19937;

/// The seed of the environment, so that a failure can be run again, or a fresh one.
std::uint32_t chooseSeed() {
    const char* given = std::getenv("TALVEX_SEED");
    return given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0))
                            : std::random_device{}();
}

std::size_t below(Random& random, std::size_t limit) {
    return limit > 0 ? random() % limit : 0;
}

/// A part of @p text of up to 200 characters.
std::string pieceOf(Random& random, const std::string& text) {
    return text.substr(below(random, text.size()), 1 + below(random, 200));
}

void cut(Random& random, std::string& text, const std::string& /*other*/) {
    text.resize(below(random, text.size()));
}

void flip(Random& random, std::string& text, const std::string& /*other*/) {
    for (std::size_t count = 1 + below(random, 8); count > 0 && !text.empty(); --count) {
        char& character = text[below(random, text.size())];
        character = static_cast<char>(character ^ (1 << below(random, 8)));
    }
}

void repeat(Random& random, std::string& text, const std::string& /*other*/) {
    const std::string piece = pieceOf(random, text);
    text.insert(below(random, text.size()), piece);
}

/// The head of the text and a tail of the other file, or a piece of that one in the midst.
void splice(Random& random, std::string& text, const std::string& other) {
    if (random() % 2 == 0) {
        text = text.substr(0, below(random, text.size())) + other.substr(below(random, other.size()));
    } else {
        text.insert(below(random, text.size()), pieceOf(random, other));
    }
}

void drop(Random& random, std::string& text, const std::string& /*other*/) {
    text.erase(below(random, text.size()), 1 + below(random, 60));
}

/// One to three kinds of damage.
std::string damaged(Random& random, std::string text, const std::string& other) {
    constexpr void (*kDamages[])(Random&, std::string&, const std::string&) = {cut, flip, repeat, splice,
                                                                               drop};
    for (std::size_t count = 1 + below(random, 3); count > 0; --count) {
        kDamages[below(random, std::size(kDamages))](random, text, other);
    }
    return text;
}

class BrokenFiles : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v objcopy >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "objcopy is not installed on this machine";
        }
        // From ahead of the first data segment into it, and from inside the second to behind it.
        m_hex = image("hex", kDataBase - 40, 256) + image("hex", kMoreDataBase + kMoreDataSize - 90, 128);
        m_srec = image("s19", kDataBase - 40, 256) + image("s19", kMoreDataBase + kMoreDataSize - 90, 128);
        ASSERT_GT(m_hex.size(), 900U);
        ASSERT_GT(m_srec.size(), 900U);
    }

    /// Machine code of the library as objcopy writes it.
    std::string image(const std::string& format, std::uint32_t address, std::size_t size) {
        const std::string library = support::contentOf(TALVEX_LIBRARY_FILE);
        m_folder.file("in.bin", library.substr(library.size() / 2, size));
        const std::string command = "objcopy -I binary -O " + std::string(format == "hex" ? "ihex" : "srec") +
                                    " --change-addresses " + std::to_string(address) + " '" +
                                    m_folder.path("in.bin") + "' '" + m_folder.path("out") + "'";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return m_folder.text("out");
    }

    std::string m_hex;
    std::string m_srec;
    support::TempFolder m_folder;
};

/// The blocks of a file as a host reads them that survives malformed ones.
std::list<mem_buf> blocksOf(const std::string& path) {
    try {
        return ParseMemFile(path);
    } catch (const std::exception&) {
        return {};
    }
}

Bytes outsideOf(const sim::XcpEcu& ecu) {
    Bytes all;
    for (const EcuSegment segment : kOutside) {
        const Bytes page = ecu.readPage(segment, 0);
        all.insert(all.end(), page.begin(), page.end());
    }
    return all;
}

Bytes pagesOf(const sim::XcpEcu& ecu, EcuPage page) {
    Bytes all = ecu.readPage(kDataSegment, page);
    const Bytes more = ecu.readPage(kMoreDataSegment, page);
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

TEST_F(BrokenFiles, NeverCrashNorHangNorWriteOutsideTheNamedSegments) {
    const std::uint32_t seed = chooseSeed();
    SCOPED_TRACE(testing::Message() << "run again with TALVEX_SEED=" << seed);
    RecordProperty("seed", std::to_string(seed));
    std::printf("seed %u\n", seed);
    Random random(seed);
    MemoryBench bench(memoryEcu(true, true));
    const Bytes outside = outsideOf(bench.ecu);
    std::set<int> forced;
    std::set<int> downloaded;
    testing::internal::CaptureStderr();  // what the readers say about broken lines
    for (int variant = 0; variant < kVariants && !HasFailure(); ++variant) {
        SCOPED_TRACE(variant);
        const bool hex = random() % 2 == 0;
        const std::string path = m_folder.file(hex ? "broken.hex" : "broken.s19",
                                               damaged(random, hex ? m_hex : m_srec, hex ? m_srec : m_hex));
        const Bytes ram = pagesOf(bench.ecu, kRamPage);
        forced.insert(bench.forces(path));
        EXPECT_EQ(pagesOf(bench.ecu, kRamPage), ram) << "by force";
        ASSERT_EQ(bench.connects(), 0);
        const Bytes flash = pagesOf(bench.ecu, kFlashPage);
        downloaded.insert(bench.downloads(mcMemDataWorking, blocksOf(path)));
        EXPECT_EQ(pagesOf(bench.ecu, kFlashPage), flash) << "by a download";
        EXPECT_EQ(outsideOf(bench.ecu), outside);
    }
    static_cast<void>(testing::internal::GetCapturedStderr());
    // Success, no block, nothing in a range, and by force a cell that was not cleared. By a download a frame
    // that was refused: a block inside the second segment meets the page of flash, for only a block at its
    // start switches the page.
    EXPECT_THAT(forced, testing::IsSubsetOf({0, 28, 29, 61}));
    EXPECT_THAT(downloaded, testing::IsSubsetOf({0, 28, 29, 35}));
    EXPECT_TRUE(downloaded.contains(0)) << "some were whole enough";
}

}  // namespace
}  // namespace systemtest
