#include "fluid/Viscometer.h"

#include "fluid/LBC.h"

namespace kestrane {

PtrTo<Viscometer>& viscometer() {
    static PtrTo<Viscometer> current = make_dyn<LBC>();
    return current;
}

}  // namespace kestrane
