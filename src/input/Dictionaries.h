#pragma once

#include <vector>

#include "input/Keyword.h"

namespace kestrane {

/// Every dictionary in which a keyword was registered, in the order of their first keywords: the
/// whole language, for those who list or check it. Complete once main has begun.
const std::vector<const CmdDictionary*>& all_dictionaries();

}  // namespace kestrane
