#include "frame/Program.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <limits>
#include <new>
#include <sstream>
#include <utility>

#include "frame/Errors.h"
#include "frame/Platform.h"
#include "input/Keyword.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

constexpr std::string_view MAKER = "Orvane Software";
constexpr std::string_view FIRST_YEAR = "1995";
constexpr std::size_t BANNER_WIDTH = 80;
constexpr std::size_t RESERVE_SIZE = 8192;  // bytes

/// Text of a report that may have to be made with next to no memory.
using Message = std::array<const char*, 3>;

constexpr Message MEMORY_MESSAGE{"Dynamic memory exhausted.",
                                 "Try to increase the memory available to the program.",
                                 "Otherwise, the problem size will have to be reduced."};
constexpr Message UNEXPECTED_MESSAGE{"Unexpected termination.",
                                     "Execution terminated because of an unexpected exception.",
                                     "Please report this problem to Orvane Software."};

/// The last resort, which needs no memory.
void complain_plainly(const Message& lines) {
    std::fputs(lines[0], stderr);
    std::fputc('\n', stderr);
    std::fflush(stderr);
}

/// Set when an allocation has failed. Text streams swallow the exception and go on with less text,
/// so a run that has met it cannot vouch for its report.
bool memory_ran_out = false;

[[noreturn]] void note_exhaustion() {
    memory_ran_out = true;
    throw std::bad_alloc();
}

/// Reports the end of the run through whatever files there are. The caller returns 1 after it, so
/// the FatalError of the report ends here.
void report_fatal(Program::State& state, const Message& lines) {
    if (!state.consoleFile && !state.reportFile) {
        complain_plainly(lines);
        return;
    }
    try {
        Writer(state.errorCounts, state.consoleFile.get(), state.reportFile.get())
            .Fatal(std::vector<std::string>(lines.begin(), lines.end()));
    } catch (const FatalError&) {
    } catch (...) {
        complain_plainly(lines);
    }
}

[[noreturn]] void fail_to_open(Program::State& state, const File& file) {
    const std::string name = file.fullName ? *file.fullName : std::string();
    Writer(state.errorCounts, state.consoleFile.get(), nullptr)
        .Fatal({"Could not open file \"" + name + "\"."});
}

/// Made without a stream: one that finds no memory would leave the number out in silence.
std::string time_line(double seconds) {
    std::array<char, 400> text;  // a double has at most 309 digits ahead of its point
    std::snprintf(text.data(), text.size(), "Total execution time: %.2f seconds.", seconds);
    return text.data();
}

/// A report that stopped short, for want of disk space or of a reader, must not pass for a whole
/// one. Told on the console alone, once all is flushed.
void check_report(Program::State& state) {
    const OutFile* const report = state.reportFile.get();
    if (!report || report->good()) return;
    const std::string name =
        report->fullName ? "file \"" + *report->fullName + "\"" : std::string("standard output");
    Writer console(state.errorCounts, state.consoleFile.get(), nullptr);
    console.Warning(
        {"Could not write all of the report to " + name + ".", "The report is not complete."});
}

void discard_line(std::istream& stream) {
    stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

}  // namespace

std::string notice_years(std::string_view build_date) {
    std::string years(FIRST_YEAR);
    const std::size_t digits = std::min(build_date.size(), FIRST_YEAR.size());
    const std::string_view last = build_date.substr(build_date.size() - digits);
    if (last > FIRST_YEAR) years.append("-").append(last);
    return years;
}

std::vector<std::string> banner_box(const std::vector<std::string>& lines) {
    std::size_t longest = 0;
    for (const std::string& line : lines) longest = std::max(longest, line.size());
    const std::size_t width = longest + 8;
    const std::size_t inner = width - 2;
    const std::string margin(width < BANNER_WIDTH ? (BANNER_WIDTH - width) / 2 : 0, ' ');

    const auto row = [&](const std::string& text) { return margin + "*" + text + "*"; };
    const std::string border = row(std::string(inner, '*'));
    const std::string blank = row(std::string(inner, ' '));
    std::vector<std::string> rows{border, blank};
    for (const std::string& line : lines) {
        const std::size_t left = (inner - line.size()) / 2;
        const std::size_t right = inner - line.size() - left;
        rows.push_back(row(std::string(left, ' ') + line + std::string(right, ' ')));
    }
    rows.push_back(blank);
    rows.push_back(border);
    return rows;
}

Program::State::State() : clock(RunClock::at(clock_ticks())) {}
Program::State::~State() = default;

Program::State& Program::state() {
    static State the_state;
    return the_state;
}

void Program::PauseClock() {
    state().clock.pause(clock_ticks());
}

void Program::ResumeClock() {
    state().clock.resume(clock_ticks());
}

double Program::ElapsedSeconds() {
    return state().clock.seconds(clock_ticks());
}

Program::Program() {
    State& s = state();
    if (s.instances++ > 0) return;
    ResumeClock();
    line_buffered(stderr);
    s.consoleFile = std::make_unique<OutFile>(*std::cerr.rdbuf());
    s.reserveBlock = std::make_unique<char[]>(RESERVE_SIZE);
}

Program::~Program() {
    State& s = state();
    if (--s.instances > 0) return;
    // From here on memory is needed for the end lines alone.
    s.reserveBlock.reset();
    memory_ran_out = false;
    try {
        ShutDown();
        if (memory_ran_out) throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
        complain_plainly(MEMORY_MESSAGE);
    } catch (...) {
        complain_plainly(UNEXPECTED_MESSAGE);
    }
}

void Program::AppendBanner(std::vector<std::string>& lines) const {
    const State& s = state();
    lines.reserve(20);
    lines.push_back(s.programName);
    bool first = true;
    for (const std::string& line : s.descriptionLines) {
        if (line.empty()) continue;
        if (first) lines.emplace_back();
        first = false;
        lines.push_back(line);
    }
    if (!s.version.empty()) {
        lines.emplace_back();
        lines.push_back("Version " + s.version);
    }
    AppendMaker(lines);
}

void Program::AppendMaker(std::vector<std::string>& lines) const {
    lines.emplace_back();
    lines.emplace_back(MAKER);
    lines.emplace_back("27 Harbour Terrace");
    lines.emplace_back("Aberford AB4 2QT");
    lines.emplace_back("Telephone 555 0142");
    lines.emplace_back("support@orvane.example");
    lines.emplace_back();
    lines.push_back("Copyright (C) " + notice_years(__DATE__) + " " + std::string(MAKER));
    lines.emplace_back("Provided without warranty of any kind");
}

void Program::Run(Reader& reader, Writer&) {
    Key_User commands;
    commands.ReadAll(reader);
}

int Program::Main(int argc, char* const* argv) {
    State& s = state();
    prepare_process();
    std::set_new_handler(note_exhaustion);
    memory_ran_out = false;
    ResumeClock();
    try {
        OpenFiles(argc, argv);
        ResumeClock();
        Run(*s.theReader, *s.theWriter);
        if (memory_ran_out) throw std::bad_alloc();
        return 0;
    } catch (const FatalError&) {
        // Its message has been printed.
    } catch (const std::bad_alloc&) {
        s.reserveBlock.reset();
        report_fatal(s, MEMORY_MESSAGE);
    } catch (...) {
        report_fatal(s, UNEXPECTED_MESSAGE);
    }
    return 1;
}

void Program::OpenFiles(int argc, char* const* argv) {
    State& s = state();
    if (argc > 0) s.programPath = argv[0];
    // The reader goes first: it refers to the files.
    s.theReader.reset();
    s.theWriter.reset();
    s.terminalInput.reset();
    s.primaryInput.reset();
    s.reportFile.reset();

    OpenConsole(argc);
    PrintBanner(*s.consoleFile);
    OpenInput(argc, argv);
    OpenReport(argc, argv);
    if (s.reportFile && !s.reportFile->sharesStream(*s.consoleFile)) PrintBanner(*s.reportFile);

    s.theWriter = std::make_unique<Writer>(s.errorCounts, s.consoleFile.get(), s.reportFile.get());
    s.theReader = std::make_unique<Reader>(*s.theWriter, *s.primaryInput);
}

void Program::OpenConsole(int argc) {
    State& s = state();
    const bool output_is_terminal = is_terminal(stdout);
    s.batchMode = !(is_terminal(stdin) && output_is_terminal && argc < 3);
    if (!output_is_terminal) return;
    line_buffered(stdout);
    s.consoleFile = std::make_unique<OutFile>(*std::cout.rdbuf());
}

void Program::PrintBanner(OutFile& file) const {
    std::vector<std::string> lines;
    AppendBanner(lines);
    Writer writer(state().errorCounts, &file, nullptr);
    writer.Newlines(2);
    for (const std::string& row : banner_box(lines)) writer.Line(row);
    writer.Newlines(2);
    writer.Flush();
}

/// The script: the file named, else standard input if it is no terminal, else the file chosen in a
/// dialog, else what is typed.
void Program::OpenInput(int argc, char* const* argv) {
    State& s = state();
    const bool at_terminal = is_terminal(stdin);
    if (at_terminal) {
        s.terminalInput = std::make_unique<InFile>(*std::cin.rdbuf());
        s.terminalInput->prompting = 1;
    }
    if (argc > 1) {
        auto file = std::make_unique<InFile>();
        file->SetPath(argv[1]);
        if (!file->OpenRead() || receives_output(*file->fullName)) fail_to_open(s, *file);
        s.primaryInput = std::move(file);
    } else if (!at_terminal) {
        s.primaryInput = std::make_unique<InFile>(*std::cin.rdbuf());
    } else {
        auto file = std::make_unique<InFile>();
        if (file->OpenDialog("Primary Input File")) s.primaryInput = std::move(file);
    }
    if (!s.primaryInput) s.primaryInput = std::move(s.terminalInput);
    if (!s.primaryInput) throw LogicError{};
}

/// The report: the file named, else standard output if it is no terminal, else the file chosen in
/// a dialog, else none. The script is never taken for it: opening would empty the script.
void Program::OpenReport(int argc, char* const* argv) {
    State& s = state();
    auto file = std::make_unique<OutFile>();
    if (argc > 2) {
        file->SetPath(argv[2]);
        if (file->sameFile(*s.primaryInput) || !file->OpenWrite()) fail_to_open(s, *file);
        s.reportFile = std::move(file);
    } else if (!is_terminal(stdout)) {
        s.reportFile = std::make_unique<OutFile>(*std::cout.rdbuf());
    } else if (file->SaveDialog("Standard Output File", "Out", nullptr)) {
        s.reportFile = std::move(file);
    }
}

void Program::ShutDown() {
    State& s = state();
    const std::string time = time_line(ElapsedSeconds());
    Writer writer(s.errorCounts, s.consoleFile.get(), s.reportFile.get());
    writer.Summary();
    writer.Headline(time, {}, '=');
    writer.Flush();
    check_report(s);
    writer.WritePending(0);

    Writer console(s.errorCounts, s.consoleFile.get(), nullptr);
    if (!s.batchMode) console.Headline("Hit \"Return\" to exit.", {}, '=');
    writer.WritePending(0);
    writer.Flush();
    if (!s.batchMode) discard_line(std::cin);
}

}  // namespace kestrane
