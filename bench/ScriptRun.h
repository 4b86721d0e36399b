#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// The text of an example.
inline std::string example(const std::string& name) {
    std::ifstream file(std::string(KESTRANE_SOURCE_DIR) + "/examples/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A laboratory with its script and its report in memory.
struct ScriptRun {
    explicit ScriptRun(const std::string& script)
        : input(script),
          file(input),
          report(output),
          writer(counts, nullptr, &report),
          reader(writer, file) {}
    std::stringbuf input, output;
    InFile file;
    OutFile report;
    ErrorCounts counts;
    Writer writer;
    Reader reader;
    EOSLab lab;
};

}  // namespace kestrane
