#include <algorithm>
#include <initializer_list>
#include <vector>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"

namespace kestrane {

struct Init2_Data {
    int policy = INIT_NEWTON;
};
struct Test1_Data {
    int policy = TEST_SUSPECTED;
};
struct Test2_Data {
    int policy = TEST_SUSPECTED;
};
struct Stab_Data {
    bool on = true;
};
using Init2_Cmd = UserCmd<EOSLab, Init2_Data>;
using Test1_Cmd = UserCmd<EOSLab, Test1_Data>;
using Test2_Cmd = UserCmd<EOSLab, Test2_Data>;
using Stab_Cmd = UserCmd<EOSLab, Stab_Data>;

namespace {

struct PolicyWord {
    const char* word;
    int policy;
};
using PolicyWords = std::initializer_list<PolicyWord>;

const PolicyWords INIT2_WORDS{{"NO&", INIT_NEVER},   {"NEV&", INIT_NEVER},    {"SKIP", INIT_NEVER},
                              {"OFF", INIT_NEVER},   {"ST&", INIT_STABILITY}, {"WIL&", INIT_WILSON},
                              {"K&", INIT_PREVIOUS}, {"PR&", INIT_PREVIOUS},  {"DEF&", INIT_NEWTON},
                              {"NEWT&", INIT_NEWTON}};
const PolicyWords TEST_WORDS{
    {"NO&", TEST_NEVER},     {"NEV&", TEST_NEVER},     {"MIN&", TEST_NEVER},
    {"OFF", TEST_NEVER},     {"DEF&", TEST_SUSPECTED}, {"SUSP&", TEST_SUSPECTED},
    {"TRIV&", TEST_TRIVIAL}, {"CRIT&", TEST_TRIVIAL},  {"AL&", TEST_ALWAYS},
    {"MAX&", TEST_ALWAYS},   {"ON", TEST_ALWAYS}};

/// Reads the policy word on the command's line; an unknown one is reported and the default stands.
void read_policy(Reader& reader, PolicyWords words, int& policy) {
    const LineLimitScope one_line(reader, 0);
    std::string word;
    if (reader.NextWord(word) <= 0) return;
    const auto known = std::find_if(words.begin(), words.end(), [&](const PolicyWord& entry) {
        return KeyCompare(entry.word, word.c_str()) == 0;
    });
    if (known != words.end())
        policy = known->policy;
    else
        reader.NotRecognized(word);
}

using NoteLines = std::vector<std::string>;

NoteLines init2_note(int policy) {
    switch (policy) {
        case INIT_NEVER:
            return {"Two-phase calculations will not be performed."};
        case INIT_STABILITY:
            return {"Two-phase calculations will be initialized by stability tests."};
        case INIT_WILSON:
            return {"Two-phase calculations will be initialized with Wilson K-Values."};
        case INIT_PREVIOUS:
            return {"Two-phase calculations will be initialized with previous K-Values."};
        default:
            return {"Two-phase calculations will be initialized with Newton updates."};
    }
}

NoteLines test1_note(int policy) {
    const std::string first = "Trivial (single-phase) results from two-phase calculations";
    switch (policy) {
        case TEST_NEVER:
            return {first, "will not be tested for stability."};
        case TEST_SUSPECTED:
            return {first, "will be tested for stability only if a second phase is suspected."};
        default:
            return {first, "will always be tested for stability."};
    }
}

NoteLines test2_note(int policy) {
    const std::string first = "Two-phase and negative flash equilibria will be tested";
    switch (policy) {
        case TEST_NEVER:
            return {"Two-phase and negative flash equilibria will not be tested for stability."};
        case TEST_SUSPECTED:
            return {first, "for stability only if a third phase is suspected."};
        case TEST_TRIVIAL:
            return {first, "for stability if a third phase becomes trivial or suspected."};
        default:
            return {"Two-phase and negative flash equilibria will always be tested for stability."};
    }
}

}  // namespace

template <>
void Init2_Cmd::Read(Reader& reader, const std::string&) {
    read_policy(reader, INIT2_WORDS, policy);
}
template <>
void Init2_Cmd::Execute(Reader& reader) {
    user().cell().init_policy = policy;
    if (reader.active()) reader.Note(init2_note(policy));
}

template <>
void Test1_Cmd::Read(Reader& reader, const std::string&) {
    read_policy(reader, TEST_WORDS, policy);
}
template <>
void Test1_Cmd::Execute(Reader& reader) {
    user().cell().test1 = policy;
    if (reader.active()) reader.Note(test1_note(policy));
}

template <>
void Test2_Cmd::Read(Reader& reader, const std::string&) {
    read_policy(reader, TEST_WORDS, policy);
}
template <>
void Test2_Cmd::Execute(Reader& reader) {
    user().cell().test2 = policy;
    if (reader.active()) reader.Note(test2_note(policy));
}

template <>
void Stab_Cmd::Read(Reader& reader, const std::string&) {
    std::string flag;
    ReadFlag(reader, flag, on);
}
template <>
void Stab_Cmd::Execute(Reader& reader) {
    PVTCell& cell = user().cell();
    cell.init_policy = on ? INIT_STABILITY : INIT_NEWTON;
    cell.test1 = cell.test2 = on ? TEST_ALWAYS : TEST_SUSPECTED;
    if (!reader.active()) return;
    if (on)
        reader.Note({"Stability tests will initialize and check all phase-split calculations."});
    else
        reader.Note(
            {"Phase splits will be initialized (when possible) with Newton updates, while",
             "results will be tested for stability only if additional phases are suspected."});
}

namespace {
const UserKey<EOSLab, Init2_Data> init2_key{"INIT2&"};
const UserKey<EOSLab, Test1_Data> test1_key{"TEST1&"};
const UserKey<EOSLab, Test2_Data> test2_key{"TEST2&"};
const UserKey<EOSLab, Stab_Data> stab_key{"STAB&"};
}  // namespace

}  // namespace kestrane
