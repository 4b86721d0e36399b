// LUMP: names a linear combination of the current characterization's components.

#include <sstream>

#include "fluid/Charz_User.h"
#include "input/FileReader.h"
#include "input/UserCmd.h"

namespace kestrane {

/// LUMP: the factors are final when they are read, since names do not change their meaning later.
struct Lump_Data {
    Lump lump;
    bool valid = true;
};
using Lump_Cmd = UserCmd<Charz_User, Lump_Data>;

template <>
void Lump_Cmd::Execute(Reader& reader);

namespace {

constexpr std::size_t NOTE_WIDTH = Writer::DEFAULT_WIDTH;
constexpr int FACTOR_DIGITS = 8;
/// Zeros behind the last component that are passed over in silence. More are no list of factors.
constexpr std::size_t SPARE_ZEROS = 100000;

bool is_number(const std::string& text) {
    double number;
    return parse_number(text, number);
}

/// Why a lump of that name cannot be defined; empty if it can.
std::string refusal(const std::string& name, const Charzation* charz) {
    if (name.empty() || is_number(name))
        return "Lumped fraction names cannot appear empty or numerical.";
    if (charz && charz->find_component(name) >= 0)
        return "Lumped fraction names cannot match component names.";
    return {};
}

/// Reads the items of a lump: factors, each in front of its name or on its own for the next
/// component by position, and names without a factor. An empty field is a factor left at 1. The
/// first word that names neither a component nor a lump ends the list and stays unread.
class LumpReader {
public:
    LumpReader(Reader& reader, const Charzation* charz, Lump_Data& data)
        : reader_(reader), charz_(charz), data_(data) {
        data.lump.fractions.assign(charz ? charz->size() : 0, 0.0);
        if (!charz) return;
        for (const Compnent& component : charz->comps)
            data.lump.components.push_back(component.name);
    }

    void read() {
        const LineLimitScope many_lines(reader_, -1);
        while (read_part()) {
        }
        close();
    }

private:
    bool read_part() {
        double factor = 1.0;
        if (reader_.NextDouble(factor) > 0) {
            close();
            factor_ = factor;
            has_factor_ = true;
            // Whether a name follows shows on the next word, which may stand on another line.
            if (factor_ != 0.0 && position_ >= data_.lump.fractions.size())
                place_ = place_of(std::to_string(position_ + 1));
            return true;
        }
        std::string word;
        return reader_.NextWord(word) > 0 && take_word(word);
    }

    bool take_word(const std::string& word) {
        const int component = charz_ ? charz_->find_component(word) : -1;
        const Lump* lump = charz_ && component < 0 ? charz_->find_lump(word) : nullptr;
        if (component >= 0) {
            position_ = static_cast<std::size_t>(component);
            data_.lump.fractions[position_++] += factor_;
        } else if (lump && lump->fits(*charz_)) {
            for (std::size_t i = 0; i < lump->fractions.size(); ++i)
                data_.lump.fractions[i] += factor_ * lump->fractions[i];
        } else if (lump) {
            // Taken over from a base, whose components it speaks of.
            invalid(word, place_of(word));
        } else {
            reader_.Unread();
            return false;
        }
        has_factor_ = false;
        factor_ = 1.0;
        return true;
    }

    /// Gives a factor that found no name to the next component.
    void close() {
        if (!has_factor_) return;
        const std::size_t count = data_.lump.fractions.size();
        if (position_ < count) {
            data_.lump.fractions[position_] += factor_;
        } else if (factor_ != 0.0) {
            invalid(std::to_string(position_ + 1), place_);
        } else if (position_ >= count + SPARE_ZEROS) {
            reader_.SkipStatement();
        }
        ++position_;
        has_factor_ = false;
        factor_ = 1.0;
    }

    std::vector<std::string> place_of(const std::string& component) const {
        std::vector<std::string> lines;
        reader_.Locate(lines, 3, true, "Problem for " + component);
        return lines;
    }

    void invalid(const std::string& component, const std::vector<std::string>& place) {
        data_.valid = false;
        if (reader_.lost(component)) return;
        std::vector<std::string> lines{"Invalid component for lumped fraction \"" +
                                       data_.lump.name.text() + "\"."};
        lines.insert(lines.end(), place.begin(), place.end());
        lines.push_back("Undefined component " + component + " cannot be included in the lumping.");
        reader_.Error(lines);
    }

    Reader& reader_;
    const Charzation* charz_;
    Lump_Data& data_;
    double factor_ = 1.0;
    bool has_factor_ = false;
    std::size_t position_ = 0;        ///< next component by position
    std::vector<std::string> place_;  ///< of the factor at hand, where it has no component
};

/// A component with its factor, as a part of the note.
std::string term(const UserWord& component, double factor) {
    std::ostringstream number;
    number.precision(FACTOR_DIGITS);
    number << factor;
    std::string text = " " + component.shown();
    if (number.str() != "1") text += " (" + number.str() + ")";
    return text + ",";
}

/// The definition in words, in lines of at most 80 columns. A lump of nothing ends in a slash.
std::vector<std::string> definition(const Lump& lump) {
    std::vector<std::string> lines{"Lump " + lump.name.shown() + " ="};
    const std::string indent(lines[0].size(), ' ');
    bool empty = true;
    for (std::size_t i = 0; i < lump.fractions.size(); ++i) {
        if (lump.fractions[i] == 0.0) continue;
        const std::string text = term(lump.components[i], lump.fractions[i]);
        if (lines.back().size() + text.size() > NOTE_WIDTH && lines.back().size() > indent.size())
            lines.push_back(indent);
        lines.back() += text;
        empty = false;
    }
    if (empty)
        lines.back().back() = '/';
    else
        lines.back().pop_back();
    return lines;
}

}  // namespace

// Names must be known to what follows while the script is read, so the lump is defined twice:
// silently when it is read, and with its note in each pass.

template <>
void Lump_Cmd::Read(Reader& reader, const std::string&) {
    std::string name;
    {
        const LineLimitScope many_lines(reader, -1);
        if (reader.NextWord(name) <= 0) name.clear();
    }
    lump.name = UserWord(name);
    const Charzation* charz = user().current();
    const std::string reason = refusal(name, charz);
    if (!reason.empty()) {
        valid = false;
        std::vector<std::string> lines{"Lumped fraction \"" + name + "\" cannot be defined."};
        reader.Locate(lines, 3);
        lines.push_back(reason);
        reader.Error(lines);
        reader.LoseLine();
    }
    LumpReader(reader, charz, *this).read();
    if (immediate)
        Execute(reader);
    else if (valid)
        user().add_lump(lump);
}

template <>
void Lump_Cmd::Execute(Reader& reader) {
    if (!valid) return;
    user().add_lump(lump);
    if (!reader.active()) return;
    std::vector<std::string> lines{"New lumped fraction definition."};
    for (std::string& text : definition(lump)) lines.push_back(std::move(text));
    reader.Note(lines);
}

namespace {

const UserKey<Charz_User, Lump_Data> lump_key{"LUMP&"};

}  // namespace

}  // namespace kestrane
