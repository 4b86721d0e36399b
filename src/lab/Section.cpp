#include "lab/Section.h"

namespace kestrane {

int Section::next_number(EOSLab& lab, Writer& writer, const std::string& label) {
    if (!writer.active()) return 0;
    const int* runs = lab.run_counts.find(label);
    return lab.run_counts.set(label, (runs ? *runs : 0) + 1);
}

Section::Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label)
    : Section(lab, writer, title, label, next_number(lab, writer, label)) {}

Section::Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label,
                 int number)
    : lab_(lab), writer_(writer), label_(label) {
    if (!writer.active()) return;
    heading_ = title + " " + std::to_string(number);
    writer.Newlines(2);
    if (!lab.title.empty()) writer.Line(lab.title);
    for (const std::string& subtitle : lab.subtitles) writer.Line(subtitle);
    if (!lab.title.empty() || !lab.subtitles.empty()) writer.Line("");
}

void Section::close(const Command& command) {
    if (lab_.errors().empty()) return;
    lab_.errors().Report(writer_, label_, command.Location("Problem for ", "."), ResultHeadline);
}

}  // namespace kestrane
