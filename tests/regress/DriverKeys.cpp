// Keywords of the tests: measurements with residuals, and commands that fail.
//
//     XSAT T [p rho]             saturation pressure (Pa) and density of the feed at T (K)
//     XFLASH T P [rhol rhov y]   densities (kg/m3) and vapor fraction; 0 takes the cell's T or P
//     XVISC T P [mu]             viscosity (Pa s) of the liquid
//     XRES variable target w     residual variable - target with a weight
//     XERR n mode                n errors in evaluations of that mode
//     XFATAL variable limit all  fatal error above the limit, in silent evaluations or in all

#include "DriverRun.h"
#include "equil/PVTCell.h"
#include "fluid/Viscometer.h"
#include "input/UserCmd.h"

namespace kestrane {

struct XSat_Data {
    double T = 0.0;
    std::vector<double> measured = std::vector<double>(2, UNSET);
};
struct XFlash_Data {
    double T = 0.0, P = 0.0;
    std::vector<double> measured = std::vector<double>(3, UNSET);
};
struct XVisc_Data {
    double T = 0.0, P = 0.0;
    std::vector<double> measured = std::vector<double>(1, UNSET);
};
struct XRes_Data {
    std::string name;
    double target = 0.0, weight = 1.0;
};
struct XErr_Data {
    int count = 0, mode = 0;
};
struct XFatal_Data {
    std::string name;
    double limit = 0.0;
    int always = 0;
};
using XSat_Cmd = UserCmd<EOSLab, XSat_Data>;
using XFlash_Cmd = UserCmd<EOSLab, XFlash_Data>;
using XVisc_Cmd = UserCmd<EOSLab, XVisc_Data>;
using XRes_Cmd = UserCmd<EOSLab, XRes_Data>;
using XErr_Cmd = UserCmd<EOSLab, XErr_Data>;
using XFatal_Cmd = UserCmd<EOSLab, XFatal_Data>;

std::vector<double>& calculated_values() {
    static std::vector<double> values;
    return values;
}

namespace {

void compare(EOSLab& lab, const std::vector<double>& calculated,
             const std::vector<double>& measured) {
    for (std::size_t i = 0; i < calculated.size(); ++i) {
        calculated_values().push_back(calculated[i]);
        if (measured[i] != UNSET)
            lab.addResidual(percent_error(calculated[i], measured[i], measured[i]), 1.0);
    }
}

void flash(PVTCell& cell, double T, double P) {
    if (T > 0.0) cell.temperature.value = T;
    if (P > 0.0) cell.pressure.value = P;
    cell.flash();
}

double value_of(const EOSLab& lab, const std::string& name) {
    return lab.variable_value(static_cast<std::size_t>(lab.findVariable(name)));
}

}  // namespace

template <>
void XSat_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextDouble(T);
    reader.NextDoubles(measured);
}
template <>
void XSat_Cmd::Execute(Reader&) {
    PVTCell& cell = user().cell();
    if (T > 0.0) cell.temperature.value = T;
    cell.saturation(+1);
    compare(user(), {cell.pressure.value, cell.feed_state.density}, measured);
}

template <>
void XFlash_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextDouble(T);
    reader.NextDouble(P);
    reader.NextDoubles(measured);
}
template <>
void XFlash_Cmd::Execute(Reader&) {
    PVTCell& cell = user().cell();
    flash(cell, T, P);
    compare(user(), {cell.x_state.density, cell.y_state.density, cell.y_state.fraction}, measured);
}

template <>
void XVisc_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextDouble(T);
    reader.NextDouble(P);
    reader.NextDoubles(measured);
}
template <>
void XVisc_Cmd::Execute(Reader&) {
    PVTCell& cell = user().cell();
    flash(cell, T, P);
    const PropertyValue viscosity = viscometer()->viscosity(
        *cell.eq_liquid, cell.temperature.value, cell.pressure.value, cell.x_state.z_factor);
    compare(user(), {viscosity.value}, measured);
}

template <>
void XRes_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextWord(name);
    reader.NextDouble(target);
    reader.NextDouble(weight);
}
template <>
void XRes_Cmd::Execute(Reader&) {
    user().addResidual(value_of(user(), name) - target, weight);
}

template <>
void XErr_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextInt(count);
    reader.NextInt(mode);
}
template <>
void XErr_Cmd::Execute(Reader& reader) {
    if (static_cast<int>(user().mode()) != mode) return;
    for (int i = 0; i < count; ++i) reader.Error({"An error of the test."});
}

template <>
void XFatal_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextWord(name);
    reader.NextDouble(limit);
    reader.NextInt(always);
}
template <>
void XFatal_Cmd::Execute(Reader& reader) {
    const bool final_pass = user().mode() == EvaluationMode::Final;
    if (value_of(user(), name) > limit && (always || !final_pass))
        reader.Fatal({"A fatal error of the test."});
}

namespace {

const UserKey<EOSLab, XSat_Data> xsat_key{"XSAT"};
const UserKey<EOSLab, XFlash_Data> xflash_key{"XFLASH"};
const UserKey<EOSLab, XVisc_Data> xvisc_key{"XVISC"};
const UserKey<EOSLab, XRes_Data> xres_key{"XRES"};
const UserKey<EOSLab, XErr_Data> xerr_key{"XERR"};
const UserKey<EOSLab, XFatal_Data> xfatal_key{"XFATAL"};

}  // namespace

}  // namespace kestrane
