#include "tests/alloc/FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace alloc {
namespace {

std::atomic<std::int64_t> g_live = 0;
thread_local bool g_armed = false;
thread_local bool g_happened = false;
thread_local std::size_t g_calls = 0;
thread_local std::size_t g_failAt = 0;
thread_local Failing g_failing = Failing::once;

bool fails() noexcept {
    if (!g_armed) {
        return false;
    }
    ++g_calls;
    const bool failsNow = g_calls == g_failAt || (g_calls > g_failAt && g_failing == Failing::fromThenOn);
    g_happened = g_happened || failsNow;
    return failsNow;
}

/// @param alignment  0 for that of `malloc`
void* take(std::size_t size, std::size_t alignment) noexcept {
    if (fails()) {
        return nullptr;
    }
    const std::size_t least = size == 0 ? 1 : size;
    void* const block = alignment == 0
                            ? std::malloc(least)
                            : std::aligned_alloc(alignment, (least + alignment - 1) / alignment * alignment);
    g_live += block != nullptr;
    return block;
}

void* takeOrThrow(std::size_t size, std::size_t alignment) {
    void* const block = take(size, alignment);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void give(void* block) noexcept {
    g_live -= block != nullptr;
    std::free(block);
}

}  // namespace

std::int64_t liveBlocks() {
    return g_live;
}

FailingNew::FailingNew(std::size_t number, Failing failing) {
    g_calls = 0;
    g_happened = false;
    g_failAt = number;
    g_failing = failing;
    g_armed = true;
}

FailingNew::~FailingNew() {
    disarm();
}

void FailingNew::disarm() {
    g_armed = false;
}

bool FailingNew::happened() {
    return g_happened;
}

std::size_t FailingNew::calls() {
    return g_calls;
}

}  // namespace alloc

using alloc::give;
using alloc::take;
using alloc::takeOrThrow;

void* operator new(std::size_t size) {
    return takeOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
    return takeOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return take(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return take(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*unused*/) noexcept {
    return take(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*unused*/) noexcept {
    return take(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept {
    give(block);
}
void operator delete[](void* block) noexcept {
    give(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    give(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    give(block);
}
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
    give(block);
}
void operator delete[](void* block, std::align_val_t /*alignment*/) noexcept {
    give(block);
}
void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    give(block);
}
void operator delete[](void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    give(block);
}
void operator delete(void* block, const std::nothrow_t& /*unused*/) noexcept {
    give(block);
}
void operator delete[](void* block, const std::nothrow_t& /*unused*/) noexcept {
    give(block);
}
