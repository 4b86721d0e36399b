#include "surface/NameArgument.h"

#include <vector>

namespace kestrane {

std::string read_name_of(Reader& reader, const std::string& thing) {
    const LineLimitScope one_line(reader, 0);
    std::string name;
    if (reader.NextWord(name) > 0 && !name.empty()) return name;
    reader.ErrorHere({"A name was expected for a " + thing + "."}, 3);
    return {};
}

void fatal_here(Reader& reader, const std::string& message, const std::string& last) {
    std::vector<std::string> lines{message};
    reader.Locate(lines, 3);
    if (!last.empty()) lines.push_back(last);
    reader.Fatal(lines);
}

}  // namespace kestrane
