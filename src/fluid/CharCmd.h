#pragma once

#include <string>

#include "fluid/Charz_User.h"
#include "fluid/Charzation.h"
#include "input/UserCmd.h"

namespace kestrane {

/// CHAR: defines a characterization and makes it current.
struct Char_Data {
    Charzation charz;         ///< as read; every pass works on a fresh copy
    PtrTo<Charzation> added;  ///< the copy of this pass, null before it is made
};
using Char_Cmd = UserCmd<Charz_User, Char_Data>;

// Keywords that change the characterization between its initialization and its completion are
// registered for Char_Cmd; they find it in user().added.
template <>
void Char_Cmd::Read(Reader& reader, const std::string& key);
template <>
void Char_Cmd::Rerun(Reader& reader);
template <>
void Char_Cmd::Execute(Reader& reader);

/// The name behind a keyword, on its line (quoted text allowed); empty if there is none.
std::string read_name(Reader& reader);

/// Reports a component table or block that describes no fluid, with its place.
void report_illegal_charzation(Reader& reader, const std::string& reason);

}  // namespace kestrane
