#pragma once

#include <string>
#include <vector>

namespace kestrane {

/// A text of two words or more that the program holds, one line of it.
struct SourceText {
    std::string place;  ///< file and line, for messages of the test
    std::string text;   ///< without blanks at its ends and without a final full stop
};

/// The literals of all sources but those that hold only names of columns and substances. What the
/// program says stands among them in one piece or, around variable parts, in several.
std::vector<SourceText> source_texts();

/// The same for one source, as it would stand in a file of that name.
std::vector<SourceText> texts_of(const std::string& source, const std::string& name);

}  // namespace kestrane
