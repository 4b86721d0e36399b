#include "misc/MiscText.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "misc/MiscExpt.h"

namespace kestrane {

std::string immiscibility_text(double value) {
    std::ostringstream text;
    text << std::setw(20) << std::scientific << std::setprecision(5) << value;
    return text.str();
}

std::string trial_text(double value) {
    constexpr int DIGITS = 5;
    const double size = std::abs(value);
    int decimals = DIGITS - 1;
    if (size >= 10.0) decimals -= std::min(decimals, static_cast<int>(std::log10(size)));
    std::ostringstream text;
    text << std::setw(15) << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string test_title(int mechanism) {
    return std::string(mechanism_label(mechanism)) + " Miscibility Test:";
}

void print_contacts(Writer& writer, int mechanism, std::span<const double> values) {
    writer.Newlines(1);
    writer.Line(test_title(mechanism));
    writer.Newlines(1);
    writer.Line(" Contact      Immiscibility");
    writer.Line("---------    ---------------");
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::ostringstream line;
        line << std::setw(6) << i + 1 << immiscibility_text(values[i]);
        writer.Line(line.str());
    }
}

void print_stage_head(Writer& writer) {
    writer.Newlines(1);
    writer.Line(test_title(COND_VAP));
    writer.Newlines(1);
    writer.Line(" Stage     Mechanism     Immiscibility     Extrapolated");
    writer.Line("-------   -----------   ---------------   --------------");
}

}  // namespace kestrane
