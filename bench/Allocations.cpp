#include "bench/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local std::uint64_t t_allocations = 0;

}  // namespace

namespace bench {

std::uint64_t allocations() {
    return t_allocations;
}

}  // namespace bench

// The forms for arrays and those that do not throw lead to these in the C++ library.

void* operator new(std::size_t size) {
    ++t_allocations;
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
