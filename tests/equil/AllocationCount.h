#pragma once

namespace kestrane {

/// Allocations made by the program since it began; the test program replaces operator new.
long allocations_made();

/// Counts the allocations made from its construction on.
class AllocationCount {
public:
    long made() const { return allocations_made() - before_; }

private:
    long before_ = allocations_made();
};

}  // namespace kestrane
