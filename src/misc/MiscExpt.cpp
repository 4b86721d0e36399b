#include "misc/MiscExpt.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kestrane {

namespace {

struct MechanismText {
    const char* label;
    const char* name;
};
constexpr std::array<MechanismText, 5> MECHANISMS{{{"IMM", "Immiscibility"},
                                                   {"VGD", "Vaporizing Gas Drive Miscibility"},
                                                   {"CGD", "Condensing Gas Drive Miscibility"},
                                                   {"C/V", "Condensing/Vaporizing Miscibility"},
                                                   {"FCM", "First-Contact Miscibility"}}};

/// The row of cells tells apart what two end tie-lines cannot: with three components there are no
/// others.
constexpr int MOST_COMPONENTS_WITHOUT_ROW = 3;

const MechanismText& text_of(int mechanism) {
    return MECHANISMS[static_cast<std::size_t>(std::clamp(mechanism, 0, 4))];
}

}  // namespace

const char* mechanism_label(int mechanism) {
    return text_of(mechanism).label;
}
const char* mechanism_name(int mechanism) {
    return text_of(mechanism).name;
}

CellScope::CellScope(PVTCell& cell) : policies_(cell), cell_(cell), saved_(cell.save()) {}

CellScope::~CellScope() {
    cell_.restore(saved_);
}

TrialPolicies::TrialPolicies(PVTCell& cell, int init_policy) : policies_(cell) {
    cell.init_policy = init_policy;
    cell.test1 = std::max<int>(cell.test1, TEST_TRIVIAL);
}

bool tieLineSide(std::span<const double> b, std::span<const double> a, std::span<const double> p,
                 std::span<const double> q) {
    double sum = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double both = p[i] + q[i];
        if (both > 0.0) sum += (a[i] - b[i]) * (q[i] - p[i]) / both;
    }
    return sum >= 0.0;
}

double immiscibility(std::span<const double> x, std::span<const double> y) {
    double sum = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) sum += std::abs(y[i] - x[i]);
    return sum * sum;
}

MiscExpt::MiscExpt(EOSLab& lab, Writer& writer, const Command& command, const Misc_Input& input)
    : lab_(lab),
      writer_(writer),
      command_(command),
      input_(input),
      cell_(lab.cell()),
      cells_(input.cells) {}

bool MiscExpt::find_fluid(const std::string& name, Tank& tank) {
    Charzation* charz = lab_.Charz_User::current();
    const int component = charz ? charz->find_component(name) : -1;
    if (const PtrTo<Tank> mixture = lab_.find_mixture(name)) {
        tank.copy(*mixture);
    } else if (component >= 0) {
        tank.rebind(charz);
        tank.set_mole(component, 1.0);
    } else {
        writer_.Error({"Injection mixture \"" + name + "\" is undefined.",
                       command_.Location("Problem for ", ".")});
        return false;
    }
    return true;
}

bool MiscExpt::prepare_fluid(Tank& tank) {
    return cell_.prepare_stream(&tank, "injection");
}

bool MiscExpt::prepare() {
    if (!cell_.prepare()) return false;
    oil_.assign(cell_.feed->moles().begin(), cell_.feed->moles().end());
    const CellScope scope(cell_);
    std::vector<double> pure(oil_.size(), 0.0);
    double greatest = -1.0, least = UNDEFINED;
    for (std::size_t i = 0; i < pure.size() && usable(); ++i) {
        pure[i] = 1.0;
        const double pressure = vapor_pressure_of(pure);
        pure[i] = 0.0;
        if (pressure > greatest) {
            greatest = pressure;
            lightest_ = static_cast<int>(i);
        }
        if (pressure < least) {
            least = pressure;
            heaviest_ = static_cast<int>(i);
        }
    }
    return usable();
}

double MiscExpt::vapor_pressure_of(std::span<const double> fluid) {
    const ValueWithUnit pressure = cell_.pressure;
    set_feed(fluid);
    cell_.vapor_pressure();
    const double result = cell_.pressure.value;
    cell_.pressure = pressure;
    return result;
}

int MiscExpt::componentCount(const Tank& tank1, const Tank& tank2) const {
    int count = 0;
    for (std::size_t i = 0; i < oil_.size(); ++i)
        if (oil_[i] > 0.0 || tank1.moles()[i] > 0.0 || tank2.moles()[i] > 0.0) ++count;
    return count;
}

bool MiscExpt::uses_cond_vap() const {
    return use_cond_vap && componentCount(injected_, injected_) > MOST_COMPONENTS_WITHOUT_ROW;
}

double MiscExpt::saturation_or(const std::vector<double>& fluid, double otherwise) {
    ErrorList& errors = lab_.errors();
    const ErrorList before = errors;
    const ValueWithUnit pressure = cell_.pressure;
    set_feed(fluid);
    const bool found = cell_.saturation(+1);
    const double result = found ? cell_.pressure.value : otherwise;
    cell_.pressure = pressure;
    if (errors.usable()) errors = before;
    return result;
}

double MiscExpt::test(int number, int& mechanism) {
    gas_.assign(injected_.moles().begin(), injected_.moles().end());
    mechanism = number;
    if (number == COND_VAP) return condensingVaporizingTest(nullptr, mechanism);
    return contactTest(nullptr, mechanism);
}

void MiscExpt::report_trial(int test_number, const std::string& place) {
    const std::string label = mechanism_label(test_number);
    const std::string prefix =
        "Problem for " + input_.fluids.front() + ", " + label + " " + place + ", ";
    lab_.errors().Report(writer_, command_.word + " calculation", command_.Location(prefix, "."),
                         ResultHeadline);
    lab_.errors().Clear();
}

void MiscExpt::print_heading(const std::string& section_heading) const {
    const std::string heading =
        input_.id.empty() ? section_heading : section_heading + ": " + input_.id;
    writer_.Line(heading);
    writer_.Line(std::string(heading.size(), '='));
}

std::string MiscExpt::results_of(const std::string& fluids) const {
    return "Results of " + std::to_string(cells_) + (cells_ == 1 ? " stage" : " stages") +
           " (using " + fluids + ") at ";
}

void MiscExpt::set_feed(std::span<const double> fluid) {
    std::ranges::copy(fluid, cell_.feed->moles().begin());
    cell_.feed->moles_changed();
}

void MiscExpt::flash_mix(double share_a, std::span<const double> a, double share_b,
                         std::span<const double> b) {
    const std::span<double> feed = cell_.feed->moles();
    for (std::size_t i = 0; i < feed.size(); ++i) feed[i] = share_a * a[i] + share_b * b[i];
    cell_.feed->moles_changed();
    cell_.flash();
}

}  // namespace kestrane
