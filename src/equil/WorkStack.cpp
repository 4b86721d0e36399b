#include "equil/WorkStack.h"

#include <algorithm>
#include <limits>

#include "frame/Errors.h"

namespace kestrane {

std::span<double> WorkStack::take(std::size_t count) {
    if (count > buffer_.size() - top_) throw LogicError{};
    const std::span<double> taken = std::span(buffer_).subspan(top_, count);
    top_ += count;
    return taken;
}

void WorkStack::release(std::size_t top) {
#ifndef NDEBUG
    std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(top),
              buffer_.begin() + static_cast<std::ptrdiff_t>(top_),
              std::numeric_limits<double>::quiet_NaN());
#endif
    top_ = top;
}

}  // namespace kestrane
