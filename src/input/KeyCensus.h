#pragma once

#include <span>

#include "input/Keyword.h"

namespace kestrane {

/// Every keyword registered so far in whatever dictionary, in no promised order: the linker decides
/// which source's keywords come first. For tools that describe the language; the program itself
/// looks words up in the dictionaries. Valid until the next registration.
std::span<const CmdKey* const> registered_keys();

}  // namespace kestrane
