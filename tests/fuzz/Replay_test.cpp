// The inputs that fuzzing kept, and scripts of the tree with bytes lost, doubled and changed.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "fuzz/FuzzTargets.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;
using Target = void (*)(const std::string&);

std::string bytes_of(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Files below a directory of the tree, in order of their names.
std::vector<fs::path> files_below(const std::string& place, const std::string& extension) {
    std::vector<fs::path> files;
    const fs::path root = fs::path(KESTRANE_SOURCE_DIR) / place;
    if (!fs::exists(root)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() && (extension.empty() || entry.path().extension() == extension))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::string& name, Target target) {
    for (const fs::path& file : files_below("tests/fuzz/kept/" + name, "")) {
        SCOPED_TRACE(file.filename().string());
        EXPECT_NO_THROW(target(bytes_of(file)));
    }
}

TEST(FuzzReplay, KeptInputsOfTheReader) {
    replay("reader", fuzz::feed_reader);
}
TEST(FuzzReplay, KeptInputsOfTheTable) {
    replay("table", fuzz::feed_table);
}
TEST(FuzzReplay, KeptInputsOfScripts) {
    replay("script", fuzz::feed_script);
}

/// The text with one mishap: cut off, a stretch lost or repeated, or some bytes changed.
std::string damaged(std::string text, std::mt19937& random) {
    const auto below = [&random](std::size_t n) { return n > 0 ? random() % n : 0; };
    const std::size_t at = below(text.size()), length = below(40);
    switch (below(4)) {
        case 0:
            return text.substr(0, at);
        case 1:
            return text.erase(at, length);
        case 2:
            return text.insert(at, text.substr(at, length));
        default:
            for (int change = 0; change < 5 && !text.empty(); ++change)
                text[below(text.size())] = static_cast<char>(below(256));
            return text;
    }
}

TEST(FuzzReplay, DamagedScriptsEndInMessages) {
    std::mt19937 random(20);
    for (const fs::path& file : files_below("tests/scripts", ".in")) {
        const std::string text = bytes_of(file);
        if (text.size() > 20000) continue;
        for (const Target target : {fuzz::feed_reader, fuzz::feed_table, fuzz::feed_script}) {
            SCOPED_TRACE(file.string());
            EXPECT_NO_THROW(target(damaged(text, random)));
        }
    }
}

}  // namespace
}  // namespace kestrane
