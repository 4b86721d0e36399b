// Contacts at one pressure and temperature.

#include "lab/NumberText.h"
#include "lab/Section.h"
#include "misc/MiscExpt.h"

namespace kestrane {

bool MCM_Expt::ready() {
    found_ = find_fluid(input_.fluids.front(), injected_);
    return found_;
}

void MCM_Expt::run() {
    if (!found_) return;
    Section section(lab_, writer_, "MCM Calculation", "MCM calculation");
    print_heading(section.heading());
    writer_.Line("Temperature = " + value_text(cell_.temperature, UnitKind::Temperature));
    writer_.Line("Pressure    = " + value_text(cell_.pressure, UnitKind::Pressure));
    if (prepare() && prepare_fluid(injected_)) {
        cell_.flash();
        if (usable()) print_contact_tests();
    }
    writer_.Newlines(1);
    section.close(command_);
}

/// Where only two tie-lines can vanish, their two chains say all.
void MCM_Expt::print_contact_tests() {
    if (!writer_.active()) return;
    gas_.assign(injected_.moles().begin(), injected_.moles().end());
    int mechanism = COND_VAP;
    if (uses_cond_vap()) {
        condensingVaporizingTest(&writer_, mechanism);
        return;
    }
    for (const int number : {VAPORIZING, CONDENSING}) {
        mechanism = number;
        if (usable()) contactTest(&writer_, mechanism);
    }
}

}  // namespace kestrane
