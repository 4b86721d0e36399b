#include <string>

#include "input/Keyword.h"
#include "input/Reader.h"
#include "input/UserCmd.h"

// Keywords known in every context. They act on the reader while the script is read, and do nothing
// when it is executed.

namespace kestrane {

struct End_Data {};
struct Eof_Data {};
struct Include_Data {};
struct Cd_Data {};
struct Echo_Data {};
struct Tabs_Data {};
struct Define_Data {};

using Eof_Cmd = UserCmd<Key_User, Eof_Data>;
using Include_Cmd = UserCmd<Key_User, Include_Data>;
using Cd_Cmd = UserCmd<Key_User, Cd_Data>;
using Echo_Cmd = UserCmd<Key_User, Echo_Data>;
using Tabs_Cmd = UserCmd<Key_User, Tabs_Data>;
using Define_Cmd = UserCmd<Key_User, Define_Data>;

template <>
void Eof_Cmd::Read(Reader& reader, const std::string&) {
    reader.EndFile();
}

template <>
void Include_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    std::string name;
    reader.NextQuote(name);
    reader.DiscardLine();
    reader.Push(name);
}

template <>
void Cd_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    std::string directory;
    if (reader.NextQuote(directory) > 0) reader.file().ChangeDirectory(directory);
}

template <>
void Echo_Cmd::Read(Reader& reader, const std::string&) {
    std::string flag_word;
    bool on = true;
    ReadFlag(reader, flag_word, on);
    reader.SetEcho(on ? 1 : 0);
}

template <>
void Tabs_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    int width = UNSET_INT;
    if (reader.NextInt(width) > 0 && width != UNSET_INT) reader.SetTabWidth(width);
}

template <>
void Define_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    std::string name;
    std::string value;
    if (reader.NextWord(name) <= 0) return;
    reader.NextQuote(value);
    reader.Define(name, value);
}

namespace {

// END closes a block; where no block is open it does nothing.
const UserKey<Key_User, End_Data> end_key{"END"};
const UserKey<Key_User, Eof_Data> eof_key{"EOF"};
const UserKey<Key_User, Include_Data> include_key{"INCL&"};
const UserKey<Key_User, Cd_Data> cd_key{"CD"};
const UserKey<Key_User, Echo_Data> echo_key{"ECHO"};
const UserKey<Key_User, Tabs_Data> tabs_key{"TABS"};
const UserKey<Key_User, Define_Data> define_key{"DEF&"};

}  // namespace

}  // namespace kestrane
