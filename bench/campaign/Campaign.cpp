#include "Campaign.h"

#include <chrono>
#include <cmath>

namespace kestrane::campaign {

Subject::Subject(std::uint64_t seed, std::uint64_t number, unsigned kinds)
    : Subject(draw_fluid(seed, number, kinds)) {}

Subject::Subject(const DrawnFluid& drawn)
    : kind(drawn.kind), plain(drawn.fluid), tested(drawn.fluid) {
    tested.always_test();
    find_critical_point();
}

std::optional<double> saturate(fluids::TestCell& test, double T, int sense, double start) {
    test.errors->Clear();
    test.forget();
    test.cell.temperature.value = T;
    test.cell.pressure.value = start;
    if (!test.cell.saturation(sense)) return std::nullopt;
    return test.cell.pressure.value;
}

bool flash(fluids::TestCell& test, State state) {
    test.forget();
    test.flash(state.T, state.P);
    return test.cell.phase_count >= 2;
}

bool says(const fluids::TestCell& test, const std::string& part) {
    for (const auto& entry : test.errors->entries)
        if (entry->text.find(part) != std::string::npos) return true;
    return false;
}

/// Bisects between a bubble point and a dew point of the upper boundary.
void Subject::find_critical_point() {
    const auto is_bubble = [this](double T, double& P) -> std::optional<bool> {
        const std::optional<double> found = saturate(plain, T, +1, UNSET);
        if (!found) return std::nullopt;
        P = *found;
        return plain.cell.x_state.fraction == 1.0;
    };
    plain.cell.average_critical_temperature();
    const double middle = plain.cell.temperature.value;
    double bubble = 0.0, dew = 0.0, P = 0.0;
    for (double T = 0.6 * middle; T < 1.5 * middle && dew == 0.0; T *= 1.06) {
        const std::optional<bool> kind_of_point = is_bubble(T, P);
        if (!kind_of_point) continue;
        if (*kind_of_point)
            bubble = T;
        else if (bubble > 0.0)
            dew = T;
    }
    if (dew == 0.0) return;
    double at = 0.0;
    while (dew - bubble > 1e-7 * dew) {
        const double T = 0.5 * (bubble + dew);
        const std::optional<bool> kind_of_point = is_bubble(T, P);
        if (!kind_of_point) break;
        at = P;
        (*kind_of_point ? bubble : dew) = T;
    }
    if (at == 0.0) return;
    Tc = 0.5 * (bubble + dew);
    Pc = at;
}

double Subject::distance(double T, double P) const {
    if (Tc == UNSET) return -1.0;
    return std::hypot(T / Tc - 1.0, std::log(P / Pc));
}

Subject& Subjects::of(std::uint64_t number) {
    const std::uint64_t fluid = number / per_fluid_;
    if (!subject_ || fluid != held_) {
        subject_ = std::make_unique<Subject>(options_.seed, fluid, options_.kinds);
        held_ = fluid;
    }
    return *subject_;
}

void for_each_case(const Options& options, const std::function<void(std::uint64_t)>& run) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    for (long i = 0; i < options.cases; ++i) {
        const double passed = std::chrono::duration<double>(Clock::now() - begin).count();
        if (options.seconds > 0.0 && passed > options.seconds) return;
        run(options.first + static_cast<std::uint64_t>(i));
    }
}

}  // namespace kestrane::campaign
