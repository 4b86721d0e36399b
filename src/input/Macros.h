#pragma once

#include <map>
#include <string>

namespace kestrane {

/// Macro table of a script: upper-case name to text.
using Macros = std::map<std::string, std::string>;

}  // namespace kestrane
