#pragma once

#include <string>
#include <utility>

namespace kestrane {

/// The run is over; the message has been printed.
struct FatalError {};
/// An internal inconsistency; nothing was printed.
struct LogicError {};

/// Gamma distribution parameters that describe no distribution.
struct BadGamma {};
/// A lump of another length than the characterization it is used with.
struct BadLump {};
/// A component without a usable molecular weight where mass is asked for.
struct BadMW {};
/// A component index out of range, or a component table that names no component.
struct BadComponent {};
/// A mixture with no amount where a composition is asked for.
struct BadTank {};
/// A mixture that could not be converted to another characterization.
struct UnconvertedTank {
    std::string reason;  ///< lines joined by '\n', may be empty
};

}  // namespace kestrane
