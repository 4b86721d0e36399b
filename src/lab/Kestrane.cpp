#include "lab/Kestrane.h"

namespace kestrane {

Kestrane::Kestrane() {
    State& run = state();
    run.programName = "Kestrane";
    run.shortName = "kestrane";
    run.version = KESTRANE_VERSION;
    run.descriptionLines = {"For Compositional", "Phase Behavior Modeling"};
}

void Kestrane::Run(Reader& reader, Writer&) {
    lab_.runScript(reader);
}

}  // namespace kestrane
