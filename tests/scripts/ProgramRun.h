#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kestrane {

/// What one run of the program left behind.
struct ProgramRun {
    int exit_status = -1;  ///< -1 if it was ended by a signal
    std::string output;    ///< standard output
    std::string console;   ///< standard error
    std::string report;    ///< the report file, if one was named and exists; names of files
                           ///< beside it without the directory
    std::string table;     ///< the file of black oil tables beside the report, if there is one
};

/// Runs the program in `directory` with the given arguments and standard input. The name "REPORT"
/// among the arguments stands for a temporary report file.
ProgramRun run_program(const std::filesystem::path& directory, std::vector<std::string> arguments,
                       const std::string& standard_input = {});

/// The text with what differs from run to run made equal: times and the year of the build.
std::string without_times(const std::string& text);

std::string file_text(const std::filesystem::path& path);

}  // namespace kestrane
