#pragma once

namespace kestrane::faults {

/// How the test program's operator new fails.
enum class Shortage {
    None,
    Once,     ///< one allocation fails, those after it succeed
    Lasting,  ///< from that one on there is only as much memory as is given back
};

/// Counts from here on; the allocation of that number (from 1) fails.
void fail_allocation(long number, Shortage shortage);
/// Allocations since fail_allocation.
long allocations_counted();

}  // namespace kestrane::faults
