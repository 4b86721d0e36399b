#include "frame/ErrorList.h"

#include <algorithm>

#include "frame/Writer.h"

namespace kestrane {

namespace {

/// "{verdict}." without a thing judged, else "{verdict} {joint} {what}.".
std::string sentence(std::string_view verdict, std::string_view joint, std::string_view what) {
    std::string text(verdict);
    if (!what.empty()) text.append(" ").append(joint).append(" ").append(what);
    return text + ".";
}

/// The end of an entry that was added `count` times.
std::string repeat_suffix(int count) {
    if (count < 2) return ".";
    if (count == 2) return " (twice).";
    return " (" + std::to_string(count) + " times).";
}

}  // namespace

std::string ResultHeadline(std::string_view what, int severity) {
    switch (severity) {
        case NO_PROBLEM:
            return sentence("No surprises", "from", what);
        case WARNING:
            return sentence("Uncertain results", "from", what);
        case ERROR:
            return sentence("Doubtful results", "from", what);
        case FATAL_ERROR:
            if (what.empty()) return "Unable to continue.";
            return sentence("Unable", "to perform", what);
        default:
            return sentence("Unexpected results", "from", what);
    }
}

std::string ValidityHeadline(std::string_view what, int severity) {
    return sentence(severity == NO_PROBLEM ? "Input valid" : "Input not valid", "for", what);
}

ErrorList::ErrorList() {
    entries.reserve(5);
}

void ErrorList::Add(std::string_view text, int level) {
    severity = std::max(severity, level);
    if (level >= ERROR) ++error_count;
    const auto same = std::find_if(entries.begin(), entries.end(),
                                   [text](const auto& entry) { return entry->text == text; });
    if (same == entries.end()) {
        entries.push_back(make_dyn<ErrorMsg>(ErrorMsg{std::string(text), 1}));
    } else {
        // Copies of a list share its messages, but count on their own.
        if (same->use_count() > 1) *same = make_dyn<ErrorMsg>(**same);
        ++(*same)->count;
    }
}

void ErrorList::Warn(std::string_view text) {
    if (warnings_on) Add(text, WARNING);
}

void ErrorList::Fail(std::string_view text) {
    if (errors_on) Add(text, ERROR);
}

void ErrorList::Report(Writer& writer, std::string_view what, std::string_view detail,
                       HeadlineFunction headline) {
    if (entries.empty() || writer.reportLevel > severity) return;
    std::vector<std::string> lines{headline(what, severity)};
    if (!detail.empty()) lines.emplace_back(detail);
    for (const auto& entry : entries) lines.push_back(entry->text + repeat_suffix(entry->count));
    // Emptied before it prints, because printing throws when it reaches a limit.
    const int level = severity;
    Clear();
    if (level == WARNING)
        writer.Warning(lines);
    else if (level == ERROR)
        writer.Error(lines);
    else if (level == FATAL_ERROR)
        writer.Fatal(lines);
}

void ErrorList::Clear() {
    entries.clear();
    severity = NO_PROBLEM;
    error_count = 0;
    warnings_on = true;
    errors_on = true;
}

}  // namespace kestrane
