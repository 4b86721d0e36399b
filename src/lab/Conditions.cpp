#include "lab/Conditions.h"

#include <vector>

namespace kestrane {

void read_temperature_and_pressure(Reader& reader, ValueWithUnit& temperature,
                                   ValueWithUnit& pressure) {
    const LineLimitScope one_line(reader, 0);
    std::vector<const UnitSet*> sets{&unit_set(UnitKind::Temperature),
                                     &unit_set(UnitKind::Pressure)};
    std::vector<ValueWithUnit*> targets{&temperature, &pressure};
    while (!sets.empty()) {
        ValueWithUnit value;
        const int kind = ReadValue(reader, value, sets, 0);
        if (kind < 0) return;
        *targets[static_cast<std::size_t>(kind)] = value;
        sets.erase(sets.begin() + kind);
        targets.erase(targets.begin() + kind);
    }
}

}  // namespace kestrane
