#include "fuzz/FuzzTargets.h"

#include <array>

#include "frame/Errors.h"
#include "input/SampleTable.h"
#include "input/Script.h"
#include "lab/LabRun.h"

namespace kestrane::fuzz {

namespace {

using testing::Script;

/// One reading operation; false at the end of the input.
bool read_something(Script& script, unsigned choice) {
    std::string text;
    double value = 0.0;
    int count = 0;
    std::array<double, 4> values{};
    switch (choice % 10) {
        case 0:
            return script.reader.NextWord(text) >= 0;
        case 1:
            return script.reader.NextKeyword(text) >= 0;
        case 2:
            return script.reader.NextQuote(text) >= 0;
        case 3:
            return script.reader.NextDouble(value, -1e6, 1e6) >= 0;
        case 4:
            return script.reader.NextInt(count, -100, 100) >= 0;
        case 5:
            return script.reader.NextDoubles(values) >= 0;
        case 6:
            script.reader.SkipStatement();
            return true;
        case 7:
            script.reader.DiscardLine();
            return true;
        case 8:
            script.reader.ErrorHere({"A finding"});
            return true;
        default:
            script.reader.Unread();
            return true;
    }
}

}  // namespace

void feed_reader(const std::string& bytes) {
    if (bytes.empty()) return;
    Script script(bytes.substr(1));
    script.reader.SetEcho(bytes[0] & 1);
    unsigned choice = static_cast<unsigned char>(bytes[0]);
    try {
        // Operations that stand still take no longer than those that go on.
        for (std::size_t step = 0; step < 4 * bytes.size() + 16; ++step) {
            if (step % 7 == 3) script.reader.SetLineLimit(static_cast<int>(choice % 3) - 1);
            const bool more = read_something(script, choice);
            choice = choice * 75u + 74u;
            choice %= 65537u;
            if (!more && choice % 4 == 0) break;
        }
    } catch (const FatalError&) {
    }
}

void feed_table(const std::string& bytes) {
    using namespace testing;
    try {
        Reading reading(bytes, &dictionary_of<Key_User>());
        Table copy(reading.table);
        copy.Merge(reading.script.reader, reading.table);
        for (int row = 0; row < reading.table.rowCount; ++row) {
            const Sample sample = reading.row(row);
            copy.PutRow(row, sample);
        }
        if (copy.rowCount > 1) copy.DeleteRow(copy.rowCount / 2);
        print(copy, 2, 1, 80);
        print(reading.table);
    } catch (const FatalError&) {
    }
}

void feed_script(const std::string& bytes) {
    const LabRun run(bytes);
}

}  // namespace kestrane::fuzz
