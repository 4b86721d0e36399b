#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "fluid/Compnent.h"
#include "frame/PtrTo.h"

namespace kestrane {

/// One entry of the built-in library of pure substances, as published: MW in kg/kmol, K, bar,
/// cm3/mol; UNSET where not known.
struct LibraryEntry {
    const char* full_name;
    const char* aliases[5];  ///< null where fewer
    double mw, tb, tc, pc, vc, zc, acentric;
    double liquid_volume;  ///< cm3/mol at ref_temp
    double ref_temp;       ///< K
    double parachor;
};

inline constexpr std::size_t LIBRARY_SIZE = 88;

/// All entries, by boiling point.
std::span<const LibraryEntry> library_entries();

/// The component of that name (internal units), or a null handle.
PtrTo<const Compnent> library_find(const std::string& word);

/// Fills what is UNSET in `component` from the library entry of its name, or, for "N-C" and a
/// number above 3, from the normal paraffin of that carbon number. False if nothing matched.
bool apply_library(Compnent& component);

/// The integer that the characters from `text` on begin with, as atoi reads it; 0 if none.
/// Out-of-range values give INT_MAX or INT_MIN.
int leading_integer(const char* text);

}  // namespace kestrane
