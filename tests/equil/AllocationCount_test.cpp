#include "equil/AllocationCount.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

long made = 0;

void* counted(std::size_t size) {
    ++made;
    void* block = std::malloc(size > 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    return block;
}

}  // namespace

// All forms, or the sanitizers see a block of theirs in our delete.
void* operator new(std::size_t size) {
    return counted(size);
}
void* operator new[](std::size_t size) {
    return counted(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++made;
    return std::malloc(size > 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    ++made;
    return std::malloc(size > 0 ? size : 1);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}

namespace kestrane {

long allocations_made() {
    return made;
}

namespace {

TEST(AllocationCount, CountsEveryFormOfNew) {
    const AllocationCount count;
    EXPECT_EQ(count.made(), 0);
    const auto one = std::make_unique<int>(1);
    EXPECT_EQ(count.made(), 1);
    const auto array = std::make_unique<double[]>(3);
    EXPECT_EQ(count.made(), 2);
    const std::vector<double> vector(5, *one + array[0]);
    EXPECT_EQ(count.made(), 3);
    const std::string text(100, 'a');
    EXPECT_EQ(count.made(), 4);
}

}  // namespace
}  // namespace kestrane
