#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "frame/Program.h"
#include "lab/LabRun.h"
#include "surface/BlackOilFile.h"
#include "surface/Process.h"

namespace kestrane {

/// A fluid of three components, fed, at conditions where it is two phases.
inline const std::string FED = LIGHT_FLUID +
                               "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\n"
                               "TEMP 100 F\n"
                               "PRES 2000 psia\n";

inline Sep& separator(LabRun& run, const std::string& name) {
    return **run.lab.separators.find(name);
}

/// Splits the laboratory's feed.
struct Separated {
    Separated(LabRun& run, const std::string& name)
        : split(separator(run, name).Separate(*run.lab.cell().feed, oil, gas, true)) {}
    Tank oil, gas;
    SepSplit split;
};

/// The report of a run in which a script line follows the fluid.
inline std::string report_of(const std::string& script) {
    return LabRun(script).report();
}

/// A run of its own directory, so that the file of black oil tables has a place.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kestrane-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
        path = pattern;
        auto input = std::make_unique<InFile>();
        input->SetPath((path / "run.dat").string());
        Program::state().primaryInput = std::move(input);
        black_oil_file().close();
    }
    ~ScratchDirectory() {
        black_oil_file().close();
        Program::state().primaryInput.reset();
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::filesystem::path table() const { return path / "run.bot"; }
    std::vector<std::string> table_lines() const {
        std::ifstream file(table());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) lines.push_back(line);
        return lines;
    }
    std::filesystem::path path;
};

inline std::vector<std::string> fields(const std::string& line) {
    std::vector<std::string> result{""};
    for (const char c : line)
        if (c == '\t')
            result.emplace_back();
        else
            result.back() += c;
    return result;
}

}  // namespace kestrane
