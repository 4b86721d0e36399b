#include "surface/Stage.h"

#include <algorithm>
#include <limits>
#include <set>

#include "frame/Errors.h"
#include "lab/EOSLab.h"
#include "surface/Process.h"

namespace kestrane {

namespace {

/// Flows up to this are none, when a stage fails with them.
constexpr double ZERO_FLOW = 4.930380657631324e-32;

const Tank& phase_of(const Process& process, const StageFeed& feed, bool liquid) {
    if (!feed.source) return liquid ? process.incoming.liquid : process.incoming.vapor;
    return liquid ? feed.source->LiquidTank() : feed.source->VaporTank();
}

/// Volume of a stream of known density; UNSET where unknown.
double volume_of(const Tank& stream, double density) {
    if (stream.total_moles() == 0.0) return 0.0;
    return density == UNSET || !(density > 0.0) ? UNSET : stream.total_mass() / density;
}

StgAmts amounts_of(const Tank& stream, double density) {
    StgAmts amounts;
    amounts.moles = stream.total_moles();
    amounts.mass = stream.total_mass();
    amounts.volume = volume_of(stream, density);
    amounts.gas_volume = amounts.moles * standard_conditions().standardMolarVolume;
    return amounts;
}

/// Volume of a stream as a liquid at standard conditions.
double liquid_volume_of(const Tank& stream, StreamCell& cell) {
    const StandardConditions& standard = standard_conditions();
    return volume_of(
        stream, cell.density(stream, standard.temperature.value, standard.pressure.value, true));
}

double sum_of(double a, double b) {
    return a == UNSET || b == UNSET ? UNSET : a + b;
}

}  // namespace

Stage::Stage(Process& owner, std::string stage_name)
    : name(std::move(stage_name)), process(&owner) {}

const CmdKey* Stage::FindKey(const std::string& word) const {
    return dictionary_of<Stage>().find(word);
}

void Stage::AddFeedByName(const std::string& word, double liquid, double vapor,
                          const std::string& location) {
    feeds.push_back({nullptr, liquid, vapor, word, location});
    ownFeed = true;
}

void Stage::AddFeed(SepStage* source, double liquid, double vapor) {
    feeds.push_back({source, liquid, vapor});
}

void Stage::ResolveFeeds(Reader& reader) {
    for (StageFeed& feed : feeds) {
        feed.source = process->find_stage(feed.source_name);
        if (feed.source || KeyCompare("IN&", feed.source_name.c_str()) == 0) continue;
        if (reader.lost(feed.source_name)) continue;
        reader.Fatal({"Process stage \"" + feed.source_name + "\" not recognized.", feed.location});
    }
}

void Stage::collect(Tank& total, double floor) {
    for (const StageFeed& feed : feeds) {
        const Tank* source = nullptr;
        try {
            const auto add = [&](const Tank& stream, double share) {
                source = &stream;
                if (stream.total_moles() * share > floor && stream.total_moles() != 0.0)
                    total.add_scaled(stream, share);
            };
            if (!feed.source && feed.liquidShare == feed.vaporShare) {
                add(process->incoming.total, feed.liquidShare);
            } else {
                add(phase_of(*process, feed, true), feed.liquidShare);
                add(phase_of(*process, feed, false), feed.vaporShare);
            }
        } catch (const UnconvertedTank& failure) {
            errors.Add(conversion_message("A source fluid", *source, total.charz(), failure.reason),
                       FATAL_ERROR);
        }
    }
}

const CmdKey* SepStage::FindKey(const std::string& word) const {
    const CmdKey* key = dictionary_of<SepStage>().find(word);
    return key ? key : Stage::FindKey(word);
}

void SepStage::ResetFeeds() {
    for (Tank* tank : {&feed_, &liquid_, &vapor_}) tank->rebind(nullptr);
    split_.clear();
    split_.temperature = split_.pressure = ValueWithUnit{};
    feed_amounts = liquid_amounts = vapor_amounts = StgAmts{};
    errors.Clear();
}

PtrTo<Sep> SepStage::ResolveSeparator() const {
    const PtrTo<Sep>* found = process->lab.separators.find(separator);
    return found ? *found : PtrTo<Sep>();
}

/// A second pass leaves out flows that are next to nothing, if the first found none at all or its
/// solver failed.
void SepStage::Execute(bool report) {
    if (!separate(std::numeric_limits<double>::lowest(), report)) separate(ZERO_FLOW, report);
}

/// False if there was no flow or the separator failed.
bool SepStage::separate(double floor, bool report) {
    const PtrTo<Sep> sep = ResolveSeparator();
    errors.Clear();
    if (!sep) {
        errors.Add("Separator \"" + separator + "\" is undefined", FATAL_ERROR);
        return false;
    }
    for (Tank* tank : {&feed_, &liquid_, &vapor_}) tank->rebind(sep->characterization);
    split_.clear();
    split_.temperature = sep->bound_temperature();
    split_.pressure = sep->bound_pressure();
    collect(feed_, floor);
    if (!errors.usable() || !(feed_.total_moles() > 0.0)) return false;
    if (feed_.name.empty()) feed_.name = process->stage_label(*this);
    sep->errors().Clear();
    sep->Separate(feed_, liquid_, vapor_, report, split_);
    std::swap(errors, sep->errors());
    if (report) measure(*sep);
    return errors.usable();
}

void SepStage::measure(Sep& sep) {
    liquid_amounts = amounts_of(liquid_, split_.liquid_density);
    liquid_amounts.liquid_volume = liquid_volume_of(liquid_, sep.cell());
    vapor_amounts = amounts_of(vapor_, split_.vapor_density);
    feed_amounts = amounts_of(feed_, UNSET);
    feed_amounts.volume = sum_of(liquid_amounts.volume, vapor_amounts.volume);
}

void OutStage::ResetFeeds() {
    tank_.rebind(nullptr);
    parts_.clear();
    amounts = StgAmts{};
    errors.Clear();
}

void OutStage::add_part(const StageFeed& from, bool liquid) {
    const double share = liquid ? from.liquidShare : from.vaporShare;
    const Tank& stream = phase_of(*process, from, liquid);
    if (stream.total_moles() == 0.0 || share == 0.0) return;
    const SepSplit none;
    const SepSplit& split = from.source ? from.source->split() : none;
    double density = liquid ? split.liquid_density : split.vapor_density;
    if (!from.source)
        density = liquid ? process->incoming.liquid_density : process->incoming.vapor_density;
    const double volume = volume_of(stream, density);
    parts_.push_back({from.source, liquid, share * stream.total_moles(),
                      share * stream.total_mass(), volume == UNSET ? UNSET : share * volume});
}

Charzation* OutStage::characterization() const {
    const SepStage* first = feeds.empty() ? nullptr : feeds.front().source;
    if (!first) return process->incoming.total.charz();
    const PtrTo<Sep> sep = first->ResolveSeparator();
    return sep ? sep->characterization : nullptr;
}

void OutStage::Execute(bool report) {
    tank_.rebind(characterization());
    for (const StageFeed& feed : feeds)
        for (const bool liquid : {true, false}) add_part(feed, liquid);
    collect(tank_, std::numeric_limits<double>::lowest());
    if (!report) return;
    amounts = amounts_of(tank_, UNSET);
    amounts.volume = 0.0;
    bool liquid = false;
    for (const ProductPart& part : parts_) {
        amounts.volume = sum_of(amounts.volume, part.volume);
        liquid = liquid || part.liquid;
    }
    if (!liquid || !tank_.charz()) return;
    StreamCell cell;
    cell.bind(tank_.charz(), process->lab);
    amounts.liquid_volume = liquid_volume_of(tank_, cell);
}

bool OutStage::conditions(ValueWithUnit& temperature, ValueWithUnit& pressure) const {
    std::set<const SepStage*> sources;
    for (const ProductPart& part : parts_) sources.insert(part.source);
    if (sources.size() != 1) return false;
    const SepStage* source = *sources.begin();
    temperature = source ? source->split().temperature : process->incoming.temperature;
    pressure = source ? source->split().pressure : process->incoming.pressure;
    return true;
}

}  // namespace kestrane
