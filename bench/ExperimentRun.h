#pragma once

#include <sstream>
#include <string>

#include "equil/Tank.h"
#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// One experiment on a laboratory set up once, silent as in a regression; the feed is renewed
/// before each run.
template <class Experiment>
class ExperimentRun {
public:
    ExperimentRun(const std::string& fluid, const std::string& block)
        : setting_(fluid),
          table_(block),
          setting_file_(setting_),
          table_file_(table_),
          silent_(counts_, nullptr, nullptr),
          reader_(silent_, table_file_) {
        Reader setting_reader(silent_, setting_file_);
        lab_.runScript(setting_reader);
        experiment_.parse(reader_, lab_, reader_);
        feed_ = *lab_.cell().feed;
    }

    void run() {
        lab_.cell().feed->copy(feed_);
        lab_.cell().pressure.value = 0.0;
        experiment_.run(reader_, lab_, reader_);
        lab_.errors().Clear();
    }

private:
    ErrorCounts counts_;
    std::stringbuf setting_, table_;
    InFile setting_file_, table_file_;
    const Writer silent_;
    Reader reader_;
    EOSLab lab_;
    Experiment experiment_;
    Tank feed_;
};

}  // namespace kestrane
