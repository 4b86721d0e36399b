#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/ErrorCounts.h"
#include "frame/File.h"
#include "frame/Writer.h"

namespace kestrane {

class Reader;

/// A run of the program: files, counters, clock, and the order of start-up and shut-down. All its
/// state is process-wide: there is one run per process.
class Program {
public:
    Program();
    /// The last instance prints the summary and the time line.
    virtual ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    virtual void AppendBanner(std::vector<std::string>& lines) const;
    virtual void AppendMaker(std::vector<std::string>& lines) const;
    /// The work of the run once the files are open. The base is a plain loop over the script that
    /// stores no commands.
    virtual void Run(Reader& reader, Writer& writer);

    /// Opens the files, runs; 0 if Run came back, 1 if an exception ended it.
    int Main(int argc, char* const* argv);

    /// Excludes a wait from the run time. ResumeClock outside a pause restarts the clock.
    static void PauseClock();
    static void ResumeClock();
    /// Run time so far, seconds.
    static double ElapsedSeconds();

    /// Process-wide state; the files are null until opened.
    struct State {
        std::string programName = "PROGRAM";
        std::string shortName = "program";
        std::string version = "1.0";
        std::vector<std::string> descriptionLines;
        std::string programPath;
        ErrorCounts errorCounts;
        std::unique_ptr<InFile> primaryInput;
        std::unique_ptr<InFile> terminalInput;
        std::unique_ptr<OutFile> reportFile;
        std::unique_ptr<OutFile> consoleFile;
        std::unique_ptr<Writer> theWriter;
        std::unique_ptr<Reader> theReader;
        bool batchMode = true;
        State();
        ~State();
    };
    static State& state();

private:
    void OpenFiles(int argc, char* const* argv);
};

/// The rows of the banner box, each with its margin, without newlines.
std::vector<std::string> banner_box(const std::vector<std::string>& lines);

}  // namespace kestrane
