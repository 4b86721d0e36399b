#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "frame/ErrorCounts.h"
#include "frame/File.h"
#include "frame/Writer.h"
#include "input/Reader.h"

namespace kestrane::testing {

/// A reader on a script in memory, with its console and report in memory too.
struct Script {
    explicit Script(const std::string& text)
        : source(text, std::ios_base::in | std::ios_base::binary),
          input(source),
          reader(writer, input) {}
    /// On a stream of the test's own.
    explicit Script(std::streambuf& stream) : input(stream), reader(writer, input) {}

    std::string word() {
        std::string text;
        return reader.NextWord(text) > 0 ? text : "<none>";
    }
    std::string quote() {
        std::string text;
        return reader.NextQuote(text) > 0 ? text : "<none>";
    }
    /// The number that stands next; -99 for an empty field, -98 for none.
    double number() {
        double value = -99.0;
        return reader.NextDouble(value) > 0 ? value : -98.0;
    }
    /// All words to the end of the input.
    std::vector<std::string> words() {
        std::vector<std::string> list;
        std::string text;
        while (reader.NextKeyword(text) > 0) list.push_back(text);
        return list;
    }
    std::string printed() const { return console_text.str(); }
    bool says(const std::string& text) const { return printed().find(text) != std::string::npos; }

    std::stringbuf source;
    std::stringbuf console_text{std::ios_base::out | std::ios_base::binary};
    std::stringbuf report_text{std::ios_base::out | std::ios_base::binary};
    ErrorCounts counts;
    InFile input;
    OutFile console{console_text};
    OutFile report{report_text};
    Writer writer{counts, &console, &report};
    Reader reader;
};

/// A directory of its own for a test, removed with it.
class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kestrane-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(path_); }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    /// Writes a file and returns its full name.
    std::string write(const std::string& name, const std::string& text) const {
        const std::filesystem::path full = std::filesystem::path(path_) / name;
        std::filesystem::create_directories(full.parent_path());
        std::ofstream(full, std::ios_base::binary) << text;
        return full.string();
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace kestrane::testing
