#include "surface/Process.h"

#include <algorithm>

#include "lab/EOSLab.h"

namespace kestrane {

namespace {

template <class T>
T* find_named(const std::vector<DynPtr<T>>& list, const std::string& word) {
    for (const DynPtr<T>& entry : list)
        if (KeyCompare(entry->name, word) == 0) return entry.get();
    return nullptr;
}

}  // namespace

Process::Process(EOSLab& laboratory, std::string process_name)
    : name(std::move(process_name)), lab(laboratory) {}

void Process::Incoming::clear() {
    for (Tank* tank : {&total, &liquid, &vapor}) tank->rebind(nullptr);
    temperature = pressure = ValueWithUnit{};
    liquid_density = vapor_density = UNSET;
    amounts = StgAmts{};
}

const CmdKey* Process::FindKey(const std::string& word) const {
    return dictionary_of<Process>().find(word);
}

SepStage* Process::find_stage(const std::string& word) const {
    return find_named(stages, word);
}

OutStage* Process::find_product(const std::string& word) const {
    return find_named(products, word);
}

SepStage& Process::AddStage(const std::string& stage_name) {
    stages.push_back(make_dyn<SepStage>(*this, stage_name));
    return *stages.back();
}

OutStage& Process::AddProduct(const std::string& product_name) {
    products.push_back(make_dyn<OutStage>(*this, product_name));
    return *products.back();
}

SepStage* Process::LastStage() const {
    return stages.empty() ? nullptr : stages.back().get();
}

std::string Process::stage_label(const Stage& stage) const {
    return "stage \"" + stage.name + "\" of process \"" + name + "\"";
}

std::string Process::product_label(const OutStage& product) const {
    return "product \"" + product.name + "\" of process \"" + name + "\"";
}

/// Whether a later stage takes a phase of this one. Products take nothing away.
bool Process::feeds_later_stage(const SepStage& stage, bool liquid) const {
    bool later = false;
    for (const auto& other : stages) {
        if (later)
            for (const StageFeed& feed : other->feeds)
                if (feed.source == &stage && (liquid ? feed.liquidShare : feed.vaporShare) > 0.0)
                    return true;
        later = later || other.get() == &stage;
    }
    return false;
}

void Process::default_feeds() {
    SepStage* before = nullptr;
    for (const auto& stage : stages) {
        if (!stage->ownFeed) stage->AddFeed(before, 1.0, before ? 0.0 : 1.0);
        before = stage.get();
    }
}

/// The last stage whose liquid no later stage takes. A liquid left elsewhere leaves the process
/// unseen, which is said.
void Process::feed_oil(OutStage& oil, Reader& reader, const std::string& location) {
    SepStage* last = nullptr;
    for (const auto& stage : stages)
        if (!feeds_later_stage(*stage, true)) last = stage.get();
    oil.AddFeed(last, 1.0, 0.0);
    for (const auto& stage : stages) {
        if (stage.get() == last || feeds_later_stage(*stage, true)) continue;
        const bool taken = std::ranges::any_of(products, [&](const auto& product) {
            return std::ranges::any_of(product->feeds, [&](const StageFeed& feed) {
                return feed.source == stage.get() && feed.liquidShare > 0.0;
            });
        });
        if (!taken)
            reader.Warning(
                {"The liquid of " + stage_label(*stage) + " goes nowhere.", location,
                 "Only the liquid of stage \"" + last->name + "\" goes to the product \"Oil\"."});
    }
}

void Process::feed_gas(OutStage& gas) {
    for (const auto& stage : stages)
        if (!feeds_later_stage(*stage, false)) gas.AddFeed(stage.get(), 0.0, 1.0);
    if (gas.feeds.empty()) gas.AddFeed(nullptr, 0.0, 1.0);
}

void Process::Complete(Reader& reader, const std::string& location) {
    for (const auto& stage : stages) stage->ResolveFeeds(reader);
    for (const auto& product : products) product->ResolveFeeds(reader);
    default_feeds();
    OutStage* oil = find_product("OIL");
    OutStage* gas = find_product("GAS");
    if (!oil) oil = &AddProduct("Oil");
    if (!gas) gas = &AddProduct("Gas");
    if (!oil->ownFeed) feed_oil(*oil, reader, location);
    if (!gas->ownFeed) feed_gas(*gas);
}

bool Process::needs_incoming_phases(bool report) const {
    const bool known = incoming.temperature.value != UNSET && incoming.pressure.value != UNSET;
    if (report && known) return true;
    const auto takes_phase = [](const StageFeed& feed) {
        return !feed.source && feed.liquidShare != feed.vaporShare;
    };
    return std::ranges::any_of(
               stages,
               [&](const auto& stage) { return std::ranges::any_of(stage->feeds, takes_phase); }) ||
           std::ranges::any_of(products, [&](const auto& product) {
               return std::ranges::any_of(product->feeds, takes_phase);
           });
}

void Process::split_incoming(IncomingPhase phase) {
    const double T = std::max(incoming.temperature.value, 0.0);
    const double P = std::max(incoming.pressure.value, 0.0);
    if (!(incoming.total.total_moles() > 0.0)) return;
    if (phase == IncomingPhase::ByFlash) return flash_incoming(T, P);
    const bool liquid = phase == IncomingPhase::Liquid;
    (liquid ? incoming.liquid : incoming.vapor).copy(incoming.total);
    incoming.liquid_density = incoming.vapor_density = cell_->density(incoming.total, T, P, liquid);
}

void Process::flash_incoming(double T, double P) {
    cell_->flash(incoming.total, T, P);
    std::swap(errors, cell_->errors());
    const PVTCell& cell = cell_->cell();
    const bool two_phase = cell.phase_count >= 2;
    const double moles = incoming.total.total_moles();
    const double V = std::clamp(cell.y_state.fraction, 0.0, 1.0);
    if (two_phase) {
        incoming.liquid.assign_amount(*cell.eq_liquid, (1.0 - V) * moles);
        incoming.vapor.assign_amount(*cell.eq_vapor, V * moles);
        incoming.liquid_density = cell.x_state.density;
        incoming.vapor_density = cell.y_state.density;
    } else {
        incoming.liquid.assign_scaled(incoming.total, 1.0 - V);
        incoming.vapor.assign_scaled(incoming.total, V);
        incoming.liquid_density = incoming.vapor_density = cell.feed_state.density;
    }
}

void Process::Run(const Tank& feed, const ValueWithUnit& temperature, const ValueWithUnit& pressure,
                  bool report, IncomingPhase phase) {
    incoming.clear();
    errors.Clear();
    incoming.total.copy(feed);
    incoming.temperature = temperature;
    incoming.pressure = pressure;
    for (Tank* tank : {&incoming.liquid, &incoming.vapor}) tank->rebind(feed.charz());
    if (!cell_) cell_ = make_dyn<StreamCell>();
    cell_->bind(feed.charz(), lab);
    if (needs_incoming_phases(report)) split_incoming(phase);
    for (const auto& stage : stages) stage->ResetFeeds();
    for (const auto& product : products) product->ResetFeeds();
    for (const auto& stage : stages) stage->Execute(report);
    for (const auto& product : products) product->Execute(report);
    if (report) measure_incoming();
}

void Process::measure_incoming() {
    StgAmts& amounts = incoming.amounts;
    amounts.moles = incoming.total.total_moles();
    amounts.mass = incoming.total.total_mass();
    amounts.gas_volume = amounts.moles * standard_conditions().standardMolarVolume;
    double volume = 0.0;
    const auto add = [&volume](const Tank& stream, double density) {
        if (stream.total_moles() == 0.0) return;
        volume =
            density == UNSET || volume == UNSET ? UNSET : volume + stream.total_mass() / density;
    };
    add(incoming.liquid, incoming.liquid_density);
    add(incoming.vapor, incoming.vapor_density);
    if (volume != 0.0) amounts.volume = volume;
}

void Process::gather_problems(ErrorList& problems) const {
    const auto take = [&](const std::string& where, const ErrorList& from) {
        for (const auto& entry : from.entries)
            for (int i = 0; i < entry->count; ++i)
                problems.Add(where + ": " + entry->text, from.severity);
    };
    take("The incoming stream of process \"" + name + "\"", errors);
    for (const auto& stage : stages) take(stage_label(*stage), stage->errors);
    for (const auto& product : products) take(product_label(*product), product->errors);
}

void Process::unbind() {
    incoming.clear();
    cell_ = nullptr;
    for (const auto& stage : stages) stage->ResetFeeds();
    for (const auto& product : products) product->ResetFeeds();
}

}  // namespace kestrane
