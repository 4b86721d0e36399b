#include "expt/Depletion.h"

namespace kestrane {

std::string PVTzDFLG::title() const {
    return "Differential Liberation of Gas";
}
void PVTzDFLG::setRemoval(const ExptData&) {
    liquid_retained = 1.0;
    gas_retained = 0.0;
    liquid_share = 0.0;
    gas_share = 1.0;
}

std::string PVTzDFLL::title() const {
    return "Differential Liberation of Liquid";
}
void PVTzDFLL::setRemoval(const ExptData&) {
    liquid_retained = 0.0;
    gas_retained = 1.0;
    liquid_share = 1.0;
    gas_share = 0.0;
}

std::string PVTzCVDG::title() const {
    return "Constant Volume Depletion of Gas";
}
void PVTzCVDG::setRemoval(const ExptData& row) {
    deplete_gas(basis_volume, row.liquid_volume_1, row.gas_volume_1);
}

std::string PVTzCVDL::title() const {
    return "Constant Volume Depletion of Liquid";
}
void PVTzCVDL::setRemoval(const ExptData& row) {
    deplete_liquid(basis_volume, row.liquid_volume_1, row.gas_volume_1);
}

std::string PVTzCMDG::title() const {
    return "Constant Molar Depletion of Gas";
}
void PVTzCMDG::setRemoval(const ExptData& row) {
    deplete_gas(basis_moles, row.liquid_moles_1, row.gas_moles_1);
}

std::string PVTzCMDL::title() const {
    return "Constant Molar Depletion of Liquid";
}
void PVTzCMDL::setRemoval(const ExptData& row) {
    deplete_liquid(basis_moles, row.liquid_moles_1, row.gas_moles_1);
}

std::string PVTzCWDG::title() const {
    return "Constant Mass Depletion of Gas";
}
void PVTzCWDG::setRemoval(const ExptData& row) {
    deplete_gas(basis_mass, row.liquid_mass_1, row.gas_mass_1);
}

std::string PVTzCWDL::title() const {
    return "Constant Mass Depletion of Liquid";
}
void PVTzCWDL::setRemoval(const ExptData& row) {
    deplete_liquid(basis_mass, row.liquid_mass_1, row.gas_mass_1);
}

}  // namespace kestrane
