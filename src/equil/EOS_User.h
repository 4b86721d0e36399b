#pragma once

#include "frame/PtrTo.h"
#include "input/Keyword.h"

namespace kestrane {

class EOS;

/// Whatever an EOS keyword can be given to: a characterization, or the laboratory (whose choice
/// is the default of the characterizations that follow).
class EOS_User : public virtual Key_User {
public:
    const CmdKey* FindKey(const std::string& word) const override;

    PtrTo<const EOS> chosen_eos;  ///< null if none was chosen
};

/// The equation used where none was chosen: Peng-Robinson of 1979.
PtrTo<const EOS> make_default_eos();

}  // namespace kestrane
