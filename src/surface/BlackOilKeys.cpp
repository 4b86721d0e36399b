// BLACK: writes a black oil table.

#include <algorithm>
#include <cstdint>
#include <new>
#include <set>
#include <sstream>

#include "frame/Errors.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "surface/BlackOilFile.h"
#include "surface/NameArgument.h"

namespace kestrane {

struct BlackOil_Data {
    std::string id;
    std::string collector;
    std::string process;
    bool bad = false;               ///< a name was wrong: said where it stood
    const Units* unit = nullptr;    ///< of the pressures; null: the laboratory's
    std::vector<double> pressures;  ///< in that unit, in the order given
};
using BlackOil_Cmd = UserCmd<EOSLab, BlackOil_Data>;

struct BlackId_Data {};
struct BlackCollector_Data {};
struct BlackProcess_Data {};
struct BlackPressures_Data {};

namespace {

constexpr const char* TITLE = "Black Oil Table";

void read_id(Reader& reader, std::string& id) {
    const LineLimitScope one_line(reader, 0);
    std::string text;
    if (reader.NextQuote(text) > 0) id = text;
}

/// What problems of the table are reported of.
std::string table_label(const BlackOil_Data& data) {
    return data.id.empty() ? "black oil table" : "black oil table \"" + data.id + "\"";
}

const Units* given_unit(const ValueWithUnit& value, UnitKind kind) {
    return value.unit ? value.unit : &unit_set(kind).default_unit();
}

BlackOilUnits units_of(const EOSLab& lab, const BlackOil_Data& data) {
    const PVTCell& cell = lab.cell();
    return {given_unit(cell.depth, UnitKind::Distance),
            given_unit(cell.temperature, UnitKind::Temperature),
            data.unit ? data.unit : given_unit(cell.pressure, UnitKind::Pressure)};
}

std::vector<double> extra_pressures(const BlackOil_Data& data, const BlackOilUnits& units) {
    std::set<double> pressures;
    for (const double value : data.pressures) pressures.insert(units.pressure->to_base(value));
    return {pressures.begin(), pressures.end()};
}

std::vector<std::string> names_of(const Charzation& charz) {
    std::vector<std::string> names;
    for (const Compnent& component : charz.comps) names.push_back(component.name.shown());
    return names;
}

/// Title with its rule, and where in which script the table stands: the same in file and report.
std::vector<std::string> heading(const Command& command, const std::string& id) {
    const std::string title = TITLE + (id.empty() ? std::string() : ": " + id);
    return {title, std::string(title.size(), '='),
            "Input File:\t" + (command.fileName ? *command.fileName : std::string("stdin")),
            "Input Line:\t" + std::to_string(command.line)};
}

/// One table while it is made.
class TableMaker {
public:
    TableMaker(BlackOil_Cmd& command, Reader& reader, Collector& collector, Process& process)
        : command_(command),
          lab_(command.user()),
          reader_(reader),
          collector_(collector),
          process_(process) {}

    void make() {
        reservoir_ = collector_.characterization ? collector_.characterization
                                                 : lab_.Charz_User::current(nullptr);
        if (!reservoir_) throw LogicError{};
        oil_ = characterization_of(*process_.find_product("OIL"));
        gas_ = characterization_of(*process_.find_product("GAS"));
        stream_ = black_oil_file().open(reader_) ? &text_ : nullptr;
        write_headings();
        warn_of_several_stages();
        const BlackOilUnits units = units_of(lab_, command_);
        if (stream_)
            write_header(*stream_, units, names_of(*oil_), names_of(*gas_), names_of(*reservoir_));
        write_rows(units);
        // A text that found no memory has swallowed the exception.
        if (!text_) throw std::bad_alloc();
        black_oil_file().add_table(reader_, text_.str());
    }

private:
    const Charzation* characterization_of(const OutStage& product) const {
        const Charzation* found = product.characterization();
        return found ? found : reservoir_;
    }

    void write_headings() {
        const std::vector<std::string> lines = heading(command_, command_.id);
        reader_.Newlines(2);
        for (const std::string& line : lines) reader_.Line(line);
        reader_.Line("Collector :  " + collector_.name);
        reader_.Line("Process   :  " + process_.name);
        reader_.Newlines(2);
        if (!stream_) return;
        for (const std::string& line : lines) *stream_ << line << '\n';
        *stream_ << "Collector:\t" << collector_.name << "\nProcess:\t" << process_.name << '\n';
        write_characterization("Res", *reservoir_);
        write_characterization("Oil", *oil_);
        write_characterization("Gas", *gas_);
        *stream_ << '\n';
    }

    void write_characterization(const char* which, const Charzation& charz) {
        *stream_ << which << " Characterization:\t" << charz.name << '\n'
                 << which << " Components:\t" << charz.size() << '\n';
    }

    void warn_of_several_stages() {
        std::set<const SepStage*> sources;
        for (const StageFeed& feed : process_.find_product("OIL")->feeds)
            if (feed.liquidShare > 0.0 || feed.vaporShare > 0.0) sources.insert(feed.source);
        if (sources.size() < 2) return;
        ErrorList problems;
        problems.Add(
            "The oil product comes from multiple stages of process \"" + process_.name + "\"",
            WARNING);
        problems.Add("The assumption of additive volumes may not be entirely appropriate", WARNING);
        problems.Report(reader_, "black oil table generation", command_.Location(), ResultHeadline);
    }

    void write_rows(const BlackOilUnits& units) {
        if (collector_.fluids.empty()) return;
        BlackOil table(lab_, collector_, process_);
        const std::vector<double> extra = extra_pressures(command_, units);
        for (const auto& [name, set] : collector_.fluids) {
            for (BO_Entry& entry : table.rows_of(name, *set, extra)) {
                if (stream_) write_row(*stream_, entry, units);
                entry.problems.Report(reader_, "black oil table entry \"" + name + "\"",
                                      command_.Location(), ResultHeadline);
            }
        }
    }

    BlackOil_Cmd& command_;
    EOSLab& lab_;
    Reader& reader_;
    Collector& collector_;
    Process& process_;
    const Charzation* reservoir_ = nullptr;
    const Charzation* oil_ = nullptr;
    const Charzation* gas_ = nullptr;
    std::ostringstream text_;         ///< the table, written as a whole
    std::ostream* stream_ = nullptr;  ///< null without a file
};

}  // namespace

template <>
void UserCmd<BlackOil_Cmd, BlackId_Data>::Read(Reader& reader, const std::string&) {
    read_id(reader, user().id);
}

template <>
void UserCmd<BlackOil_Cmd, BlackCollector_Data>::Read(Reader& reader, const std::string&) {
    BlackOil_Cmd& table = user();
    table.collector = read_name_of(reader, "collector");
    if (table.collector.empty()) {
        table.bad = true;
    } else if (!table.user().collectors.find(table.collector)) {
        if (!reader.lost(table.collector))
            reader.ErrorHere({"Bad collector name \"" + table.collector + "\"."}, 3);
        table.bad = true;
    }
}

template <>
void UserCmd<BlackOil_Cmd, BlackProcess_Data>::Read(Reader& reader, const std::string&) {
    BlackOil_Cmd& table = user();
    table.process = read_name_of(reader, "process");
    if (table.process.empty()) {
        table.bad = true;
    } else if (!table.user().processes.find(table.process)) {
        if (!reader.lost(table.process))
            reader.ErrorHere({"Bad process name \"" + table.process + "\"."}, 3);
        table.bad = true;
    }
}

/// A unit before the pressures, or behind them.
template <>
void UserCmd<BlackOil_Cmd, BlackPressures_Data>::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    BlackOil_Cmd& table = user();
    const auto read_unit = [&] {
        std::string text;
        if (reader.NextWord(text) <= 0) return;
        const Units* unit = unit_set(UnitKind::Pressure).find(text);
        if (unit)
            table.unit = unit;
        else
            reader.Unread();
    };
    read_unit();
    double value = UNSET;
    while (reader.NextDouble(value) > 0) {
        if (value != UNSET) table.pressures.push_back(value);
        value = UNSET;
    }
    read_unit();
}

template <>
void BlackOil_Cmd::Read(Reader& reader, const std::string&) {
    read_id(reader, id);
    const bool was_immediate = immediate;
    immediate = false;
    std::string next;
    const std::int32_t errors_before = reader.errorCounts().errors;
    ReadBlock(reader, next, true);
    immediate = was_immediate;
    // What seems to be missing may stand in a line that was in error.
    if (reader.errorCounts().errors != errors_before) return;
    ErrorList problems;
    if (collector.empty() && !bad) problems.Add("No collector was specified", ERROR);
    if (process.empty() && !bad) problems.Add("No surface process was specified", ERROR);
    problems.Report(reader, table_label(*this), Location(), ValidityHeadline);
}

/// Written in the final pass alone: what a regression tries on its way is no result.
template <>
void BlackOil_Cmd::Execute(Reader& reader) {
    execute_children(reader);
    if (user().mode() != EvaluationMode::Final) return;
    const PtrTo<Collector>* known_collector = user().collectors.find(collector);
    const PtrTo<Process>* known_process = user().processes.find(process);
    if (!known_collector || !known_process) throw LogicError{};
    TableMaker(*this, reader, **known_collector, **known_process).make();
}

namespace {

const UserKey<EOSLab, BlackOil_Data> black_key{"BLACK&"};
const UserKey<BlackOil_Cmd, BlackId_Data> id_key{"ID"};
const UserKey<BlackOil_Cmd, BlackCollector_Data> collector_key{"COLL&"};
const UserKey<BlackOil_Cmd, BlackProcess_Data> process_key{"PROC&"};
const UserKey<BlackOil_Cmd, BlackPressures_Data> pressures_key{"PRES&"};

}  // namespace

}  // namespace kestrane
