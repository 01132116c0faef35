// Replaces the allocation functions of the program that includes this, in one of its files: they
// count the allocations of each thread and let its memory run out.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

inline thread_local std::size_t allocations = 0;
inline thread_local int allocationsLeft = -1; // negative: memory never runs out

// How many allocations of this thread still succeed while it lives.
struct Shortage {
    explicit Shortage(int after) { allocationsLeft = after; }
    ~Shortage() { allocationsLeft = -1; }
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
};

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    if (allocationsLeft == 0) {
        return nullptr;
    }
    allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
// Inlined without its counterpart, a compiler would see memory freed that was never allocated so.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
