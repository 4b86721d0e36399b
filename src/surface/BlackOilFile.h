#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "frame/File.h"
#include "frame/Writer.h"
#include "surface/BlackOil.h"

namespace kestrane {

/// The file of the run's black oil tables: one for all of them, opened at the first. It holds whole
/// tables alone, however the run or the disk comes to an end.
class BlackOilFile {
public:
    /// False if the file could not be opened, which is said once, or is not written to any more.
    bool open(Writer& writer);
    /// Writes a table, an empty line ahead of all but the first. If that fails, it is said, the
    /// file is cut back to the tables before, and gets no further ones.
    void add_table(Writer& writer, const std::string& table);
    /// Closes the file; the next table opens one anew.
    void close();

private:
    std::unique_ptr<OutFile> file_;
    bool tried_ = false;
    bool empty_ = true;
};
BlackOilFile& black_oil_file();

/// Where the tables go: named as the primary input (the program's short name if it has none) with
/// the extension "bot", beside the report, or beside the input if the report has no name.
///   input, report  may be null
File black_oil_path(const File* input, const File* report, const std::string& short_name);

/// Units of a table's depths, temperatures and pressures.
struct BlackOilUnits {
    const Units* depth;
    const Units* temperature;
    const Units* pressure;
};

/// The two header lines; the components' names are those of the products and the reservoir fluid.
void write_header(std::ostream& stream, const BlackOilUnits& units,
                  const std::vector<std::string>& oil, const std::vector<std::string>& gas,
                  const std::vector<std::string>& reservoir);
/// One line. What is missing is written as -999999.
void write_row(std::ostream& stream, const BO_Entry& entry, const BlackOilUnits& units);

}  // namespace kestrane
