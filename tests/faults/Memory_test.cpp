// Memory that runs out anywhere in a whole run: the run says so and ends, or was not in need of it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "faults/Allocations.h"
#include "frame/ChildRun.h"
#include "lab/Kestrane.h"

namespace kestrane {
namespace {

using faults::Shortage;

const std::string MEMORY = "Dynamic memory exhausted.";
const std::string MEMORY_BLOCK = "######  FATAL ERROR: Dynamic memory exhausted  ######";

std::string example(const std::string& name) {
    std::ifstream file(std::string(KESTRANE_SOURCE_DIR) + "/examples/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The text with the figures of all its times made equal.
std::string without_time(const std::string& text) {
    static const std::regex time("(time so far|execution time): [0-9.]+ seconds");
    return std::regex_replace(text, time, "$1: T seconds");
}

/// Runs of one script with memory short at one allocation.
class MemoryRuns {
public:
    explicit MemoryRuns(const std::string& script) : child_("faults") {
        child_.put("in.dat", script);
        const ChildResult result = run(0, Shortage::None);
        EXPECT_EQ(result.status, 0) << result.err;
        whole_ = without_time(child_.get("out"));
        allocations_ = std::strtol(result.out.c_str(), nullptr, 10);
    }
    long allocations() const { return allocations_; }

    /// Runs with the allocation of that number failing, and judges what came of it.
    void expect_told(long number, Shortage shortage) {
        const ChildResult result = run(number, shortage);
        const std::string report = child_.exists("out") ? child_.get("out") : "";
        SCOPED_TRACE("allocation " + std::to_string(number) + " of " +
                     std::to_string(allocations_) +
                     (shortage == Shortage::Once ? ", once" : ", lasting"));
        const bool told = result.err.find(MEMORY_BLOCK) != std::string::npos ||
                          result.err.find(MEMORY) != std::string::npos;
        if (result.status == 0 && !told) {
            EXPECT_EQ(without_time(report), whole_)
                << "an incomplete report passed for a whole one";
            ++unharmed;
            return;
        }
        // The status is settled before the last lines of the report.
        EXPECT_TRUE(result.status == 1 || number > allocations_ - 40) << result.err;
        EXPECT_TRUE(told) << result.err;
        ++ended;
    }
    int unharmed = 0, ended = 0;

private:
    ChildResult run(long number, Shortage shortage) {
        std::filesystem::remove(child_.path("out"));
        return child_.run([&] {
            std::vector<std::string> texts{"kestrane", child_.path("in.dat"), child_.path("out")};
            std::vector<char*> argv;
            for (std::string& text : texts) argv.push_back(text.data());
            int status = 0;
            {
                Kestrane program;
                faults::fail_allocation(number, shortage);
                status = program.Main(static_cast<int>(argv.size()), argv.data());
            }
            const long counted = faults::allocations_counted();
            faults::fail_allocation(0, Shortage::None);
            std::cout << counted << std::flush;
            return status;
        });
    }

    ChildRun child_;
    std::string whole_;
    long allocations_ = 0;
};

/// Every allocation if KESTRANE_EVERY_ALLOCATION is set; otherwise so many, spread over the run and
/// dense at its start, where the files are opened.
void sweep(const std::string& name, int runs) {
    MemoryRuns memory(example(name));
    ASSERT_GT(memory.allocations(), 1000);
    const bool every = std::getenv("KESTRANE_EVERY_ALLOCATION") != nullptr;
    const long stride = every ? 1 : std::max(1l, memory.allocations() / runs);
    int tried = 0;
    for (const Shortage shortage : {Shortage::Once, Shortage::Lasting})
        for (long number = 1; number <= memory.allocations();
             number += number < 40 || every ? 1 : stride) {
            memory.expect_told(number, shortage);
            ++tried;
            if (testing::Test::HasFailure()) return;
        }
    EXPECT_GT(memory.ended, tried / 2);
    std::printf("%s: %ld allocations, %d runs, %d ended with the message, %d whole\n", name.c_str(),
                memory.allocations(), tried, memory.ended, memory.unharmed);
}

TEST(MemoryShortage, InAReservoirOilIsTold) {
    sweep("reservoir-oil.dat", 100);
}
TEST(MemoryShortage, InALumpedCondensateIsTold) {
    sweep("gas-condensate.dat", 100);
}

}  // namespace
}  // namespace kestrane
