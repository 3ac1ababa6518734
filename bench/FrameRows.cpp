// Rows P1, P2 and P15: frames on their way into the store.

#include "TalvexPlain.h"
#include "bench/Allocations.h"
#include "bench/Harness.h"
#include "transport/FrameStore.h"
#include "transport/IdRegistry.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <cstdint>
#include <list>
#include <mutex>
#include <set>
#include <string>

namespace {

constexpr std::size_t kCalls = 20000;
constexpr std::size_t kDrain = 64;
constexpr std::uint32_t kFirstId = 0x100;
constexpr std::uint32_t kUnwantedId = 0x7FF;
constexpr std::array<std::uint8_t, 8> kData{1, 2, 3, 4, 5, 6, 7, 8};

std::set<std::uint32_t> idSet(std::uint32_t count) {
    std::set<std::uint32_t> ids;
    for (std::uint32_t i = 0; i < count; ++i) {
        ids.insert(kFirstId + 3 * i);
    }
    return ids;
}

void receive(std::uint32_t id) {
    recvCanMsg(1, 2, 0, id, kData.size(), kData.data());
}

bench::Figure unwanted(std::uint32_t count) {
    const std::set<std::uint32_t> ids = idSet(count);
    registerIds(ids);
    std::mutex mutex;
    const std::uint64_t before = bench::allocations();
    receive(kUnwantedId);
    if (bench::allocations() != before) {
        return bench::failed("a frame nobody wants allocates");
    }
    const bench::Figure figure = bench::compareInterleaved(
        bench::wallBlock(kCalls, [] { receive(kUnwantedId); }), bench::wallBlock(kCalls, [&] {
            const std::lock_guard lock(mutex);
            benchmark::DoNotOptimize(ids.contains(kUnwantedId));
        }));
    releaseIds(ids);
    return figure;
}

/// The same call with 100 identifiers against 3.
bench::Figure unwantedByCount() {
    const std::set<std::uint32_t> few = idSet(3);
    const std::set<std::uint32_t> many = idSet(100);
    const bench::Block calls = bench::wallBlock(kCalls, [] { receive(kUnwantedId); });
    const auto with = [&](const std::set<std::uint32_t>& ids) {
        registerIds(ids);
        const double cost = calls();
        releaseIds(ids);
        return cost;
    };
    return bench::compareInterleaved([&] { return with(many); }, [&] { return with(few); });
}

bench::Figure wanted(std::uint32_t count) {
    const std::set<std::uint32_t> ids = idSet(count);
    registerIds(ids);
    std::mutex mutex;
    std::list<msgBuf> list;
    std::size_t received = 0;
    std::size_t pushed = 0;
    const auto subject = [&] {
        receive(kFirstId);
        if (++received % kDrain == 0) {
            benchmark::DoNotOptimize(takeFrames(0, kFirstId, false));
        }
    };
    const auto baseline = [&] {
        msgBuf frame;
        frame.id = kFirstId;
        std::list<msgBuf> drained;
        const std::lock_guard lock(mutex);
        list.push_back(frame);
        if (++pushed % kDrain == 0) {
            drained.swap(list);
        }
    };
    const bench::Figure figure =
        bench::compareInterleaved(bench::wallBlock(kCalls, subject), bench::wallBlock(kCalls, baseline));
    releaseIds(ids);
    return figure;
}

/// Heap bytes of a list at its limit.
bench::Figure fullList() {
    const std::set<std::uint32_t> ids = idSet(1);
    registerIds(ids);
    receive(kFirstId);
    takeFrames(0, kFirstId, false);
    const std::size_t before = mallinfo2().uordblks;
    for (std::size_t i = 0; i < FrameStore::kListLimit + 100; ++i) {
        receive(kFirstId);
    }
    const std::size_t used = mallinfo2().uordblks - before;
    const std::size_t kept = takeFrames(0, kFirstId, false).size();
    releaseIds(ids);
    if (kept != FrameStore::kListLimit) {
        return bench::failed("the list keeps " + std::to_string(kept) + " frames");
    }
    return bench::compared(static_cast<double>(used), static_cast<double>(kept * 88));
}

constexpr const char* kLookUp = "look-up in a set under a mutex";
constexpr const char* kPush = "push to a list under a mutex";

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow({"P1", "recvCanMsg, frame nobody wants, 3 identifiers", kLookUp, "ns", bench::atMost(2.0),
                   [] { return unwanted(3); }}),
    bench::addRow({"P1", "recvCanMsg, frame nobody wants, 100 identifiers", kLookUp, "ns", bench::atMost(2.0),
                   [] { return unwanted(100); }}),
    bench::addRow({"P1", "recvCanMsg, frame nobody wants, 100 identifiers", "the same with 3", "ns",
                   bench::atMost(1.5), unwantedByCount}),
    bench::addRow({"P2", "recvCanMsg, wanted frame, 3 identifiers", kPush, "ns", bench::atMost(2.0),
                   [] { return wanted(3); }}),
    bench::addRow({"P2", "recvCanMsg, wanted frame, 100 identifiers", kPush, "ns", bench::atMost(2.0),
                   [] { return wanted(100); }}),
    bench::addRow({"P15", "a store list at its limit", "4096 frames of 88 bytes", "bytes", bench::atMost(1.5),
                   fullList}),
};

}  // namespace
