#include "fluid/Tension.h"

#include "fluid/Sugden.h"

namespace kestrane {

PtrTo<Tension>& tension_model() {
    static PtrTo<Tension> current = make_dyn<Sugden>();
    return current;
}

}  // namespace kestrane
