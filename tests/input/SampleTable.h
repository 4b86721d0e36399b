#pragma once

#include <string>
#include <vector>

#include "input/Script.h"
#include "input/Table.h"

namespace kestrane::testing {

struct Sample : Row {
    UserWord name;
    Quote full;
    std::string zone;
    double mw = UNSET;
    double tc = UNSET;  // K
    double pc = UNSET;  // Pa
    double share = UNSET;
    int stage = UNSET_INT;
    std::vector<double> z;
};

/// Heads of every type and kind, as a laboratory's tables have them.
struct Heads {
    TableHead<UserWord> name{&Sample::name, {"Component"}, {"COMP&", "NAME&"}, nullptr, 1};
    TableHead<double> mw{&Sample::mw, {"Molecular Weight", "Mol Wt", "MW"}, {"MW&"}, nullptr, 0,
                         {3, -1, 6}};
    TableHead<double> tc{&Sample::tc,
                         {"Critical Temperature", "Crit Temp", "Tc"},
                         {"TC", "TCR&"},
                         &unit_set(UnitKind::AbsoluteTemperature)};
    TableHead<double> pc{&Sample::pc,
                         {"Critical Pressure", "Crit Pres", "Pc"},
                         {"PC", "PCR&"},
                         &unit_set(UnitKind::Pressure),
                         0,
                         {5, 8, 6}};
    TableHead<double> share{
        &Sample::share, {"Mole Fraction", "Frac"}, {"FRAC&"}, &unit_set(UnitKind::Fraction)};
    TableHead<int> stage{&Sample::stage, {"Stage", "Stg"}, {"STG", "STAG&"}, nullptr, 2};
    TableHead<Quote> full{&Sample::full, {"Full Name", "Full"}, {"FULL&"}};
    TableHead<std::string> zone{&Sample::zone, {"Fluid Zone", "Zone"}, {"ZONE"}};
    VecTableHead<double, std::vector<double>> z1{&Sample::z, 1, {"Second z"}, {"Z1"}};
    HeadDictionary all;

    Heads() {
        name.left_aligned = true;
        for (const AnyColHead* head : std::vector<const AnyColHead*>{&name, &mw, &tc, &pc, &share,
                                                                     &stage, &full, &zone, &z1})
            all.add(*head);
    }
};

inline const Heads& heads() {
    static const Heads all;
    return all;
}

/// A table read from a script.
struct Reading {
    explicit Reading(const std::string& text, const CmdDictionary* stop = nullptr)
        : script(text), table(&heads().all) {
        result = table.Read(script.reader, stop);
    }
    Sample row(int index) const {
        Sample sample;
        sample.z.assign(3, UNSET);
        table.TakeRow(index, sample);
        return sample;
    }
    int errors() const { return script.counts.errors; }
    std::string text() const { return script.printed(); }
    Script script;
    Table table;
    int result;
};

/// The table as text.
inline std::string print(Table& table, int gap = 2, int indent = 1, int width = 0) {
    std::stringbuf text;
    OutFile file(text);
    table.Print({&file}, gap, indent, width);
    return text.str();
}

}  // namespace kestrane::testing
