#include "Tally.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <ostream>

namespace kestrane::campaign {

namespace {

constexpr std::array<const char*, FAILURE_COUNT> NAMES{
    "one phase, unstable", "a better split exists",  "third phase untold",  "unequal fugacities",
    "no material balance", "Gibbs above the feed's", "wrong root",          "density out of bounds",
    "no two-phase side",   "unstable outside",       "phase misnamed",      "no stage balance",
    "wrong stage volume",  "unequal potential",      "pressure gradient",   "not reversible",
    "wrong contact",       "falsely not found",      "falsely above limit", "convergence warning",
    "wrong, but warned of"};
constexpr int NAME_WIDTH = 26, WIDTH = 13;

double per_million(long count, long of) {
    return of > 0 ? 1e6 * static_cast<double>(count) / static_cast<double>(of) : 0.0;
}

}  // namespace

std::size_t distance_class(double distance) {
    if (!(distance >= 0.0)) return 5;
    std::size_t decade = 0;
    for (const double bound : {1e-4, 1e-3, 1e-2, 1e-1}) {
        if (distance < bound) return decade;
        ++decade;
    }
    return decade;
}

void Histogram::add(int value, std::uint64_t where) {
    if (counts_.empty() || value > worst()) worst_at_ = where;
    ++counts_[value];
    ++count_;
}

int Histogram::quantile(double share) const {
    const double wanted = share * static_cast<double>(count_);
    long below = 0;
    for (const auto& [value, number] : counts_) {
        below += number;
        if (static_cast<double>(below) >= wanted) return value;
    }
    return worst();
}

Tally::Tally(std::string what, std::vector<std::string> modes)
    : what_(std::move(what)),
      modes_(std::move(modes)),
      answers_(modes_.size(), 0),
      two_phase_(modes_.size(), 0),
      evaluations_(modes_.size()) {}

void Tally::count(std::size_t mode, std::size_t distance, int evaluations, std::uint64_t at,
                  bool two_phase) {
    ++answers_[mode];
    two_phase_[mode] += two_phase;
    ++by_distance_[distance];
    evaluations_[mode].add(evaluations, at);
}

void Tally::fail(Failure failure, std::size_t mode, std::size_t distance, std::uint64_t at) {
    ++failures_[failure][distance];
    std::vector<long>& modes = by_mode_[failure];
    modes.resize(modes_.size(), 0);
    ++modes[mode];
    records_.push_back({failure, mode, at});
}

long Tally::answers() const {
    return std::accumulate(answers_.begin(), answers_.end(), 0l);
}

long Tally::of(Failure failure) const {
    const auto found = failures_.find(failure);
    if (found == failures_.end()) return 0;
    return std::accumulate(found->second.begin(), found->second.end(), 0l);
}

long Tally::silent() const {
    long sum = 0;
    for (const auto& entry : failures_)
        if (entry.first < UNCONVERGED && entry.first != FALSELY_NOT_FOUND &&
            entry.first != FALSELY_ABOVE_LIMIT)
            sum += of(entry.first);
    return sum;
}

const char* Tally::name(Failure failure) {
    return failure < FAILURE_COUNT ? NAMES[failure] : "none";
}

void Tally::print(std::ostream& out) const {
    out << answers() << ' ' << what_ << '\n';
    for (std::size_t mode = 0; mode < modes_.size(); ++mode)
        out << "  " << std::left << std::setw(NAME_WIDTH) << modes_[mode] << std::right
            << std::setw(WIDTH) << answers_[mode] << ", " << two_phase_[mode]
            << " with two phases\n";
    print_failures(out);
    print_evaluations(out);
}

void Tally::print_failures(std::ostream& out) const {
    out << "\nFailures by distance from the critical point; per million of all at the end\n"
        << std::left << std::setw(NAME_WIDTH) << "  distance" << std::right;
    for (const char* name : DISTANCES) out << std::setw(WIDTH) << name;
    out << std::setw(WIDTH) << "all" << std::setw(WIDTH) << "per million" << '\n'
        << std::left << std::setw(NAME_WIDTH) << "  answers" << std::right;
    for (const long number : by_distance_) out << std::setw(WIDTH) << number;
    out << std::setw(WIDTH) << answers() << '\n';
    for (const auto& [failure, counts] : failures_) {
        out << "  " << std::left << std::setw(NAME_WIDTH - 2) << NAMES[failure] << std::right;
        for (const long number : counts) out << std::setw(WIDTH) << number;
        out << std::setw(WIDTH) << of(failure) << std::setw(WIDTH) << std::fixed
            << std::setprecision(1) << per_million(of(failure), answers()) << "  (";
        for (std::size_t mode = 0; mode < modes_.size(); ++mode)
            out << (mode > 0 ? ", " : "") << modes_[mode] << ' ' << by_mode_.at(failure)[mode];
        out << ")\n";
    }
    if (failures_.empty()) out << "  none\n";
}

void Tally::print_evaluations(std::ostream& out) const {
    if (std::ranges::all_of(evaluations_, [](const Histogram& all) { return all.worst() == 0; }))
        return;
    out << "\nEvaluations of ln phi\n"
        << std::left << std::setw(NAME_WIDTH + 2) << "" << std::right << std::setw(WIDTH)
        << "median" << std::setw(WIDTH) << "99.9 %" << std::setw(WIDTH) << "worst"
        << "   in case\n";
    for (std::size_t mode = 0; mode < modes_.size(); ++mode) {
        const Histogram& all = evaluations_[mode];
        out << "  " << std::left << std::setw(NAME_WIDTH) << modes_[mode] << std::right
            << std::setw(WIDTH) << all.quantile(0.5) << std::setw(WIDTH) << all.quantile(0.999)
            << std::setw(WIDTH) << all.worst() << "   " << all.worst_at() << '\n';
    }
}

void Tally::print_cases(std::ostream& out, std::size_t most) const {
    std::vector<Record> records = records_;
    std::ranges::stable_sort(records, {}, &Record::failure);
    for (std::size_t i = 0; i < std::min(most, records.size()); ++i)
        out << "  case " << records[i].at << ": " << NAMES[records[i].failure] << " ("
            << modes_[records[i].mode] << ")\n";
    if (records.size() > most) out << "  and " << records.size() - most << " more\n";
}

}  // namespace kestrane::campaign
