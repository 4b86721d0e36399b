#include "scripts/ProgramRun.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace kestrane {

namespace fs = std::filesystem;

namespace {

std::string quoted(const std::string& argument) {
    std::string text = "'";
    for (const char c : argument) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

/// A directory of its own for each run, removed afterwards.
class Scratch {
public:
    Scratch() {
        std::string pattern = (fs::temp_directory_path() / "kestrane-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
        path = pattern;
    }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    fs::path path;
};

/// Replaces what follows each `label` and consists of `characters`.
void replace_after(std::string& text, const std::string& label, const char* characters,
                   const std::string& replacement) {
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at)) {
        at += label.size();
        const std::size_t end = std::min(text.find_first_not_of(characters, at), text.size());
        text.replace(at, end - at, replacement);
    }
}

}  // namespace

std::string file_text(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

ProgramRun run_program(const fs::path& directory, std::vector<std::string> arguments,
                       const std::string& standard_input) {
    const Scratch scratch;
    const fs::path report = scratch.path / "report";
    const fs::path input = scratch.path / "input";
    std::ofstream(input, std::ios::binary) << standard_input;
    std::string command = "cd " + quoted(directory.string()) + " && " + quoted(KESTRANE_PROGRAM);
    for (const std::string& argument : arguments)
        command += " " + quoted(argument == "REPORT" ? report.string() : argument);
    command += " <" + quoted(input.string()) + " >" + quoted((scratch.path / "out").string()) +
               " 2>" + quoted((scratch.path / "err").string());
    const int status = std::system(command.c_str());
    ProgramRun run;
    if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
    run.output = file_text(scratch.path / "out");
    run.console = file_text(scratch.path / "err");
    run.report = file_text(report);
    // The report names files that are written beside it.
    const std::string beside = scratch.path.string() + "/";
    for (std::size_t at = run.report.find(beside); at != std::string::npos;
         at = run.report.find(beside))
        run.report.erase(at, beside.size());
    for (const auto& entry : fs::directory_iterator(scratch.path))
        if (entry.path().extension() == ".bot") run.table = file_text(entry.path());
    return run;
}

std::string without_times(const std::string& text) {
    std::string result = text;
    for (const std::string label : {"Total execution time: ", "Execution time so far: "})
        replace_after(result, label, "0123456789.", "T");
    replace_after(result, "Copyright (C) 1995", "-0123456789", "");
    return result;
}

}  // namespace kestrane
