#include "ExperimentRun.h"

namespace kestrane::campaign {

namespace {

std::vector<double> fractions_of(const Tank& tank) {
    const std::span<const double> moles = tank.moles();
    return {moles.begin(), moles.end()};
}

/// The state without what belongs to the cell that it is of.
PhaseState plain_state(const PhaseState& state) {
    PhaseState plain;
    plain.fraction = state.fraction;
    plain.z_factor = state.z_factor;
    plain.density = state.density;
    return plain;
}

void put_state(const PhaseState& from, PhaseState& to) {
    to.fraction = from.fraction;
    to.z_factor = from.z_factor;
    to.density = from.density;
}

}  // namespace

CellRecord::CellRecord(const PVTCell& cell)
    : T(cell.temperature.value),
      P(cell.pressure.value),
      phase_count(cell.phase_count),
      feed_state(plain_state(cell.feed_state)),
      x_state(plain_state(cell.x_state)),
      y_state(plain_state(cell.y_state)),
      feed(fractions_of(*cell.feed)),
      x(fractions_of(*cell.eq_liquid)),
      y(fractions_of(*cell.eq_vapor)) {
    for (const auto& entry : cell.errors->entries) messages.push_back(entry->text);
}

bool CellRecord::says(const std::string& part) const {
    for (const std::string& message : messages)
        if (message.find(part) != std::string::npos) return true;
    return false;
}

void CellRecord::show(fluids::TestCell& judge) const {
    PVTCell& cell = judge.cell;
    cell.temperature.value = T;
    cell.pressure.value = P;
    cell.phase_count = phase_count;
    cell.feed_fractions = feed;
    judge.set_feed(feed);
    for (const auto& [tank, fractions] : {std::pair{cell.eq_liquid, &x}, {cell.eq_vapor, &y}}) {
        tank->rebind(&judge.charz);
        tank->assign_moles(*fractions, 1.0);
    }
    put_state(feed_state, cell.feed_state);
    put_state(x_state, cell.x_state);
    put_state(y_state, cell.y_state);
}

ExperimentLab::ExperimentLab(const fluids::Fluid& fluid, double T, double P,
                             const std::string& block)
    : input_(block),
      file_(input_),
      report_file_(report_),
      writer_(counts_, nullptr, &report_file_),
      reader_(writer_, file_) {
    counts_.errorLimit = counts_.warningLimit = 1000;
    lab.add_charzation(fluids::characterization(fluid));
    PVTCell& cell = lab.cell();
    cell.feed->rebind(cell.charz);
    cell.feed->assign_moles(fluid.z, 1.0);
    cell.temperature.value = T;
    cell.pressure.value = P;
}

void ExperimentLab::run(PVTzExpt& experiment) {
    experiment.reset();
    experiment.parse(reader_, lab, reader_);
    experiment.run(reader_, lab, reader_);
}

}  // namespace kestrane::campaign
