#include "equil/EOS_User.h"

#include "equil/Cubics.h"

namespace kestrane {

const CmdKey* EOS_User::FindKey(const std::string& word) const {
    if (const CmdKey* key = dictionary_of<EOS_User>().find(word)) return key;
    return Key_User::FindKey(word);
}

PtrTo<const EOS> make_default_eos() {
    return make_dyn<PR79_EOS>();
}

}  // namespace kestrane
