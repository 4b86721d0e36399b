#pragma once

#include <sstream>
#include <string>

#include "frame/ErrorCounts.h"
#include "frame/File.h"
#include "frame/Writer.h"

namespace kestrane {

/// An output file in memory.
struct TextFile {
    std::stringbuf buffer{std::ios::out};
    OutFile file{buffer};
    std::string text() const { return buffer.str(); }
    /// What was written since the last call.
    std::string take() {
        std::string result = buffer.str();
        buffer.str("");
        return result;
    }
};

/// A writer on a console and a report in memory.
struct TextFiles {
    ErrorCounts counts;
    TextFile console;
    TextFile report;
    Writer writer{counts, &console.file, &report.file};
};

}  // namespace kestrane
