#include "lab/Section.h"

namespace kestrane {

Section::Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label)
    : lab_(lab), writer_(writer), label_(label) {
    if (!writer.active()) return;
    const int* runs = lab.run_counts.find(label);
    const int count = lab.run_counts.set(label, (runs ? *runs : 0) + 1);
    heading_ = title + " " + std::to_string(count);
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
