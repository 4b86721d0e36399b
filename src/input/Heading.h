#pragma once

#include "input/Keyword.h"

namespace kestrane {

/// Names under which a thing is printed, from long to short.
class Heading : public Keyword {
public:
    using Keyword::Keyword;
    /// The first name not longer than `width`, else the last; with width -1, the first.
    const std::string& BestName(int width) const;
};

}  // namespace kestrane
