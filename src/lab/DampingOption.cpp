#include "lab/DampingOption.h"

#include <algorithm>

#include "lab/NumberText.h"

namespace kestrane {

void DampingOption::read(Reader& reader, const EOSLab& lab) {
    double number = UNSET;
    if (reader.NextDouble(number, 0.0, 1.0) > 0) {
        if (number != UNSET) value = number;
        variable = -1;
        return;
    }
    std::string word;
    if (reader.NextWord(word) <= 0) return;
    variable = lab.findVariable(word);
    if (variable < 0) reader.Unread();
}

double DampingOption::factor(EOSLab& lab) const {
    if (variable < 0) return value;
    const double given = lab.variable_value(static_cast<std::size_t>(variable));
    const double limited = std::clamp(given, 0.0, 1.0);
    if (limited != given)
        lab.errors().Add("The requested damping factor (" + general_text(given) +
                             ") was changed to the " +
                             (given < 0.0 ? "lower limit of 0" : "upper limit of 1"),
                         WARNING);
    return limited;
}

std::string damping_text(double factor) {
    return factor == 1.0 ? std::string() : "damping " + general_text(factor);
}

}  // namespace kestrane
