#pragma once

#include <string>
#include <vector>

namespace kestrane {

/// A document of the directory doc.
std::string reference_text(const std::string& document);

/// Words in backquotes in the first cell of a table's row.
std::vector<std::string> first_cell_words(const std::string& row);

/// "A; B" behind the colon of a comment as A and B.
std::vector<std::string> listed_in_comment(const std::string& comment);

/// The scripts that a document shows between "```kestrane run" and "```".
std::vector<std::string> examples_of(const std::string& document);

/// A script of the words of one table between "<!-- options: PATTERN; PATTERN -->" and "<!-- end of
/// options -->" of the reference.
struct OptionScript {
    std::string text;
    std::size_t words = 0;
};

/// One script for each table of options and pattern: each word in the place of the pattern's "@";
/// or, if one is given, that word alone. "//" in a pattern begins a line. Without a word also the
/// scripts of the reference's comments "<!-- run: LINE // LINE -->".
std::vector<OptionScript> option_scripts(const std::string& word = {});

}  // namespace kestrane
