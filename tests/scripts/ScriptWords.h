#pragma once

#include <set>
#include <string>

namespace kestrane {

/// Adds the words of a script that stand outside comment lines. Brackets, "=" and "," part words.
void add_words(const std::string& script, std::set<std::string>& words);

}  // namespace kestrane
