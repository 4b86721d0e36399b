#include "surface/BlackOilFile.h"

#include <cmath>
#include <filesystem>
#include <iomanip>
#include <sstream>
#include <system_error>

#include "frame/Platform.h"
#include "frame/Program.h"
#include "frame/Unset.h"

namespace kestrane {

namespace {

constexpr const char* MISSING = "\t-999999";
constexpr int DECIMALS = 5;
/// Tabs that lead from one group of the first header line to the next.
constexpr int RESERVOIR_COLUMNS = 9;
constexpr int PRODUCT_COLUMNS = 5;

/// A field with the tab in front of it.
void write_field(std::ostream& stream, double value, const Units* unit = nullptr) {
    const double shown = unit && value != UNSET ? unit->print(value) : value;
    if (value == UNSET || value == UNDEFINED || !std::isfinite(shown)) {
        stream << MISSING;
        return;
    }
    // Formed apart: the stream's own format stays as it is.
    std::ostringstream text;
    text << std::left << std::scientific << std::setprecision(DECIMALS) << shown;
    stream << '\t' << text.str();
}

void write_product(std::ostream& stream, const BO_Product& product, const BlackOilUnits& units) {
    write_field(stream, product.moles);
    write_field(stream, product.mw);
    write_field(stream, product.temperature, units.temperature);
    write_field(stream, product.pressure, units.pressure);
    write_field(stream, product.density, &unit_of(UnitKind::Density, "g/cm3"));
}

/// Takes the part of a table off that the disk had room for. What is no file on a disk stays.
void cut_back(const std::string& name, std::streamoff size) {
    std::error_code error;
    if (size < 0 || !std::filesystem::is_regular_file(name, error)) return;
    std::filesystem::resize_file(name, static_cast<std::uintmax_t>(size), error);
}

std::string tabs(std::size_t count) {
    return std::string(count, '\t');
}

}  // namespace

BlackOilFile& black_oil_file() {
    static BlackOilFile file;
    return file;
}

File black_oil_path(const File* input, const File* report, const std::string& short_name) {
    // From the full name: CD moves the directory that later names start from.
    const auto place = [](const File* file) {
        File whole;
        if (file && file->fullName) whole.SetPath(*file->fullName);
        return whole;
    };
    File named = place(input);
    if (named.name.empty()) named.name = short_name;
    const File beside = report && report->fullName ? place(report) : place(input);
    File target;
    target.SetPath(named.DefaultName("bot"), beside.directory);
    return target;
}

bool BlackOilFile::open(Writer& writer) {
    if (tried_) return file_ != nullptr;
    tried_ = true;
    const Program::State& state = Program::state();
    const File path = black_oil_path(state.primaryInput.get(), writer.reportFile, state.shortName);
    auto file = std::make_unique<OutFile>();
    file->SetPath(*path.fullName);
    const bool used = (state.primaryInput && file->sameFile(*state.primaryInput)) ||
                      (writer.reportFile && file->sameFile(*writer.reportFile)) ||
                      receives_output(*path.fullName);
    if (used || !file->OpenWrite()) {
        writer.Warning({"Could not open black oil table file \"" + *path.fullName + "\"."});
        return false;
    }
    writer.Note({"Now opening black oil table file \"" + *path.fullName + "\"."});
    file_ = std::move(file);
    return true;
}

void BlackOilFile::add_table(Writer& writer, const std::string& table) {
    if (!file_) return;
    const std::streamoff end = file_->tellp();
    if (!empty_) *file_ << '\n';
    *file_ << table << std::flush;
    empty_ = false;
    if (file_->good()) return;
    const std::string name = *file_->fullName;
    file_.reset();
    cut_back(name, end);
    writer.Warning({"Could not write all of the black oil tables to file \"" + name + "\".",
                    "The file is not complete."});
}

void BlackOilFile::close() {
    file_.reset();
    tried_ = false;
    empty_ = true;
}

void write_header(std::ostream& stream, const BlackOilUnits& units,
                  const std::vector<std::string>& oil, const std::vector<std::string>& gas,
                  const std::vector<std::string>& reservoir) {
    stream << "Reservoir Fluid Properties" << tabs(RESERVOIR_COLUMNS) << "Oil Properties"
           << tabs(PRODUCT_COLUMNS) << "Gas Properties" << tabs(PRODUCT_COLUMNS)
           << "Oil Mole Fractions" << tabs(oil.size()) << "Gas Mole Fractions" << tabs(gas.size())
           << "Reservoir Fluid Mole Fractions\n";
    const std::string temperature = "\tTemperature (" + units.temperature->name() + ")";
    const std::string pressure = "\tPressure (" + units.pressure->name() + ")";
    stream << "Mixture\tPsat Type\tMW\tDepth (" << units.depth->name() << ")" << temperature
           << pressure << "\tDensity (g/cm3)\tViscosity (cp)\tIFT (dyn/cm)";
    for (int product = 0; product < 2; ++product)
        stream << "\tMoles/Mole\tMW" << temperature << pressure << "\tDensity (g/cm3)";
    for (const auto* names : {&oil, &gas, &reservoir})
        for (const std::string& name : *names) stream << '\t' << name;
    stream << '\n';
}

void write_row(std::ostream& stream, const BO_Entry& entry, const BlackOilUnits& units) {
    stream << entry.name << '\t' << entry.psat_type;
    write_field(stream, entry.mw);
    write_field(stream, entry.depth, units.depth);
    write_field(stream, entry.temperature, units.temperature);
    write_field(stream, entry.pressure, units.pressure);
    write_field(stream, entry.density, &unit_of(UnitKind::Density, "g/cm3"));
    write_field(stream, entry.viscosity, &unit_of(UnitKind::Viscosity, "cp"));
    write_field(stream, entry.tension, &unit_of(UnitKind::InterfacialTension, "dyn/cm"));
    write_product(stream, entry.oil, units);
    write_product(stream, entry.gas, units);
    for (const auto* fractions : {&entry.oil.fractions, &entry.gas.fractions, &entry.fractions})
        for (const double fraction : *fractions) write_field(stream, fraction);
    stream << '\n';
}

}  // namespace kestrane
