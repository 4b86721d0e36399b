#pragma once

#include "frame/Errors.h"
#include "input/Keyword.h"
#include "input/Reader.h"

namespace kestrane {

/// The command that a U makes of one keyword; D is the plain structure of its data.
///
/// A command is written as specializations of Read, Rerun and Execute, in the source file that
/// also defines its UserKey:
///
///     using Flash_Cmd = UserCmd<EOSLab, Flash_Data>;
///     template <> void Flash_Cmd::Read(Reader& in, const std::string& key) { ... }
///     template <> void Flash_Cmd::Execute(Reader& in) { ... }
///     namespace { const UserKey<EOSLab, Flash_Data> flash_key{"FLASH"}; }
///
/// If another source names the command, a header must declare every specialization.
template <class U, class D>
class UserCmd final : public Command, public D {
public:
    UserCmd(const Reader& reader, const std::string& keyword, Key_User& owner)
        : Command(reader, keyword), user_(dynamic_cast<U*>(&owner)) {
        if (!user_) throw LogicError{};
    }

    void Read(Reader& reader, const std::string& key) override;
    void Rerun(Reader& reader) override;
    void Execute(Reader& reader) override;
    /// Nested keywords: those registered for this command class only.
    const CmdKey* FindKey(const std::string& key) const override {
        return dictionary_of<UserCmd<U, D>>().find(key);
    }

    U& user() const { return *user_; }

private:
    U* user_;
};

// A family of commands that differ in a parameter of their data only is written once, as functions
// read_data(command, reader) and execute_data(command, reader) found by argument-dependent lookup:
//
//     template <class V> void execute_data(UserCmd<EOSLab, Set_Data<V>>& command, Reader& reader);

template <class U, class D>
void UserCmd<U, D>::Read([[maybe_unused]] Reader& reader, const std::string&) {
    if constexpr (requires { read_data(*this, reader); }) read_data(*this, reader);
}

template <class U, class D>
void UserCmd<U, D>::Rerun(Reader& reader) {
    rerun_children(reader);
}

template <class U, class D>
void UserCmd<U, D>::Execute(Reader& reader) {
    if constexpr (requires { execute_data(*this, reader); })
        execute_data(*this, reader);
    else
        execute_children(reader);
}

/// A keyword of U's dictionary. Registers itself at construction, during static initialisation,
/// and touches no other global.
template <class U, class D>
class UserKey final : public CmdKey {
public:
    UserKey(std::initializer_list<const char*> names) : CmdKey(names) {
        Register(dictionary_of<U>(), *this);
    }
    void Run(Reader& reader, const std::string& key, Key_User& owner) const override {
        DynPtr<UserCmd<U, D>> command(new UserCmd<U, D>(reader, key, owner));
        if (!owner.immediate) owner.commands.push_back(command);
        command->immediate = owner.immediate;
        command->Read(reader, key);
    }
};

}  // namespace kestrane
