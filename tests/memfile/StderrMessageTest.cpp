#include "memfile/StderrMessage.h"

#include "TalvexMemory.h"
#include "tests/memfile/Blocks.h"

#include <algorithm>
#include <sstream>
#include <thread>

#if defined(__linux__)
#include <fcntl.h>
#include <unistd.h>

namespace {

/// A standard error stream that keeps writes apart: each read of the pipe gives what one write put in.
class PacketStderr {
public:
    PacketStderr() : m_before(dup(STDERR_FILENO)) {
        m_open = pipe2(m_ends, O_DIRECT | O_NONBLOCK) == 0 && dup2(m_ends[1], STDERR_FILENO) >= 0;
    }
    ~PacketStderr() {
        dup2(m_before, STDERR_FILENO);
        close(m_before);
        close(m_ends[0]);
        close(m_ends[1]);
    }
    PacketStderr(const PacketStderr&) = delete;
    PacketStderr& operator=(const PacketStderr&) = delete;

    bool isOpen() const { return m_open; }

    std::vector<std::string> packets() const {
        std::vector<std::string> found;
        char packet[4096];
        for (ssize_t size; (size = read(m_ends[0], packet, sizeof(packet))) > 0;) {
            found.emplace_back(packet, static_cast<std::size_t>(size));
        }
        return found;
    }

private:
    int m_before;
    int m_ends[2] = {-1, -1};
    bool m_open;
};

}  // namespace

TEST(StderrMessage, EachMessageIsOneWrite) {
    std::vector<std::string> packets;
    {
        const PacketStderr pipe;
        ASSERT_TRUE(pipe.isOpen());
        MergeMemByAddr({}, std::vector<mcMemoryInfo>(2));
        ParseMemFile("/no/such/file.hex");
        packets = pipe.packets();
    }
    EXPECT_EQ(packets, (std::vector<std::string>{"指定地址区间无hex内容: 0x0 - 0xffffffff\n",
                                                 "指定地址区间无hex内容: 0x0 - 0xffffffff\n",
                                                 "无法打开文件: /no/such/file.hex\n"}));
}
#endif

TEST(StderrMessage, MessagesOfSeveralThreadsDoNotMix) {
    const std::string said = stderrOf([] {
        std::vector<std::thread> threads;
        for (const char letter : {'a', 'b', 'c', 'd'}) {
            threads.emplace_back([letter] {
                for (int i = 0; i < 500; ++i) {
                    memfile::writeStderr(std::string(50, letter) + "\n");
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    std::istringstream stream(said);
    int count = 0;
    for (std::string line; std::getline(stream, line); ++count) {
        ASSERT_EQ(line, std::string(50, line.front()));
    }
    EXPECT_EQ(count, 2000);
}
