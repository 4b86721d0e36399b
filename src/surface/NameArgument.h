#pragma once

#include <string>

#include "input/Reader.h"

namespace kestrane {

/// Reads the name of a thing ("separator") on the keyword's line; an error and empty without one.
std::string read_name_of(Reader& reader, const std::string& thing);

/// A fatal error with its place in the script: the message, three location lines, what follows.
[[noreturn]] void fatal_here(Reader& reader, const std::string& message,
                             const std::string& last = {});

}  // namespace kestrane
