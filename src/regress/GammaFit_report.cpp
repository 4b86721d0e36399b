#include "regress/GammaFit_report.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "frame/Unset.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr std::array<std::size_t, 10> WIDTHS{9, 10, 10, 10, 10, 10, 10, 10, 11, 10};
constexpr std::size_t GAP = 2;
constexpr std::size_t VALUE_WIDTH = 12;
using Cells = std::array<std::string, WIDTHS.size()>;

std::string padded_left(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string padded_right(const std::string& text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

/// The first cell to the left, the others to the right of their columns.
std::string row(const Cells& cells) {
    std::string line = padded_right(cells[0], WIDTHS[0]);
    for (std::size_t i = 1; i < cells.size(); ++i)
        line += std::string(GAP, ' ') + padded_left(cells[i], WIDTHS[i]);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::string separator() {
    Cells dashes;
    for (std::size_t i = 0; i < dashes.size(); ++i) dashes[i] = std::string(WIDTHS[i], '-');
    return row(dashes);
}

void print_pair(Writer& writer, const std::string& left, const std::string& value,
                const std::string& right, const std::string& second) {
    writer.Line(left + padded_left(value, VALUE_WIDTH) + right + padded_left(second, VALUE_WIDTH));
}

void print_parameters(Writer& writer, const Gamma_Fitter& fitter) {
    const auto value = [&fitter](GammaParameter which) {
        return fixed_text(fitter.variable_value(which), 6);
    };
    const int iterations = std::min(fitter.iteration_limit, fitter.iteration_count);
    print_pair(writer, "Shape Parameter (Alpha) ... :", value(SHAPE),
               "     Beta Parameter .... :", general_text(fitter.dist.beta));
    print_pair(writer, "Average MW Multiplier ..... :", value(AVERAGE),
               "     Average Plus MW ... :", general_text(fitter.dist.average));
    print_pair(writer, "Bounding MW Multiplier .... :", value(BOUND),
               "     Bounding MW ....... :", general_text(fitter.dist.bound));
    print_pair(writer, "Origin MW Multiplier ...... :", value(ORIGIN),
               "     Origin MW ......... :", general_text(fitter.dist.origin));
    print_pair(writer, "Number of Iterations ...... :", std::to_string(iterations),
               "     RMS % Error ....... :", fixed_text(100.0 * fitter.rms(), 4));
}

void print_heads(Writer& writer, const Gamma_Fitter& fitter) {
    const bool by_mass = fitter.chosen.basis == Conserved::Mass;
    const char* sub_mw_fit =
        "             Measured  Calculated    Measured  Calculated    Measured  Calculated"
        "    Boundary    (Percent)";
    const char* sub_amounts_fit =
        "             Measured  Calculated    Boundary    Measured  Calculated    Measured"
        "  Calculated    (Percent)";
    writer.Line(separator());
    if (!fitter.chosen.by_amounts)
        writer.Line(
            "Component     Mass        Mass        Moles       Moles        MW          MW"
            "          MW       Deviation     Weight");
    else if (by_mass)
        writer.Line(
            "Component      MW          MW          MW         Mass        Mass        Moles"
            "       Moles     Deviation     Weight");
    else
        writer.Line(
            "Component      MW          MW          MW         Moles       Moles       Mass"
            "        Mass      Deviation     Weight");
    writer.Line(fitter.chosen.by_amounts ? sub_amounts_fit : sub_mw_fit);
    writer.Line(separator());
}

/// One line of the table, for a cut or several together.
struct CutLine {
    std::string name;
    double moles = 0.0, calc_moles = 0.0;
    double masses = 0.0, calc_masses = 0.0;
    double mw = UNSET, calc_mw = UNSET, lower = UNSET;  ///< UNSET prints blank
    double deviation = UNSET;
    std::string weight;

    void add(const Gamma_Fitter& fitter, std::size_t k) {
        moles += fitter.moles[k];
        calc_moles += fitter.calc_moles[k];
        masses += fitter.masses[k];
        calc_masses += fitter.calc_masses[k];
    }
    void mean_weights() {
        if (moles > 0.0) mw = masses / moles;
        if (calc_moles > 0.0) calc_mw = calc_masses / calc_moles;
    }
};

std::string mw_text(double mw) {
    return mw == UNSET ? "" : fixed_text(mw, mw < 1e6 ? 3 : 0);
}

void print_line(Writer& writer, const CutLine& line, const GammaFitChoice& choice) {
    const std::array<std::string, 2> moles{amount_text(line.moles), amount_text(line.calc_moles)};
    const std::array<std::string, 2> masses{amount_text(line.masses),
                                            amount_text(line.calc_masses)};
    const std::string mw = mw_text(line.mw), calc_mw = mw_text(line.calc_mw);
    const std::string lower = mw_text(line.lower);
    const std::string deviation =
        line.deviation == UNSET ? "" : fixed_text(100.0 * line.deviation, 3);
    if (!choice.by_amounts) {
        writer.Line(row({line.name, masses[0], masses[1], moles[0], moles[1], mw, calc_mw, lower,
                         deviation, line.weight}));
        return;
    }
    const bool by_mass = choice.basis == Conserved::Mass;
    const auto& first = by_mass ? masses : moles;
    const auto& second = by_mass ? moles : masses;
    writer.Line(row({line.name, mw, calc_mw, lower, first[0], first[1], second[0], second[1],
                     deviation, line.weight}));
}

CutLine cut_line(const Gamma_Fitter& fitter, std::size_t k) {
    CutLine line;
    line.name = fitter.cut_name(k);
    line.add(fitter, k);
    line.mw = fitter.mws[k];
    line.calc_mw = fitter.calc_mws[k];
    line.lower = fitter.calc_lower[k];
    line.deviation = fitter.deviations[k];
    line.weight =
        k < fitter.chosen.fit_count ? general_text(fitter.weights[k]) : std::string("ignored");
    return line;
}

}  // namespace

void print_gamma_fit(Writer& writer, const Gamma_Fitter& fitter, const std::string& mixture) {
    const std::string title = std::string("Gamma Distribution ") +
                              (fitter.chosen.fits ? "Fit" : "Model") + " of Mixture \"" + mixture +
                              "\"";
    writer.Newlines(2);
    writer.Line(title);
    writer.Line(std::string(title.size(), '='));
    writer.Newlines(1);
    print_parameters(writer, fitter);
    writer.Newlines(1);
    print_heads(writer, fitter);
    CutLine rest, total;
    rest.name = "Heavier";
    total.name = "Total";
    const std::size_t reported = std::min(fitter.chosen.reported, fitter.count);
    for (std::size_t k = 0; k < fitter.count; ++k) {
        total.add(fitter, k);
        if (k >= reported)
            rest.add(fitter, k);
        else
            print_line(writer, cut_line(fitter, k), fitter.chosen);
    }
    if (reported < fitter.count) {
        rest.mean_weights();
        rest.lower = fitter.calc_lower[reported];
        print_line(writer, rest, fitter.chosen);
    }
    writer.Line(separator());
    total.mean_weights();
    total.deviation = fitter.mean_deviation();
    total.weight = general_text(fitter.weights.back());
    print_line(writer, total, fitter.chosen);
    writer.Newlines(1);
}

}  // namespace kestrane
