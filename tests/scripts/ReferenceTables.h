#pragma once

#include <string>

namespace kestrane {

/// A table of the reference, in Markdown, from the program's own data: "library", "units",
/// "component columns", "experiment columns FIRST LAST" (from the column of one keyword to that of
/// another, in the order of reports) or "named columns". Empty for any other name.
std::string reference_table(const std::string& name);

/// The document with the tables in it made anew. A table stands between the lines
/// "<!-- table: NAME -->" and "<!-- end of table -->".
std::string with_current_tables(const std::string& document);

}  // namespace kestrane
