#pragma once

#include <vector>

namespace kestrane {

/// A growable array of T with a count and element-wise comparison.
template <class T>
using ValArray = std::vector<T>;

}  // namespace kestrane
