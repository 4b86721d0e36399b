#include "surface/ProcessReport.h"

#include <algorithm>

#include "lab/EOSLab.h"
#include "lab/MixtureTable.h"
#include "lab/NumberText.h"
#include "surface/SepReport.h"
#include "surface/StreamTable.h"

namespace kestrane {

namespace {

constexpr int RATIO_DIGITS = 6;
using Cells = std::vector<std::string>;

double ratio(double part, double whole) {
    return part == UNSET || whole == UNSET || !(whole > 0.0) ? UNDEFINED : part / whole;
}

double api_gravity(double density) {
    return 141.5 / (density / WATER_DENSITY) - 131.5;
}

std::string known(double value, int digits = RATIO_DIGITS) {
    return value == UNSET || value == UNDEFINED ? "-" : general_text(value, digits);
}

/// "", "0.5 " and the like.
std::string share_text(double share) {
    return share == 1.0 ? "" : general_text(share) + " ";
}

/// What a feed delivers: "Incoming Total", "HP 0.5 Liquid".
std::string feed_text(const StageFeed& feed) {
    const std::string source = feed.source ? feed.source->name : "Incoming";
    if (feed.liquidShare == feed.vaporShare)
        return source + " " + share_text(feed.liquidShare) + "Total";
    std::string text = source;
    if (feed.liquidShare != 0.0) text += " " + share_text(feed.liquidShare) + "Liquid";
    if (feed.vaporShare != 0.0) text += " " + share_text(feed.vaporShare) + "Vapor";
    return text;
}

/// Names of the feeds, one below the other; only the last has the amounts of all.
void feed_rows(std::vector<Cells>& rows, const std::string& first, const std::string& second,
               const Stage& stage, const std::string& prefix, const Cells& amounts) {
    Cells labels{first, second};
    for (std::size_t i = 0; i < stage.feeds.size(); ++i) {
        Cells row = labels;
        row.push_back(prefix + feed_text(stage.feeds[i]));
        if (i + 1 == stage.feeds.size()) row.insert(row.end(), amounts.begin(), amounts.end());
        rows.push_back(row);
        labels = {"", ""};
    }
    if (!stage.feeds.empty()) return;
    Cells row{first, second, prefix + "-"};
    row.insert(row.end(), amounts.begin(), amounts.end());
    rows.push_back(row);
}

/// Volumes at standard conditions are those of gases as gas and of liquids as liquid: what a liquid
/// would fill if it were a gas is nobody's volume.
Cells amount_cells(const StgAmts& amounts, const std::string& characterization, bool is_gas) {
    return {amount_text(amounts.moles),   amount_text(amounts.mass),
            known(amounts.volume),        is_gas ? known(amounts.gas_volume) : "-",
            known(amounts.liquid_volume), characterization};
}

bool takes_only_vapor(const Stage& stage) {
    return std::ranges::all_of(stage.feeds,
                               [](const StageFeed& feed) { return feed.liquidShare == 0.0; });
}

/// "; Characterization "{name}"", for a stream whose characterization is not the process's.
std::string characterization_label(const Charzation* charz) {
    return charz && !charz->name.empty() ? "; Characterization \"" + charz->name + "\"" : "";
}

std::vector<Cells> process_rows(const Process& process) {
    const Charzation* own = process.incoming.total.charz();
    const auto label = [own](const Tank& tank) {
        return tank.charz() == own ? std::string() : characterization_label(tank.charz());
    };
    std::vector<Cells> rows{{"", "", "", "Moles", "Mass", "Volume", "Gas at STP", "Liquid at STP"},
                            {"", "", "Stream", "kmol", "kg", "m3", "m3", "m3"},
                            {}};
    Cells incoming{"Incoming", "", "Total"};
    for (const std::string& cell : amount_cells(process.incoming.amounts, "", false))
        incoming.push_back(cell);
    rows.push_back(incoming);
    for (const auto& stage : process.stages) {
        feed_rows(rows, "Stage " + stage->name, "Separator " + stage->separator, *stage, "Feed ",
                  amount_cells(stage->feed_amounts, label(stage->FeedTank()), false));
        for (const bool liquid : {true, false}) {
            Cells row{"", "", liquid ? "Liquid" : "Vapor"};
            const StgAmts& amounts = liquid ? stage->liquid_amounts : stage->vapor_amounts;
            for (const std::string& cell : amount_cells(amounts, "", !liquid)) row.push_back(cell);
            rows.push_back(row);
        }
    }
    for (const auto& product : process.products)
        feed_rows(
            rows, "Product: " + product->name, "", *product, "",
            amount_cells(product->amounts, label(product->tank()), takes_only_vapor(*product)));
    return rows;
}

void print_ratios(Writer& writer, const GasOilRatios& ratios) {
    const Units& metric = unit_of(UnitKind::GasOilRatio, "sm3/m3");
    const Units& field = unit_of(UnitKind::GasOilRatio, "scf/bbl");
    const auto in = [](const Units& unit, double value) {
        return value == UNDEFINED ? std::string("-")
                                  : general_text(unit.print(value), RATIO_DIGITS);
    };
    std::vector<Cells> rows{{"Gas-Oil Ratio", "per Stage Liquid", "", "per Product Oil", ""},
                            {"", "sm3/m3", "scf/bbl", "sm3/m3", "scf/bbl"},
                            {}};
    for (const GasOilRatios::Line& line : ratios.stages)
        rows.push_back({"Stage " + line.stage, in(metric, line.of_stage), in(field, line.of_stage),
                        in(metric, line.of_tank), in(field, line.of_tank)});
    rows.push_back({"Total", "", "", in(metric, ratios.total), in(field, ratios.total)});
    writer.Line("");
    for (const std::string& line : aligned(rows, 1)) writer.Line(line);
    writer.Line("");
    if (ratios.oil_density != UNSET)
        writer.Line(
            "Product Oil at STP: Density (g/cc) = " + fixed_text(ratios.oil_density * 1e-3, 4) +
            ", Gravity (API) = " + fixed_text(ratios.oil_gravity, 2));
    if (ratios.gas_gravity != UNSET)
        writer.Line("Product Gas: Gravity (air = 1) = " + fixed_text(ratios.gas_gravity, 4));
    if (ratios.formation_volume_factor != UNSET)
        writer.Line("Formation Volume Factor = " +
                    general_text(ratios.formation_volume_factor, RATIO_DIGITS) + " at " +
                    conditions_text(ratios.temperature, ratios.pressure));
}

void print_stage(Writer& writer, const SepStage& stage) {
    const std::string head =
        "Process Stage \"" + stage.name + "\" (Separator: \"" + stage.separator + "\")";
    writer.Newlines(2);
    writer.Line(head);
    writer.Line(std::string(head.size(), '='));
    if (const PtrTo<Sep> sep = stage.ResolveSeparator()) print_split(writer, *sep, stage.split());
    const std::string name = "stage \"" + stage.name + "\" ";
    print_mixture(writer, mixture_table(stage.FeedTank(), name + "feed"));
    print_mixture(writer, mixture_table(stage.LiquidTank(), name + "liquid"));
    print_mixture(writer, mixture_table(stage.VaporTank(), name + "vapor"));
    if (!stage.split().negative_flash) return;
    print_mixture(writer, mixture_table(stage.split().nf_liquid, name + "NFL"));
    print_mixture(writer, mixture_table(stage.split().nf_vapor, name + "NFV"));
}

}  // namespace

GasOilRatios gas_oil_ratios(const Process& process) {
    GasOilRatios ratios;
    const OutStage* oil = process.find_product("OIL");
    const OutStage* gas = process.find_product("GAS");
    const double oil_volume = oil ? oil->amounts.liquid_volume : UNSET;
    for (const auto& stage : process.stages) {
        GasOilRatios::Line line;
        line.stage = stage->name;
        line.temperature = stage->split().temperature;
        line.pressure = stage->split().pressure;
        line.of_stage = ratio(stage->vapor_amounts.moles, stage->liquid_amounts.volume);
        line.of_tank = ratio(stage->vapor_amounts.moles, oil_volume);
        ratios.stages.push_back(line);
    }
    if (gas) ratios.total = ratio(gas->amounts.moles, oil_volume);
    if (oil && oil_volume != UNSET && oil_volume > 0.0) {
        ratios.oil_density = oil->amounts.mass / oil_volume;
        ratios.oil_gravity = api_gravity(ratios.oil_density);
        const double whole = process.incoming.amounts.volume;
        if (whole != UNSET && whole > 0.0) ratios.formation_volume_factor = whole / oil_volume;
    }
    if (gas && gas->amounts.moles > 0.0)
        ratios.gas_gravity = gas->amounts.mass / gas->amounts.moles / AIR_MW;
    ratios.temperature = process.incoming.temperature;
    ratios.pressure = process.incoming.pressure;
    return ratios;
}

void print_process(Writer& writer, const Process& process) {
    if (!writer.active()) return;
    for (const auto& stage : process.stages) print_stage(writer, *stage);
    const std::string title =
        "Process \"" + process.name + "\"" + characterization_label(process.incoming.total.charz());
    writer.Newlines(2);
    writer.Line(std::string(title.size(), '='));
    writer.Line(title);
    writer.Line(std::string(title.size(), '='));
    writer.Line("");
    for (const std::string& line : aligned(process_rows(process), 3)) writer.Line(line);
    print_ratios(writer, gas_oil_ratios(process));
    writer.Newlines(2);
}

}  // namespace kestrane
