#include "memfile/IntelHexReader.h"
#include "memfile/SrecReader.h"
#include "tests/memfile/Blocks.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>

namespace {

const std::string kSample =
    ":020000048000FA\n:02100000AABB89\r\n:020000021000EC\n:01100200CC21\n:00000001FF\n"
    "S00600004844521B\nS1051000AABB85\nS206012345AABB2B\r\nS30780001000AABB03\nS70500000000FA\n";

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t limit) {
    return random() % limit;
}

/// A few changes to the sample: characters replaced, taken out, put in, doubled.
std::string mutated(Random& random) {
    static const std::string characters = std::string("\0\n\r \t:SGgx-+0123456789aAfF\xFF", 28);
    std::string text = kSample;
    for (std::size_t change = below(random, 12); change > 0 && !text.empty(); --change) {
        const std::size_t at = below(random, text.size());
        const char character = characters[below(random, characters.size())];
        switch (below(random, 4)) {
            case 0:
                text[at] = character;
                break;
            case 1:
                text.erase(at, 1 + below(random, 6));
                break;
            case 2:
                text.insert(at, 1, character);
                break;
            default:
                text.insert(at, text.substr(at, below(random, 40)));
                break;
        }
    }
    return text;
}

std::string noise(Random& random) {
    std::string text(below(random, 600), '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    return (below(random, 2) == 0 ? ":" : "S1") + text;
}

/// Runs a reader; nothing but the one exception of its contract may come out.
/// @return the bytes of the image, 0 if the reader threw
template <typename Reader>
std::size_t bytesRead(Reader reader, const std::string& text) {
    std::istringstream stream(text);
    try {
        std::size_t bytes = 0;
        for (const mem_buf& found : reader(stream)) {
            bytes += found.data.size();
        }
        return bytes;
    } catch (const std::out_of_range&) {
        return 0;
    }
}

}  // namespace

TEST(HostileInput, NoTextMakesAReaderCrashOrInventBytes) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    stderrOf([&] {
        for (int i = 0; i < 20000; ++i) {
            const std::string text = i % 4 == 0 ? noise(random) : mutated(random);
            ASSERT_LE(bytesRead(ParseHexStream, text), text.size() / 2) << text;
            ASSERT_LE(bytesRead(ParseSrecStream, text), text.size() / 2) << text;
        }
    });
}

TEST(HostileInput, AnSrecordNeverThrows) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    stderrOf([&] {
        for (int i = 0; i < 5000; ++i) {
            std::istringstream stream(mutated(random));
            ASSERT_NO_THROW(ParseSrecStream(stream));
        }
    });
}

TEST(HostileInput, EveryTruncationOfTheSampleIsSurvived) {
    std::size_t hexBytes = 0;
    std::size_t srecBytes = 0;
    stderrOf([&] {
        for (std::size_t length = 0; length <= kSample.size(); ++length) {
            hexBytes = bytesRead(ParseHexStream, kSample.substr(0, length));
            srecBytes = bytesRead(ParseSrecStream, kSample.substr(0, length));
        }
    });
    EXPECT_EQ(hexBytes, 3U);
    EXPECT_EQ(srecBytes, 6U);
}
