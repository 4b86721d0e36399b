#include "input/Heading.h"

#include <cstddef>

namespace kestrane {

const std::string& Heading::BestName(int width) const {
    static const std::string none;
    if (aliases.empty()) return none;
    if (width == -1) return aliases.front();
    for (const std::string& name : aliases) {
        if (width >= 0 && name.size() <= static_cast<std::size_t>(width)) return name;
    }
    return aliases.back();
}

}  // namespace kestrane
