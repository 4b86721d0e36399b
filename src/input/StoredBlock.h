#pragma once

#include <string>

#include "input/Keyword.h"

namespace kestrane {

/// While it lives, the keywords that `user` reads are stored and not run: a block is read to its
/// end before anything of it takes effect.
class StoringScope {
public:
    explicit StoringScope(Key_User& user) : user_(user), was_deferred_(user.SetDeferred(true)) {}
    ~StoringScope() { user_.SetDeferred(was_deferred_); }
    StoringScope(const StoringScope&) = delete;
    StoringScope& operator=(const StoringScope&) = delete;

private:
    Key_User& user_;
    bool was_deferred_;
};

/// Key_User::ReadBlock with everything stored, for a command that acts on its whole block.
inline int read_stored_block(Key_User& user, Reader& reader) {
    const StoringScope stored(user);
    std::string sub_keyword;
    return user.ReadBlock(reader, sub_keyword, true);
}

}  // namespace kestrane
