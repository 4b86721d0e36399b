#pragma once

#include "fluid/Charz_User.h"
#include "input/UserCmd.h"

namespace kestrane {

/// GAMMA: a block of sub-keywords on the gamma distribution of plus fractions. It reads them all,
/// then sets the limits of a fit to their defaults and runs them in order.
struct Gamma_Data {};
using Gamma_Cmd = UserCmd<Charz_User, Gamma_Data>;

template <>
void Gamma_Cmd::Read(Reader& reader, const std::string& word);
template <>
void Gamma_Cmd::Rerun(Reader& reader);
template <>
void Gamma_Cmd::Execute(Reader& reader);

}  // namespace kestrane
