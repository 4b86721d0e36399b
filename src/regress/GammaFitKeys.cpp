// FIT and MODEL of GAMMA: the distribution of a plus fraction against a mixture's analysis.

#include <algorithm>
#include <vector>

#include "fluid/GammaCmd.h"
#include "fluid/GammaSplit.h"
#include "lab/EOSLab.h"
#include "regress/GammaFit.h"
#include "regress/GammaFit_report.h"

namespace kestrane {

/// FIT or MODEL mixture component [AMOUNTS | MWS], and a block of sub-keywords.
struct GammaFit_Data {
    struct Weight {
        std::string component;
        double value;
    };
    std::string mixture;
    std::string first;  ///< first component of the fraction
    bool by_amounts = false;
    std::string ignored;   ///< first component that is ignored, empty for none
    std::string reported;  ///< last one reported, empty for all
    double default_weight = UNSET;
    double mean_weight = UNSET;
    std::vector<Weight> weights;
    std::size_t cuts = 0;  ///< of the first run
};
using GammaFit_Cmd = UserCmd<Gamma_Cmd, GammaFit_Data>;

template <>
void GammaFit_Cmd::Execute(Reader& reader);

struct GammaIgnore_Data {};
using GammaIgnore_Cmd = UserCmd<GammaFit_Cmd, GammaIgnore_Data>;
struct GammaReport_Data {};
using GammaReport_Cmd = UserCmd<GammaFit_Cmd, GammaReport_Data>;
struct GammaWeight_Data {};
using GammaWeight_Cmd = UserCmd<GammaFit_Cmd, GammaWeight_Data>;

namespace {

std::string read_word(Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    return word;
}

bool fits(const Command& command) {
    return KeyCompare("FIT&", command.word.c_str()) == 0;
}

/// The laboratory that runs the command; null for another owner of characterizations, which has no
/// mixtures.
EOSLab* laboratory(const GammaFit_Cmd& command) {
    return dynamic_cast<EOSLab*>(&command.user().user());
}

PtrTo<Tank> mixture_of(const GammaFit_Cmd& command) {
    EOSLab* lab = laboratory(command);
    return lab ? lab->find_mixture(command.mixture) : PtrTo<Tank>();
}

std::string undefined_mixture(const std::string& name) {
    return "Undefined mixture \"" + name + "\".";
}

/// What to say of a component that the mixture's characterization does not have.
struct UnknownComponent {
    std::string problem;
    std::string required;
};
UnknownComponent unknown_component(const GammaFit_Cmd& command, const std::string& word,
                                   const Charzation* charz) {
    return {"Component \"" + word + "\" is undefined for mixture \"" + command.mixture + "\".",
            "A component of characterization \"" + (charz ? charz->name : "") + "\""};
}

void report_while_reading(Reader& reader, const std::string& problem,
                          const std::vector<std::string>& reasons) {
    std::vector<std::string> lines{problem};
    reader.Locate(lines, 3, true, "Problem detected");
    lines.insert(lines.end(), reasons.begin(), reasons.end());
    reader.Error(lines);
}

/// True if the word is a component of the mixture, as far as that is known while reading; an
/// unknown mixture has been reported already.
bool check_component(Reader& reader, const GammaFit_Cmd& command, const std::string& word,
                     bool or_option) {
    const PtrTo<Tank> mixture = mixture_of(command);
    if (!mixture || reader.lost(word)) return true;
    const Charzation* charz = mixture->charz();
    if (charz && charz->find_component(word) >= 0) return true;
    const UnknownComponent unknown = unknown_component(command, word, charz);
    if (or_option)
        report_while_reading(reader, unknown.problem,
                             {unknown.required + ", or else",
                              "one of the options, \"AVERAGE\" or \"TOTAL\", is required here."});
    else
        report_while_reading(reader, unknown.problem, {unknown.required + " is required here."});
    return false;
}

/// A component name behind a sub-keyword; empty if it is none.
std::string read_component(Reader& reader, const GammaFit_Cmd& command) {
    const std::string word = read_word(reader);
    return check_component(reader, command, word, false) ? word : std::string();
}

/// Position of a component among the cuts; `otherwise` if it is empty, 0 if it is lighter.
std::size_t cut_position(const Charzation& charz, const CutOrder& order, const std::string& name,
                         std::size_t otherwise) {
    if (name.empty()) return otherwise;
    const int component = charz.find_component(name);
    const auto cuts = order.cuts();
    const auto found = std::find(cuts.begin(), cuts.end(), static_cast<std::size_t>(component));
    return found == cuts.end() ? 0 : static_cast<std::size_t>(found - cuts.begin());
}

GammaFitChoice choice_of(const GammaFit_Cmd& command, const Charzation& charz,
                         const CutOrder& order) {
    const std::size_t count = order.cuts().size();
    GammaFitChoice choice;
    choice.fits = fits(command);
    choice.by_amounts = command.by_amounts;
    choice.basis = conserved_basis();
    choice.fit_count = cut_position(charz, order, command.ignored, count);
    choice.reported =
        command.reported.empty() ? count : cut_position(charz, order, command.reported, 0) + 1;
    choice.weights.assign(count + 1, command.default_weight);
    for (const auto& [name, value] : command.weights) {
        const std::size_t k = cut_position(charz, order, name, count);
        if (order.cuts()[k] == static_cast<std::size_t>(charz.find_component(name)))
            choice.weights[k] = value;
    }
    if (command.mean_weight != UNSET) choice.weights.back() = command.mean_weight;
    return choice;
}

std::string problem_headline(std::string_view what, int) {
    return "Problem for " + std::string(what) + ".";
}

void report_problems(GammaFit_Cmd& command, Reader& reader, ErrorList& errors) {
    const std::string what =
        (fits(command) ? "Gamma fitting of " : "Gamma modeling of ") + command.mixture;
    errors.Report(reader, what, command.Location(), problem_headline);
}

void fit_mixture(GammaFit_Cmd& command, Reader& reader, const Tank& mixture,
                 const CutOrder& order) {
    ErrorList errors;
    Charzation& charz = *mixture.charz();
    const std::size_t count = order.cuts().size();
    if (command.cuts == 0) command.cuts = count;
    if (command.cuts != count) {
        errors.Add(std::string("The MW ordering of components was altered through regression,\n"
                               "illegally altering the number of Gamma fractions to be ") +
                       (fits(command) ? "fit" : "modeled"),
                   FATAL_ERROR);
        report_problems(command, reader, errors);
        return;
    }
    const auto fitter =
        make_gamma_fitter(charz, order, mixture, choice_of(command, charz, order), errors);
    if (errors.usable()) fitter->run(reader, errors);
    if (!Fitter::ended_by(errors) && reader.active())
        print_gamma_fit(reader, *fitter, command.mixture);
    report_problems(command, reader, errors);
}

}  // namespace

template <>
void GammaFit_Cmd::Read(Reader& reader, const std::string&) {
    mixture = read_word(reader);
    if (!mixture_of(*this) && !reader.lost(mixture))
        report_while_reading(reader, undefined_mixture(mixture), {"A mixture is required here."});
    first = read_component(reader, *this);
    const std::string option = read_word(reader);
    by_amounts = KeyCompare("AM&", option.c_str()) == 0;
    if (!option.empty() && !by_amounts && KeyCompare("MW&", option.c_str()) != 0) reader.Unread();
    const bool live = immediate;
    immediate = false;
    std::string sub_keyword;
    ReadBlock(reader, sub_keyword, true);
    immediate = live;
    if (live) Execute(reader);
}

template <>
void GammaFit_Cmd::Execute(Reader& reader) {
    const PtrTo<Tank> tank = mixture_of(*this);
    if (!tank) {
        reader.Error({undefined_mixture(mixture), Location("Problem for ", ".")});
        return;
    }
    Charzation* charz = tank->charz();
    for (const std::string* name : {&first, &ignored, &reported}) {
        if (name != &first && name->empty()) continue;
        if (charz && charz->find_component(*name) >= 0) continue;
        const UnknownComponent unknown = unknown_component(*this, *name, charz);
        reader.Error({unknown.problem, Location("Problem for ", "."),
                      unknown.required + " is required here."});
        return;
    }
    fit_mixture(*this, reader, *tank, order_cuts(*charz, charz->find_component(first)));
}

template <>
void GammaIgnore_Cmd::Read(Reader& reader, const std::string&) {
    user().ignored = read_component(reader, user());
}

template <>
void GammaReport_Cmd::Read(Reader& reader, const std::string&) {
    user().reported = read_component(reader, user());
}

template <>
void GammaWeight_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    GammaFit_Data& fit = user();
    double value = UNSET;
    if (reader.NextDouble(value, 0.0) > 0) {
        fit.default_weight = value;
        return;
    }
    const std::string what = read_word(reader);
    const bool of_mean =
        KeyCompare("AVE&", what.c_str()) == 0 || KeyCompare("TOT&", what.c_str()) == 0;
    const bool known = of_mean || check_component(reader, user(), what, true);
    const bool given = reader.NextDouble(value, 0.0) > 0 && value != UNSET;
    if (!known) return;
    if (!given) {
        report_while_reading(reader, "The weight of \"" + what + "\" was not specified.",
                             {"A number is required here."});
        return;
    }
    if (of_mean)
        fit.mean_weight = value;
    else
        fit.weights.push_back({what, value});
}

namespace {

const UserKey<Gamma_Cmd, GammaFit_Data> fit_key{"FIT&", "MOD&"};
const UserKey<GammaFit_Cmd, GammaIgnore_Data> ignore_key{"IGN&"};
const UserKey<GammaFit_Cmd, GammaReport_Data> report_key{"REP&"};
const UserKey<GammaFit_Cmd, GammaWeight_Data> weight_key{"WT", "WGT", "WEIG&", "WGH&"};

}  // namespace

}  // namespace kestrane
