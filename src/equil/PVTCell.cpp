#include "equil/PVTCell.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "equil/EOSolver.h"
#include "fluid/Charzation.h"
#include "frame/Errors.h"

namespace kestrane {

namespace {

/// Negative amounts below this share of the whole are round-off.
constexpr double NEGATIVE_TOLERANCE = 1.1102230246251565e-16;
/// Rounding of one printed fraction; compositions typed with six decimals pass as normalized.
constexpr double NORMALIZE_TOLERANCE = 5e-7;

}  // namespace

PVTCell::PVTCell(PtrTo<Tank> feed_tank, PtrTo<Tank> liquid, PtrTo<Tank> vapor, PtrTo<Tank> nf_x,
                 PtrTo<Tank> nf_y, PtrTo<ErrorList> error_list)
    : errors(std::move(error_list)),
      feed(std::move(feed_tank)),
      eq_liquid(std::move(liquid)),
      eq_vapor(std::move(vapor)),
      nf_liquid(std::move(nf_x)),
      nf_vapor(std::move(nf_y)) {}

void PVTCell::set_charz(Charzation* characterization) {
    charz = characterization;
    const std::size_t size = charz ? charz->size() : 0;
    const unsigned long serial = charz ? charz->serial() : 0;
    n = static_cast<int>(size);
    if (serial == charz_serial && ln_k.size() == size) return;
    charz_serial = serial;
    feed_fractions.assign(size, 0.0);
    ln_k.assign(size, 0.0);
    k.assign(size, 1.0);
}

bool PVTCell::prepare() {
    if (!errors) throw LogicError{};
    set_charz(charz);
    if (!charz) {
        errors->Add("No fluid characterization was ever defined", FATAL_ERROR);
        return false;
    }
    charz->prepare_eos(*errors);
    double before = 1.0;
    if (!errors->usable() || !prepare_stream(feed.get(), "feed", &before)) return false;
    amount *= feed->total_moles() / before;
    for (Tank* tank : {eq_liquid.get(), eq_vapor.get(), nf_liquid.get(), nf_vapor.get()})
        tank->rebind(charz);
    return errors->usable();
}

bool PVTCell::prepare_stream(Tank* tank, const std::string& label, double* amount_before) {
    if (!tank || !errors) throw LogicError{};
    const std::string stream = "The " + label + " stream";
    try {
        tank->convert(charz);
        if (tank->clean_negative(NEGATIVE_TOLERANCE))
            errors->Add(stream + " held negative component amounts, which were reset to zero",
                        ERROR);
        if (amount_before) *amount_before = tank->total_moles();
        if (tank->normalize(tank->n() * NORMALIZE_TOLERANCE))
            errors->Add(stream + " was altered by normalization", WARNING);
    } catch (const UnconvertedTank& failure) {
        errors->Add(conversion_message(stream, *tank, charz, failure.reason), FATAL_ERROR);
    } catch (const BadTank&) {
        errors->Add(stream + " was empty (or never defined properly)", FATAL_ERROR);
    }
    return errors->usable();
}

void PVTCell::flash() {
    if (prepare()) {
        EOSolver solver(*this);
        solver.flash();
    } else {
        give_up();
    }
}

void PVTCell::flash_with_k() {
    if (prepare()) {
        EOSolver solver(*this);
        solver.flash_with_k();
    } else {
        give_up();
    }
}

bool PVTCell::saturation(int sense) {
    if (prepare()) return EOSolver(*this).saturation(sense);
    give_up();
    return false;
}

bool PVTCell::convergence_pressure() {
    if (prepare()) return EOSolver(*this).convergence_pressure();
    give_up();
    return false;
}

void PVTCell::vapor_pressure() {
    if (prepare())
        EOSolver(*this).vapor_pressure();
    else
        give_up();
}

void PVTCell::critical_temperature() {
    if (prepare())
        EOSolver(*this).critical_temperature();
    else
        give_up();
}

void PVTCell::average_critical_temperature() {
    if (prepare())
        EOSolver(*this).average_critical_temperature();
    else
        give_up();
}

CellConditions PVTCell::save() const {
    CellConditions saved;
    saved.temperature = temperature;
    saved.pressure = pressure;
    saved.depth = depth;
    saved.amount = amount;
    saved.feed.copy(*feed);
    saved.x_fraction = x_state.fraction;
    saved.y_fraction = y_state.fraction;
    saved.phase_count = phase_count;
    saved.ln_k = ln_k;
    saved.charz_serial = charz_serial;
    saved.third_phase_position = third_phase_position;
    return saved;
}

void PVTCell::restore(const CellConditions& conditions) {
    temperature = conditions.temperature;
    pressure = conditions.pressure;
    depth = conditions.depth;
    amount = conditions.amount;
    feed->copy(conditions.feed);
    x_state.fraction = conditions.x_fraction;
    y_state.fraction = conditions.y_fraction;
    phase_count = conditions.phase_count;
    third_phase_position = conditions.third_phase_position;
    if (conditions.charz_serial != charz_serial || conditions.ln_k.size() != ln_k.size()) return;
    ln_k = conditions.ln_k;
    for (std::size_t i = 0; i < k.size(); ++i) k[i] = std::exp(ln_k[i]);
}

void PVTCell::restore_and_flash(const CellConditions& conditions, bool keep_init) {
    restore(conditions);
    const int policies[] = {init_policy, test1, test2};
    if (conditions.phase_count == 0) {
        if (!keep_init) init_policy = current_init = INIT_NEVER;
    } else {
        init_policy = INIT_PREVIOUS;
        test1 = test2 = TEST_NEVER;
    }
    flash();
    init_policy = policies[0];
    test1 = policies[1];
    test2 = policies[2];
    if (phase_count == 0) {
        x_state.fraction = conditions.x_fraction;
        y_state.fraction = conditions.y_fraction;
    } else if (phase_count > 1) {
        phase_count = std::max(phase_count, conditions.phase_count);
    }
}

void PVTCell::report_third_phase() {
    if (phase_count <= 2 || third_phase_severity < WARNING) return;
    const bool inside = x_state.fraction * y_state.fraction > 0.0;
    std::string text = inside ? "Equilibrium should exhibit at least three phases"
                              : "Equilibrium is on the verge of at least three phases";
    static constexpr const char* PLACES[] = {"", ", lighter", ", intermediate", ", heavier"};
    text += "\nA third";
    text += PLACES[std::clamp(third_phase_position, 0, 3)];
    text += " phase is also due to appear";
    if (third_phase_severity == WARNING)
        errors->Warn(text);
    else if (third_phase_severity == ERROR)
        errors->Fail(text);
    else
        errors->Add(text, FATAL_ERROR);
}

void PVTCell::forget_k() {
    std::ranges::fill(ln_k, 0.0);
    std::ranges::fill(k, 1.0);
}

void PVTCell::copy_feed_to_phases() {
    for (Tank* tank : {eq_liquid.get(), eq_vapor.get(), nf_liquid.get(), nf_vapor.get()})
        tank->copy(*feed);
}

void PVTCell::point_phases_at_tanks() {
    feed_state.comps = feed_fractions.data();
    x_state.comps = nf_liquid->moles().data();
    y_state.comps = nf_vapor->moles().data();
    feed_state.ln_phi = x_state.ln_phi = y_state.ln_phi = nullptr;
}

void PVTCell::give_up() {
    phase_count = 0;
    copy_feed_to_phases();
    forget_k();
    const bool vapor = y_state.fraction >= 0.5;
    feed_state = x_state = y_state = PhaseState{};
    y_state.fraction = vapor ? 1.0 : 0.0;
    x_state.fraction = 1.0 - y_state.fraction;
    point_phases_at_tanks();
    current_init = INIT_NEWTON;
    errors->warnings_on = errors->errors_on = true;
}

}  // namespace kestrane
