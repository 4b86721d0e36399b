#pragma once

#include <string>

namespace kestrane {

class Reader;

/// Which lines follow from a word that no context knows. If the word that opens a block is
/// misspelt, the sub-keywords and tables of the block are unknown too, line by line: only the first
/// word is told.
class StrayLines {
public:
    /// Reports a word that no context knows, unless it follows from an earlier one, and drops its
    /// statement.
    void skip(Reader& reader, const std::string& word);
    /// Whether the line that begins with the word just read, which is known, belongs to what is
    /// being dropped, as the head of a table: PRES(psia) RV. Its line is then dropped.
    bool take(Reader& reader);
    /// The word has begun a statement that was read.
    void end(const std::string& word);

private:
    bool follows(const Reader& reader, const std::string& word);

    bool open_ = false;      ///< an unknown word has been reported, and no statement read since
    bool in_table_ = false;  ///< the lines dropped are those of a table
};

}  // namespace kestrane
