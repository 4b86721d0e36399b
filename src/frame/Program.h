#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ErrorCounts.h"
#include "frame/File.h"
#include "frame/RunClock.h"
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
        std::unique_ptr<File> lastSaved;  ///< chosen in a save dialog; null at first
        std::unique_ptr<Writer> theWriter;
        std::unique_ptr<Reader> theReader;
        bool batchMode = true;
        RunClock clock;
        /// Memory kept only to be given back when there is no other, so that this can be reported.
        std::unique_ptr<char[]> reserveBlock;
        int instances = 0;  ///< living Programs
        State();
        ~State();
    };
    static State& state();

private:
    void OpenFiles(int argc, char* const* argv);
    void OpenConsole(int argc);
    void OpenInput(int argc, char* const* argv);
    void OpenReport(int argc, char* const* argv);
    void PrintBanner(OutFile& file) const;
    void ShutDown();
};

/// The rows of the banner box, each with its margin, without newlines.
std::vector<std::string> banner_box(const std::vector<std::string>& lines);
/// The years of the banner's notice, from a date that ends in its year: "1995" or "1995-2026".
std::string notice_years(std::string_view build_date);

}  // namespace kestrane
