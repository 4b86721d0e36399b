#include "equil/Cubics.h"
#include "equil/EOS_User.h"
#include "equil/SW_EOS.h"
#include "input/UserCmd.h"

namespace kestrane {

namespace {

struct EOS_Data {
    PtrTo<const EOS> eos;  ///< built by the sub-command at each execution
};

struct RK_Data {};
struct SRK_Data {};
struct ZJRK_Data {};
struct PR77_Data {};
struct PR79_Data {};
struct SW_Data {};

}  // namespace

using EOS_Cmd = UserCmd<EOS_User, EOS_Data>;

template <>
void EOS_Cmd::Execute(Reader& reader) {
    execute_children(reader);
    if (eos) user().chosen_eos = eos;
}

/// Reads the word of a choice from the keyword's line, or else from the next line that has a word
/// if it is one; any other word is left there. The key, or null after a report.
static const CmdKey* read_choice(EOS_Cmd& command, Reader& reader, const std::string& key,
                                 std::string& choice) {
    const LineLimitScope one_line(reader, 0);
    if (reader.NextKeyword(choice) > 0) {
        if (const CmdKey* found = command.FindKey(choice)) return found;
        reader.NotRecognized(choice);
        reader.SkipStatement();
        return nullptr;
    }
    const LineLimitScope any_line(reader, -1);
    if (reader.NextKeyword(choice) > 0) {
        if (const CmdKey* found = command.FindKey(choice)) return found;
        reader.Unread();
    }
    reader.Error(
        {"Keyword \"" + key + "\" was not followed by an equation of state.", command.Location()});
    return nullptr;
}

/// The choice holds from here on, because a characterization needs its equation before its stored
/// commands are executed; execution makes it again, since a pass begins with everything reset.
template <>
void EOS_Cmd::Read(Reader& reader, const std::string& key) {
    immediate = false;
    std::string choice;
    if (const CmdKey* found = read_choice(*this, reader, key, choice))
        found->Run(reader, choice, *this);
    Execute(reader);
}

template <>
void UserCmd<EOS_Cmd, RK_Data>::Execute(Reader&) {
    user().eos = make_dyn<RK_EOS>();
}
template <>
void UserCmd<EOS_Cmd, SRK_Data>::Execute(Reader&) {
    user().eos = make_dyn<SRK_EOS>();
}
template <>
void UserCmd<EOS_Cmd, ZJRK_Data>::Execute(Reader&) {
    user().eos = make_dyn<ZJRK_EOS>();
}
template <>
void UserCmd<EOS_Cmd, PR77_Data>::Execute(Reader&) {
    user().eos = make_dyn<PR77_EOS>();
}
template <>
void UserCmd<EOS_Cmd, PR79_Data>::Execute(Reader&) {
    user().eos = make_dyn<PR79_EOS>();
}
template <>
void UserCmd<EOS_Cmd, SW_Data>::Execute(Reader&) {
    user().eos = make_dyn<SW_EOS>();
}

namespace {

const UserKey<EOS_User, EOS_Data> eos_key{"EOS", "EQUA&"};
const UserKey<EOS_Cmd, RK_Data> rk_key{"RK", "RED&"};
const UserKey<EOS_Cmd, SRK_Data> srk_key{"SRK", "SOA&"};
const UserKey<EOS_Cmd, ZJRK_Data> zj_key{"ZJ", "ZUD&"};
const UserKey<EOS_Cmd, PR77_Data> pr77_key{"PR77"};
const UserKey<EOS_Cmd, PR79_Data> pr79_key{"PR", "PR79", "PENG&"};
const UserKey<EOS_Cmd, SW_Data> sw_key{"SW", "SCH&"};

}  // namespace

}  // namespace kestrane
