#include "frame/Dialogs.h"

#include <limits>
#include <memory>

#include "frame/Program.h"

namespace kestrane {

namespace {

/// Keeps the time in a dialog out of the run time.
class ClockPause {
public:
    ClockPause() { Program::PauseClock(); }
    ~ClockPause() { Program::ResumeClock(); }
    ClockPause(const ClockPause&) = delete;
    ClockPause& operator=(const ClockPause&) = delete;
};

/// Tells the user that the file chosen does not open, and waits until he is ready. The message is
/// shown but not counted: the dialog comes again, and a second choice mends it.
void report_unopened(const std::string& name) {
    Program::State& state = Program::state();
    Writer console(state.errorCounts, state.consoleFile.get(), nullptr);
    const std::string text = "Could not open file \"" + name + "\".";
    console.Block("ERROR", Writer::Lines(&text, 1), Writer::DEFAULT_WIDTH, '#');
    if (state.terminalInput) console.Line("Hit \"Return\" when ready to try again.");
    console.Flush();
    if (state.terminalInput)
        state.terminalInput->ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

std::optional<std::string> show(const FileDialog& dialog, const DialogRequest& request) {
    std::optional<std::string> chosen = dialog(request);
    if (chosen && chosen->size() > MAX_DIALOG_NAME) chosen->resize(MAX_DIALOG_NAME);
    return chosen;
}

bool names_console(std::string_view name) {
    return name == "@" || name.starts_with("@.");
}

}  // namespace

FileDialogs& file_dialogs() {
    static FileDialogs dialogs{[](const DialogRequest&) { return std::nullopt; },
                               [](const DialogRequest&) { return std::nullopt; }};
    return dialogs;
}

DialogRequest propose_save(std::string_view title, std::string_view extension,
                           const File* templateFile) {
    const Program::State& state = Program::state();
    const File* const candidates[] = {templateFile, state.lastSaved.get(), state.reportFile.get(),
                                      state.primaryInput.get()};
    File beside;
    for (const File* candidate : candidates) {
        if (!candidate) continue;
        beside.directory = candidate->directory;
        beside.name = candidate->name;
        break;
    }
    if (beside.name.empty()) beside.name = state.shortName;
    DialogRequest request{std::string(title), beside.directory, beside.DefaultName(extension),
                          std::string(extension)};
    if (request.name.size() > MAX_DIALOG_NAME) request.name.resize(MAX_DIALOG_NAME);
    return request;
}

bool InFile::OpenDialog(std::string_view title) {
    const ClockPause pause;
    const DialogRequest request{std::string(title), {}, {}, {}};
    for (;;) {
        const auto chosen = show(file_dialogs().open, request);
        if (!chosen) return false;
        SetPath(*chosen, request.directory);
        if (OpenRead()) return true;
        report_unopened(*chosen);
    }
}

bool OutFile::SaveDialog(std::string_view title, std::string_view extension,
                         const File* templateFile) {
    const ClockPause pause;
    const DialogRequest request = propose_save(title, extension, templateFile);
    for (;;) {
        const auto chosen = show(file_dialogs().save, request);
        if (!chosen) return false;
        SetPath(*chosen, request.directory);
        Program::State& state = Program::state();
        bool opened = false;
        if (names_console(name) && state.consoleFile) {
            buffer_.close();
            shared_ = state.consoleFile->rdbuf();
            rdbuf(shared_);
            opened = true;
        } else if (!state.primaryInput || !sameFile(*state.primaryInput)) {
            opened = OpenWrite();
        }
        if (opened) {
            state.lastSaved = std::make_unique<File>(*this);
            return true;
        }
        report_unopened(*chosen);
    }
}

}  // namespace kestrane
