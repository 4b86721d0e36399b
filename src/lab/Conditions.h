#pragma once

#include "input/Reader.h"
#include "input/Units.h"

namespace kestrane {

/// Reads up to one temperature and one pressure on the line, in either order, each known by its
/// unit. A bare number is the temperature first, the pressure next. What does not stand there keeps
/// its value.
void read_temperature_and_pressure(Reader& reader, ValueWithUnit& temperature,
                                   ValueWithUnit& pressure);

}  // namespace kestrane
