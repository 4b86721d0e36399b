#include <algorithm>

#include "frame/Program.h"
#include "input/StoredBlock.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"

namespace kestrane {

struct Text_Data {
    std::string text;
};
struct Title_Data : Text_Data {};
struct Subtitle_Data : Text_Data {};
struct Note_Data : Text_Data {};
struct Subnote_Data : Text_Data {};
struct Time_Data {};
using Title_Cmd = UserCmd<EOSLab, Title_Data>;
using Title_Sub_Cmd = UserCmd<Title_Cmd, Subtitle_Data>;
using Subtitle_Cmd = UserCmd<EOSLab, Subtitle_Data>;
using Note_Cmd = UserCmd<EOSLab, Note_Data>;
using Subnote_Cmd = UserCmd<Note_Cmd, Subnote_Data>;
using Time_Cmd = UserCmd<EOSLab, Time_Data>;

namespace {

void read_text(Reader& reader, std::string& text) {
    const LineLimitScope one_line(reader, 0);
    reader.NextQuote(text);
}

void add_subtitle(EOSLab& lab, Writer& writer, const std::string& text) {
    lab.subtitles.push_back(text);
    writer.Line(text);
    writer.Newlines(1);
}

/// A box of asterisks around the lines, as wide as the longest.
void print_box(Writer& writer, const std::vector<std::string>& lines) {
    std::size_t width = 0;
    for (const std::string& line : lines) width = std::max(width, line.size());
    const std::string border(width + 4, '*');
    writer.Newlines(1);
    writer.Line(border);
    for (const std::string& line : lines)
        writer.Line("* " + line + std::string(width - line.size(), ' ') + " *");
    writer.Line(border);
    writer.Newlines(1);
}

}  // namespace

template <>
void Title_Cmd::Read(Reader& reader, const std::string&) {
    read_text(reader, text);
    read_stored_block(*this, reader);  // lines of the same kind that belong together
}
/// A new title begins with no subtitles.
template <>
void Title_Cmd::Execute(Reader& reader) {
    user().title = text;
    user().subtitles.clear();
    if (reader.active()) {
        reader.Newlines(2);
        reader.Line(text);
        reader.Line(std::string(text.size(), '='));
        reader.Newlines(1);
    }
    execute_children(reader);
}

template <>
void Title_Sub_Cmd::Read(Reader& reader, const std::string&) {
    read_text(reader, text);
}
template <>
void Title_Sub_Cmd::Execute(Reader& reader) {
    add_subtitle(user().user(), reader, text);
}

template <>
void Subtitle_Cmd::Read(Reader& reader, const std::string&) {
    read_text(reader, text);
}
template <>
void Subtitle_Cmd::Execute(Reader& reader) {
    add_subtitle(user(), reader, text);
}

template <>
void Subnote_Cmd::Read(Reader& reader, const std::string&) {
    read_text(reader, text);
}

template <>
void Note_Cmd::Read(Reader& reader, const std::string&) {
    read_text(reader, text);
    read_stored_block(*this, reader);  // lines of the same kind that belong together
}
template <>
void Note_Cmd::Execute(Reader& reader) {
    if (!reader.active()) return;
    std::vector<std::string> lines{text};
    for (const auto& command : commands)
        if (const auto* sub = dynamic_cast<const Subnote_Cmd*>(command.get()))
            lines.push_back(sub->text);
    print_box(reader, lines);
}

template <>
void Time_Cmd::Execute(Reader& reader) {
    if (!reader.active()) return;
    const std::string seconds = fixed_text(Program::ElapsedSeconds(), 2);
    reader.Headline("Execution time so far: " + seconds + " seconds.", {}, '=');
}

namespace {
const UserKey<EOSLab, Title_Data> title_key{"TITL&"};
const UserKey<Title_Cmd, Subtitle_Data> title_sub_key{"SUBT&", "TITL&"};
const UserKey<EOSLab, Subtitle_Data> subtitle_key{"SUBT&"};
const UserKey<EOSLab, Note_Data> note_key{"NOTE&", "COMM&"};
const UserKey<Note_Cmd, Subnote_Data> subnote_key{"NOTE&", "COMM&"};
const UserKey<EOSLab, Time_Data> time_key{"TIM&"};
}  // namespace

}  // namespace kestrane
