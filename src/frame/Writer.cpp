#include "frame/Writer.h"

#include <algorithm>
#include <limits>

#include "frame/Errors.h"

namespace kestrane {

namespace {

constexpr std::size_t FILL_WIDTH = 6;  // fill characters on either side of a head line
constexpr std::size_t HEAD_MARGIN = 2 * (FILL_WIDTH + 2);
constexpr std::string_view PAGE_BREAK = "\n\n\f\n\n";

std::string_view without_full_stop(std::string_view text) {
    if (text.ends_with('.')) text.remove_suffix(1);
    return text;
}

/// Makes every file print, and returns the minimum levels for restore_levels.
std::vector<int> force_levels(const OutFiles& files) {
    std::vector<int> levels;
    for (OutFile* file : files) {
        levels.push_back(file->minimumLevel);
        file->minimumLevel = 0;
    }
    return levels;
}

void restore_levels(const OutFiles& files, const std::vector<int>& levels) {
    for (std::size_t i = 0; i < files.size(); ++i) files[i]->minimumLevel = levels[i];
}

void write_pending(OutFile& file, int n) {
    if (file.pageBreakPending) {
        file.write(PAGE_BREAK.data(), static_cast<std::streamsize>(PAGE_BREAK.size()));
    } else {
        for (int i = std::max(n, file.pendingBlankLines); i > 0; --i) file.put('\n');
    }
    file.pageBreakPending = 0;
    file.pendingBlankLines = 0;
}

/// `text` and a newline, untouched by the stream's width and flags.
void write_line(OutFile& file, std::string_view text) {
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.put('\n');
}

/// One more event. Stays at the largest int, so that a run without limits cannot overflow it.
void count_up(std::int32_t& counter) {
    if (counter < std::numeric_limits<std::int32_t>::max()) ++counter;
}

std::string counted(std::int32_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

/// The verdict on a run with these totals.
std::string_view verdict(const ErrorCounts& totals) {
    if (totals.fatals != 0) return "Execution terminating due to a fatal error.";
    if (totals.errors >= totals.errorLimit) return "Execution terminating due to excessive errors.";
    if (totals.warnings >= totals.warningLimit)
        return "Execution terminating due to excessive warnings.";
    if (totals.errors > 0) return "Execution terminating normally, but with errors.";
    if (totals.warnings > 0) return "Execution terminating normally, but with warnings.";
    return "Execution terminating normally.";
}

}  // namespace

Writer::Writer(ErrorCounts& error_counts, OutFile* console, OutFile* report)
    : counts(&error_counts), consoleFile(console), reportFile(report) {
    if (console) {
        fileList.push_back(console);
        consoleList.push_back(console);
    }
    if (report) {
        reportList.push_back(report);
        if (!console || !report->sharesStream(*console)) fileList.push_back(report);
    }
}

void Writer::Newlines(int n) {
    for (OutFile* file : fileList)
        if (file->active()) file->pendingBlankLines = std::max(file->pendingBlankLines, n);
}

void Writer::WritePending(int n) {
    for (OutFile* file : fileList)
        if (file->active()) write_pending(*file, n);
}

void Writer::Flush() {
    for (OutFile* file : fileList)
        if (file->active()) file->flush();
}

void Writer::Line(std::string_view text) {
    for (OutFile* file : fileList) {
        if (!file->active()) continue;
        write_pending(*file, 0);
        write_line(*file, text);
    }
}

bool Writer::active() const {
    return std::any_of(fileList.begin(), fileList.end(),
                       [](const OutFile* file) { return file->active(); });
}

void Writer::Headline(std::string_view text, Lines body, char fill) {
    if (!active()) return;
    const std::string bar(FILL_WIDTH, fill);
    const std::string head = bar + "  " + std::string(without_full_stop(text)) + "  " + bar;
    for (OutFile* file : fileList) {
        if (!file->active()) continue;
        write_pending(*file, 1);
        write_line(*file, head);
        for (const std::string& line : body) write_line(*file, line);
        file->pendingBlankLines = std::max(file->pendingBlankLines, 1);
    }
}

void Writer::Block(std::string_view tag, Lines lines, unsigned width, char fill) {
    if (!active()) return;
    unsigned available = std::numeric_limits<unsigned>::max();
    for (const OutFile* file : fileList) available = std::min(available, file->lineWidth);
    if (width != 1 && width <= available) available = width;

    const bool unlimited = available == std::numeric_limits<unsigned>::max();
    const std::size_t joined =
        lines.empty() ? 0 : tag.size() + 2 + without_full_stop(lines[0]).size() + HEAD_MARGIN;
    if (lines.empty() || (!unlimited && joined > available))
        Headline(tag, lines, fill);
    else
        Headline(std::string(tag) + ": " + lines[0], lines.subspan(1), fill);
}

void Writer::Note(Lines lines, unsigned width) {
    Block("NOTE", lines, width, '=');
}

// Warnings, errors and fatal errors reach the user even from passes that are otherwise silent. The
// levels are put back only if no limit was reached: a run that ends here must print its summary.

void Writer::Warning(Lines lines, unsigned width) {
    if (reportLevel >= 2) return;
    const std::vector<int> levels = force_levels(fileList);
    Block("WARNING", lines, width, '#');
    count_up(counts->warnings);
    CheckLimits();
    restore_levels(fileList, levels);
}

void Writer::Error(Lines lines, unsigned width) {
    if (reportLevel >= 3) return;
    const std::vector<int> levels = force_levels(fileList);
    Block("ERROR", lines, width, '#');
    Flush();
    count_up(counts->errors);
    CheckLimits();
    restore_levels(fileList, levels);
}

void Writer::Fatal(Lines lines, unsigned width) {
    force_levels(fileList);
    // Counted first: should the printing itself fail, the totals still say why the run ended.
    count_up(counts->errors);
    count_up(counts->fatals);
    Block("FATAL ERROR", lines, width, '#');
    Flush();
    throw FatalError{};
}

void Writer::CheckLimits() const {
    if (counts->fatals != 0 || counts->errors >= counts->errorLimit ||
        counts->warnings >= counts->warningLimit)
        throw FatalError{};
}

void Writer::Summary() {
    const ErrorCounts totals = *counts;
    counts->errorLimit = std::numeric_limits<std::int32_t>::max();
    counts->warningLimit = std::numeric_limits<std::int32_t>::max();
    const std::string_view text = verdict(totals);
    if (totals.warnings == 0 && totals.errors == 0) {
        Headline(text, {}, '=');
    } else {
        const std::string tally = "Total abnormalities: " + counted(totals.warnings, "warning") +
                                  ", " + counted(totals.errors, "error") + ".";
        Headline(text, Lines(&tally, 1), '#');
    }
}

}  // namespace kestrane
