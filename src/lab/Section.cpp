#include "lab/Section.h"

namespace kestrane {

int Section::next_number(EOSLab& lab, const std::string& label) {
    const int* runs = lab.run_counts.find(label);
    return lab.run_counts.set(label, (runs ? *runs : 0) + 1);
}

Section::Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label)
    : Section(lab, writer, title, label, next_number(lab, label)) {}

Section::Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label,
                 int number)
    : lab_(lab),
      writer_(writer),
      heading_(title + " " + std::to_string(number)),
      label_(label) {
    writer.Newlines(2);
    if (!lab.title.empty()) writer.Line(lab.title);
    for (const std::string& subtitle : lab.subtitles) writer.Line(subtitle);
    if (!lab.title.empty() || !lab.subtitles.empty()) writer.Line("");
}

void Section::close(const Command& command) {
    lab_.errors().Report(writer_, label_, command.Location("Problem for ", "."), ResultHeadline);
}

}  // namespace kestrane
