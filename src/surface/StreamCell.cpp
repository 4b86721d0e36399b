#include "surface/StreamCell.h"

#include <algorithm>
#include <cmath>

#include "lab/EOSLab.h"

namespace kestrane {

StreamCell::StreamCell()
    : feed_(make_dyn<Tank>("feed")),
      liquid_(make_dyn<Tank>("liquid")),
      vapor_(make_dyn<Tank>("vapor")),
      nf_liquid_(make_dyn<Tank>("NFL")),
      nf_vapor_(make_dyn<Tank>("NFV")),
      cell_(feed_, liquid_, vapor_, nf_liquid_, nf_vapor_, make_dyn<ErrorList>()) {}

void StreamCell::bind(Charzation* charz, const EOSLab& lab) {
    for (Tank* tank : {feed_.get(), liquid_.get(), vapor_.get(), nf_liquid_.get(), nf_vapor_.get()})
        tank->rebind(charz);
    cell_.set_charz(charz);
    const PVTCell& model = lab.cell();
    init_policy_ = model.init_policy;
    cell_.test1 = model.test1;
    cell_.test2 = model.test2;
    cell_.third_phase_severity = model.third_phase_severity;
}

void StreamCell::take(const Tank& stream, double T, double P) {
    feed_->assign_amount(stream, 1.0);
    cell_.temperature.value = T;
    cell_.pressure.value = P;
    cell_.amount = 1.0;
    cell_.init_policy = init_policy_;
    cell_.current_init = init_policy_;
}

void StreamCell::flash(const Tank& stream, double T, double P) {
    take(stream, T, P);
    cell_.forget_k();
    cell_.flash();
}

bool StreamCell::measure(const Tank& stream, double T, double P) {
    if (!(stream.total_moles() > 0.0) || !(T > 0.0) || !(P > 0.0)) return false;
    take(stream, T, P);
    cell_.init_policy = cell_.current_init = INIT_NEVER;
    const ErrorList before = *cell_.errors;
    cell_.errors->Clear();
    cell_.flash();
    const bool usable = cell_.errors->usable();
    *cell_.errors = before;
    return usable;
}

double StreamCell::density(const Tank& stream, double T, double P, bool as_liquid) {
    if (!measure(stream, T, P)) return UNSET;
    if (cell_.phase_count == 0) return cell_.feed_state.density;
    return as_liquid ? cell_.x_state.density : cell_.y_state.density;
}

bool StreamCell::saturation(const Tank& stream, double T, double P) {
    take(stream, T, P);
    cell_.forget_k();
    const ErrorList before = *cell_.errors;
    cell_.errors->Clear();
    const bool found = cell_.saturation(+1) && cell_.errors->usable();
    *cell_.errors = before;
    return found;
}

}  // namespace kestrane
