#include "faults/Allocations.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

using kestrane::faults::Shortage;

long counted = 0;
long failing = 0;
Shortage kind = Shortage::None;
long memory_left = -1;  ///< bytes, once memory is short; below zero before

bool fails(long size) {
    ++counted;
    if (kind == Shortage::None) return false;
    if (kind == Shortage::Once) return counted == failing;
    if (counted == failing) memory_left = 0;
    return memory_left >= 0 && size > memory_left;
}

void* take(std::size_t size) {
    void* const block = std::malloc(size > 0 ? size : 1);
    if (!block) return nullptr;
    const long taken = static_cast<long>(malloc_usable_size(block));
    if (fails(taken)) {
        std::free(block);
        return nullptr;
    }
    if (memory_left >= 0) memory_left -= taken;
    return block;
}

void give_back(void* block) {
    if (memory_left >= 0 && block) memory_left += static_cast<long>(malloc_usable_size(block));
    std::free(block);
}

}  // namespace

// All forms, or the sanitizers see a block of theirs in our delete.
void* operator new(std::size_t size) {
    if (void* const block = take(size)) return block;
    // The standard's operator asks the handler of the program, which may give up.
    if (const std::new_handler handler = std::get_new_handler()) handler();
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* block) noexcept {
    give_back(block);
}
void operator delete[](void* block) noexcept {
    give_back(block);
}
void operator delete(void* block, std::size_t) noexcept {
    give_back(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    give_back(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    give_back(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    give_back(block);
}

namespace kestrane::faults {

void fail_allocation(long number, Shortage shortage) {
    counted = 0;
    failing = number;
    kind = shortage;
    memory_left = -1;
}

long allocations_counted() {
    return counted;
}

}  // namespace kestrane::faults
