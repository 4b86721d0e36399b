#pragma once

// Every fixed column head with the field of the stage record it stands for, written out one by
// one. "&" ends a keyword that matches any tail.

#include <string>
#include <variant>
#include <vector>

#include "expt/ExptHeads.h"

namespace kestrane::testing {

using NumberField = double ExptData::*;
using TextField = std::string ExptData::*;
using CountField = int ExptData::*;

struct ExpectedHead {
    const char* title;
    const char* short_title;  ///< "" if there is none
    std::vector<std::string> keys;
    const char* units;  ///< name of the unit set, "" for none
    int tag;
    std::variant<NumberField, TextField, CountField> field;
    PrintFigures figures{4, 7, 5};
};

// One head, one entry.
// clang-format off
inline constexpr const char* RATIO = "fraction";

inline const std::vector<ExpectedHead>& expected_set_conditions() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Temperature", "Temp", {"TEMP&", "T"}, "temperature", 1, &D::temperature},
        {"Pressure", "Pres", {"PRES&", "P"}, "pressure", 1, &D::pressure},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_injected() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Amount Injected", "Injected", {"MI", "MIN", "MINJ", "MINJE&"}, "mole", 1, &D::inj_moles},
        {"Amount Injected", "Injected", {"MI/V&", "MIN/V&", "MINJ/V&"}, "gas-oil ratio", 1,
         &D::inj_moles_per_volume},
        {"Amount Injected", "Injected", {"WI", "WIN", "WINJ", "WINJE&"}, "mass", 1, &D::inj_mass},
        {"Amount Injected", "Injected", {"WI/V&", "WIN/V&", "WINJ/V&"}, "density", 1,
         &D::inj_mass_per_volume},
        {"Relative Moles Injected", "Rel Moles Inj", {"RMI&", "MI/M&", "MIN/M&", "MINJ/M&"}, RATIO,
         1, &D::inj_relative_moles},
        {"Relative Mass Injected", "Rel Mass Inj", {"RWI&", "WI/W&", "WIN/W&", "WINJ/W&"}, RATIO, 1,
         &D::inj_relative_mass},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_saturations() {
    using D = ExptData;
    constexpr const char* P = "pressure";
    constexpr const char* T = "temperature";
    static const std::vector<ExpectedHead> heads{
        {"Saturation Pressure", "Sat Pres",
         {"SATP", "SATPRES", "PSAT", "BUBP", "BUBPRES", "PBUB"}, P, -1, &D::sat_pressure_1},
        {"Saturation Pressure, Before Removal", "Sat Pres 1",
         {"SATP1", "SATPRES1", "PSAT1", "BUBP1", "BUBPRES1", "PBUB1"}, P, -1, &D::sat_pressure_1},
        {"Saturation Pressure, After Removal", "Sat Pres 2",
         {"SATP2", "SATPRES2", "PSAT2", "BUBP2", "BUBPRES2", "PBUB2"}, P, -2, &D::sat_pressure_2},
        {"Dew Point Pressure", "Dew Pres", {"DEWP", "DEWPRES", "PDEW"}, P, -1, &D::dew_pressure_1},
        {"Dew Point Pressure, Before Removal", "Dew Pres 1", {"DEWP1", "DEWPRES1", "PDEW1"}, P, -1,
         &D::dew_pressure_1},
        {"Dew Point Pressure, After Removal", "Dew Pres 2", {"DEWP2", "DEWPRES2", "PDEW2"}, P, -2,
         &D::dew_pressure_2},
        {"Vapor Pressure", "Vap Pres", {"VAPP", "VAPPRES", "PVAP"}, P, -1, &D::vapor_pressure_1},
        {"Vapor Pressure, Before Removal", "Vap Pres 1", {"VAPP1", "VAPPRES1", "PVAP1"}, P, -1,
         &D::vapor_pressure_1},
        {"Vapor Pressure, After Removal", "Vap Pres 2", {"VAPP2", "VAPPRES2", "PVAP2"}, P, -2,
         &D::vapor_pressure_2},
        {"Convergence Pressure", "Con Pres", {"CONP", "CONPRES", "PCON"}, P, -1,
         &D::con_pressure_1},
        {"Convergence Pressure, Before Removal", "Con Pres 1", {"CONP1", "CONPRES1", "PCON1"}, P,
         -1, &D::con_pressure_1},
        {"Convergence Pressure, After Removal", "Con Pres 2", {"CONP2", "CONPRES2", "PCON2"}, P, -2,
         &D::con_pressure_2},
        {"Saturation Temperature", "Sat Temp",
         {"SATT", "SATTEMP", "TSAT", "DEWT", "DEWTEMP", "TDEW"}, T, -1, &D::sat_temperature_1},
        {"Saturation Temperature, Before Removal", "Sat Temp 1",
         {"SATT1", "SATTEMP1", "TSAT1", "DEWT1", "DEWTEMP1", "TDEW1"}, T, -1,
         &D::sat_temperature_1},
        {"Saturation Temperature, After Removal", "Sat Temp 2",
         {"SATT2", "SATTEMP2", "TSAT2", "DEWT2", "DEWTEMP2", "TDEW2"}, T, -2,
         &D::sat_temperature_2},
        {"Bubble Point Temperature", "Bub Temp", {"BUBT", "BUBTEMP", "TBUB"}, T, -1,
         &D::bub_temperature_1},
        {"Bubble Point Temperature, Before Removal", "Bub Temp 1", {"BUBT1", "BUBTEMP1", "TBUB1"},
         T, -1, &D::bub_temperature_1},
        {"Bubble Point Temperature, After Removal", "Bub Temp 2", {"BUBT2", "BUBTEMP2", "TBUB2"}, T,
         -2, &D::bub_temperature_2},
        {"Vapor Temperature", "Vap Temp", {"VAPT", "VAPTEMP", "TVAP"}, T, -1,
         &D::vapor_temperature_1},
        {"Vapor Temperature, Before Removal", "Vap Temp 1", {"VAPT1", "VAPTEMP1", "TVAP1"}, T, -1,
         &D::vapor_temperature_1},
        {"Vapor Temperature, After Removal", "Vap Temp 2", {"VAPT2", "VAPTEMP2", "TVAP2"}, T, -2,
         &D::vapor_temperature_2},
        {"Convergence Temperature", "Con Temp", {"CONT", "CONTEMP", "TCON"}, T, -1,
         &D::con_temperature_1},
        {"Convergence Temperature, Before Removal", "Con Temp 1", {"CONT1", "CONTEMP1", "TCON1"}, T,
         -1, &D::con_temperature_1},
        {"Convergence Temperature, After Removal", "Con Temp 2", {"CONT2", "CONTEMP2", "TCON2"}, T,
         -2, &D::con_temperature_2},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_ratios() {
    using D = ExptData;
    constexpr const char* GOR = "gas-oil ratio";
    constexpr const char* OGR = "oil-gas ratio";
    static const std::vector<ExpectedHead> heads{
        {"Instantaneous GOR", "GOR", {"GOR"}, GOR, -2, &D::gor_1},
        {"Instantaneous GOR, Before Removal", "GOR 1", {"GOR1"}, GOR, -2, &D::gor_1},
        {"Instantaneous GOR, After Removal", "GOR 2", {"GOR2"}, GOR, -2, &D::gor_2},
        {"Instantaneous OGR", "OGR", {"OGR"}, OGR, -2, &D::ogr_1},
        {"Instantaneous OGR, Before Removal", "OGR 1", {"OGR1"}, OGR, -2, &D::ogr_1},
        {"Instantaneous OGR, After Removal", "OGR 2", {"OGR2"}, OGR, -2, &D::ogr_2},
        {"Cumulative GOR", "Cum GOR", {"CGOR", "GORC", "CUMGOR", "GORCUM"}, GOR, -2, &D::cum_gor_1},
        {"Cumulative GOR, Before Removal", "Cum GOR 1", {"CGOR1", "GORC1", "CUMGOR1", "GORCUM1"},
         GOR, -2, &D::cum_gor_1},
        {"Cumulative GOR, After Removal", "Cum GOR 2", {"CGOR2", "GORC2", "CUMGOR2", "GORCUM2"},
         GOR, -2, &D::cum_gor_2},
        {"Cumulative OGR", "Cum OGR", {"COGR", "OGRC", "CUMOGR", "OGRCUM"}, OGR, -2, &D::cum_ogr_1},
        {"Cumulative OGR, Before Removal", "Cum OGR 1", {"COGR1", "OGRC1", "CUMOGR1", "OGRCUM1"},
         OGR, -2, &D::cum_ogr_1},
        {"Cumulative OGR, After Removal", "Cum OGR 2", {"COGR2", "OGRC2", "CUMOGR2", "OGRCUM2"},
         OGR, -2, &D::cum_ogr_2},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_amounts() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Amount", "", {"M", "MOL", "MOLE&"}, "mole", -2, &D::moles_2},
        {"Amount, Before Removal", "Tot Amt 1", {"M1", "MOL1"}, "mole", -2, &D::moles_1},
        {"Amount, After Removal", "Tot Amt 2", {"M2", "MOL2"}, "mole", -2, &D::moles_2},
        {"Gas Amount", "Gas Amt", {"GM", "GMOL", "GMOLE&"}, "mole", -2, &D::gas_moles_2},
        {"Gas Amount, Before Removal", "Gas Amt 1", {"GM1", "GMOL1"}, "mole", -2, &D::gas_moles_1},
        {"Gas Relative Moles, After Removal", "Gas Amt 2", {"GM2", "GMOL2"}, "mole", -2,
         &D::gas_moles_2},
        {"Liquid Amount", "Liq Amt", {"LM", "LMOL", "LMOLE&"}, "mole", -2, &D::liquid_moles_2},
        {"Liquid Amount, Before Removal", "Liq Amt 1", {"LM1", "LMOL1"}, "mole", -2,
         &D::liquid_moles_1},
        {"Liquid Amount, After Removal", "Liq Amt 2", {"LM2", "LMOL2"}, "mole", -2,
         &D::liquid_moles_2},
        {"Relative Moles", "Rel Moles", {"RM", "RMOL", "RMOLE&"}, RATIO, -2, &D::relative_moles_2},
        {"Relative Moles, Before Removal", "Rel Moles 1", {"RM1", "RMOL1"}, RATIO, -2,
         &D::relative_moles_1},
        {"Relative Moles, After Removal", "Rel Moles 2", {"RM2", "RMOL2"}, RATIO, -2,
         &D::relative_moles_2},
        {"Gas Relative Moles", "Gas Rel Moles", {"GRM", "GRMOL", "GRMOLE&"}, RATIO, -2,
         &D::gas_relative_moles_2},
        {"Gas Relative Moles, Before Removal", "Gas Rel Moles 1", {"GRM1", "GRMOL1"}, RATIO, -2,
         &D::gas_relative_moles_1},
        {"Gas Relative Moles, After Removal", "Gas Rel Moles 2", {"GRM2", "GRMOL2"}, RATIO, -2,
         &D::gas_relative_moles_2},
        {"Liquid Relative Moles", "Liq Rel Moles", {"LRM", "LRMOL", "LRMOLE&"}, RATIO, -2,
         &D::liquid_relative_moles_2},
        {"Liquid Relative Moles, Before Removal", "Liq Rel Moles 1", {"LRM1", "LRMOL1"}, RATIO, -2,
         &D::liquid_relative_moles_1},
        {"Liquid Relative Moles, After Removal", "Liq Rel Moles 2", {"LRM2", "LRMOL2"}, RATIO, -2,
         &D::liquid_relative_moles_2},
        {"Amount", "", {"W", "MASS"}, "mass", -2, &D::mass_2},
        {"Amount, Before Removal", "Tot Amt 1", {"W1", "MASS1"}, "mass", -2, &D::mass_1},
        {"Amount, After Removal", "Tot Amt 2", {"W2", "MASS2"}, "mass", -2, &D::mass_2},
        {"Gas Amount", "Gas Amt", {"GW", "GMASS"}, "mass", -2, &D::gas_mass_2},
        {"Gas Amount, Before Removal", "Gas Amt 1", {"GW1", "GMASS1"}, "mass", -2, &D::gas_mass_1},
        {"Gas Relative Mass, After Removal", "Gas Amt 2", {"GW2", "GMASS2"}, "mass", -2,
         &D::gas_mass_2},
        {"Liquid Amount", "Liq Amt", {"LW", "LMASS"}, "mass", -2, &D::liquid_mass_2},
        {"Liquid Amount, Before Removal", "Liq Amt 1", {"LW1", "LMASS1"}, "mass", -2,
         &D::liquid_mass_1},
        {"Liquid Amount, After Removal", "Liq Amt 2", {"LW2", "LMASS2"}, "mass", -2,
         &D::liquid_mass_2},
        {"Relative Mass", "Rel Mass", {"RW", "RMASS"}, RATIO, -2, &D::relative_mass_2},
        {"Relative Mass, Before Removal", "Rel Mass 1", {"RW1", "RMASS1"}, RATIO, -2,
         &D::relative_mass_1},
        {"Relative Mass, After Removal", "Rel Mass 2", {"RW2", "RMASS2"}, RATIO, -2,
         &D::relative_mass_2},
        {"Gas Relative Mass", "Gas Rel Mass", {"GRW", "GRMASS"}, RATIO, -2,
         &D::gas_relative_mass_2},
        {"Gas Relative Mass, Before Removal", "Gas Rel Mass 1", {"GRW1", "GRMASS1"}, RATIO, -2,
         &D::gas_relative_mass_1},
        {"Gas Relative Mass, After Removal", "Gas Rel Mass 2", {"GRW2", "GRMASS2"}, RATIO, -2,
         &D::gas_relative_mass_2},
        {"Liquid Relative Mass", "Liq Rel Mass", {"LRW", "LRMASS"}, RATIO, -2,
         &D::liquid_relative_mass_2},
        {"Liquid Relative Mass, Before Removal", "Liq Rel Mass 1", {"LRW1", "LRMASS1"}, RATIO, -2,
         &D::liquid_relative_mass_1},
        {"Liquid Relative Mass, After Removal", "Liq Rel Mass 2", {"LRW2", "LRMASS2"}, RATIO, -2,
         &D::liquid_relative_mass_2},
        {"Volume", "", {"V", "VOL", "VOLU&"}, "volume", -2, &D::volume_2},
        {"Volume, Before Removal", "Tot Vol 1", {"V1", "VOL1"}, "volume", -2, &D::volume_1},
        {"Volume, After Removal", "Tot Vol 2", {"V2", "VOL2"}, "volume", -2, &D::volume_2},
        {"Gas Volume", "Gas Vol", {"GV", "GVOL", "GVOLU&"}, "volume", -2, &D::gas_volume_2},
        {"Gas Volume, Before Removal", "Gas Vol 1", {"GV1", "GVOL1"}, "volume", -2,
         &D::gas_volume_1},
        {"Gas Volume, After Removal", "Gas Vol 2", {"GV2", "GVOL2"}, "volume", -2,
         &D::gas_volume_2},
        {"Liquid Volume", "Liq Vol", {"LV", "LVOL", "LVOLU&"}, "volume", -2, &D::liquid_volume_2},
        {"Liquid Volume, Before Removal", "Liq Vol 1", {"LV1", "LVOL1"}, "volume", -2,
         &D::liquid_volume_1},
        {"Liquid Volume, After Removal", "Liq Vol 2", {"LV2", "LVOL2"}, "volume", -2,
         &D::liquid_volume_2},
        {"Relative Volume", "Rel Vol", {"RV", "RVOL", "RVOLU&"}, RATIO, -2, &D::relative_volume_2},
        {"Relative Volume, Before Removal", "Rel Vol 1", {"RV1", "RVOL1"}, RATIO, -2,
         &D::relative_volume_1},
        {"Relative Volume, After Removal", "Rel Vol 2", {"RV2", "RVOL2"}, RATIO, -2,
         &D::relative_volume_2},
        {"Gas Relative Volume", "Gas Rel Vol", {"GRV", "GRVOL", "GRVOLU&"}, RATIO, -2,
         &D::gas_relative_volume_2},
        {"Gas Relative Volume, Before Removal", "Gas Rel Vol 1", {"GRV1", "GRVOL1"}, RATIO, -2,
         &D::gas_relative_volume_1},
        {"Gas Relative Volume, After Removal", "Gas Rel Vol 2", {"GRV2", "GRVOL2"}, RATIO, -2,
         &D::gas_relative_volume_2},
        {"Liquid Relative Volume", "Liq Rel Vol", {"LRV", "LRVOL", "LRVOLU&"}, RATIO, -2,
         &D::liquid_relative_volume_2},
        {"Liquid Relative Volume, Before Removal", "Liq Rel Vol 1", {"LRV1", "LRVOL1"}, RATIO, -2,
         &D::liquid_relative_volume_1},
        {"Liquid Relative Volume, After Removal", "Liq Rel Vol 2", {"LRV2", "LRVOL2"}, RATIO, -2,
         &D::liquid_relative_volume_2},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_fractions() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Gas Mole Fraction", "Gas Mole Frac", {"GMF"}, RATIO, -2, &D::gas_mole_fraction_2},
        {"Gas Mole Fraction, Before Removal", "Gas Mole Frac 1", {"GMF1"}, RATIO, -2,
         &D::gas_mole_fraction_1},
        {"Gas Mole Fraction, After Removal", "Gas Mole Frac 2", {"GMF2"}, RATIO, -2,
         &D::gas_mole_fraction_2},
        {"Liquid Mole Fraction", "Liq Mole Frac", {"LMF"}, RATIO, -2, &D::liquid_mole_fraction_2},
        {"Liquid Mole Fraction, Before Removal", "Liq Mole Frac 1", {"LMF1"}, RATIO, -2,
         &D::liquid_mole_fraction_1},
        {"Liquid Mole Fraction, After Removal", "Liq Mole Frac 2", {"LMF2"}, RATIO, -2,
         &D::liquid_mole_fraction_2},
        {"Gas Mass Fraction", "Gas Mass Frac", {"GWF"}, RATIO, -2, &D::gas_mass_fraction_2},
        {"Gas Mass Fraction, Before Removal", "Gas Mass Frac 1", {"GWF1"}, RATIO, -2,
         &D::gas_mass_fraction_1},
        {"Gas Mass Fraction, After Removal", "Gas Mass Frac 2", {"GWF2"}, RATIO, -2,
         &D::gas_mass_fraction_2},
        {"Liquid Mass Fraction", "Liq Mass Frac", {"LWF"}, RATIO, -2, &D::liquid_mass_fraction_2},
        {"Liquid Mass Fraction, Before Removal", "Liq Mass Frac 1", {"LWF1"}, RATIO, -2,
         &D::liquid_mass_fraction_1},
        {"Liquid Mass Fraction, After Removal", "Liq Mass Frac 2", {"LWF2"}, RATIO, -2,
         &D::liquid_mass_fraction_2},
        {"Gas Volume Fraction", "Gas Vol Frac", {"GVF"}, RATIO, -2, &D::gas_volume_fraction_2},
        {"Gas Volume Fraction, Before Removal", "Gas Vol Frac 1", {"GVF1"}, RATIO, -2,
         &D::gas_volume_fraction_1},
        {"Gas Volume Fraction, After Removal", "Gas Vol Frac 2", {"GVF2"}, RATIO, -2,
         &D::gas_volume_fraction_2},
        {"Liquid Volume Fraction", "Liq Vol Frac", {"LVF"}, RATIO, -2,
         &D::liquid_volume_fraction_2},
        {"Liquid Volume Fraction, Before Removal", "Liq Vol Frac 1", {"LVF1"}, RATIO, -2,
         &D::liquid_volume_fraction_1},
        {"Liquid Volume Fraction, After Removal", "Liq Vol Frac 2", {"LVF2"}, RATIO, -2,
         &D::liquid_volume_fraction_2},
        {"Gas Saturation", "Gas Sat", {"GS", "GSAT"}, RATIO, -2, &D::gas_volume_fraction_2},
        {"Gas Saturation, Before Removal", "Gas Sat 1", {"GS1", "GSAT1"}, RATIO, -2,
         &D::gas_volume_fraction_1},
        {"Gas Saturation, After Removal", "Gas Sat 2", {"GS2", "GSAT2"}, RATIO, -2,
         &D::gas_volume_fraction_2},
        {"Liquid Saturation", "Liq Sat", {"LS", "LSAT"}, RATIO, -2, &D::liquid_volume_fraction_2},
        {"Liquid Saturation, Before Removal", "Liq Sat 1", {"LS1", "LSAT1"}, RATIO, -2,
         &D::liquid_volume_fraction_1},
        {"Liquid Saturation, After Removal", "Liq Sat 2", {"LS2", "LSAT2"}, RATIO, -2,
         &D::liquid_volume_fraction_2},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_properties() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Overall Z-Factor", "Z-Factor", {"Z"}, "", -2, &D::z_factor_1},
        {"Overall Z-Factor, Before Removal", "Z-Factor 1", {"Z1"}, "", -2, &D::z_factor_1},
        {"Overall Z-Factor, After Removal", "Z-Factor 2", {"Z2"}, "", -2, &D::z_factor_2},
        {"Gas Phase Z-Factor", "Gas Z-Factor", {"GZ&"}, "", -2, &D::gas_z_factor},
        {"Liquid Phase Z-Factor", "Liq Z-Factor", {"LZ&"}, "", -2, &D::liquid_z_factor},
        {"Overall Molecular Weight", "MW", {"MW"}, "", -2, &D::mw_1},
        {"Overall Molecular Weight, Before Removal", "MW 1", {"MW1"}, "", -2, &D::mw_1},
        {"Overall Molecular Weight, Before Removal", "MW 2", {"MW2"}, "", -2, &D::mw_2},
        {"Gas Phase Molecular Weight", "Gas MW", {"GMW"}, "", -2, &D::gas_mw},
        {"Liquid Phase Molecular Weight", "Liq MW", {"LMW"}, "", -2, &D::liquid_mw},
        {"Overall Density", "Density", {"DEN", "DENS", "DENSI&"}, "density", -2, &D::density_1},
        {"Overall Density, Before Removal", "Density 1", {"DEN1", "DENS1"}, "density", -2,
         &D::density_1},
        {"Overall Density, After Removal", "Density 2", {"DEN2", "DENS2"}, "density", -2,
         &D::density_2},
        {"Gas Phase Density", "Gas Den", {"GDEN&"}, "density", -2, &D::gas_density},
        {"Liquid Phase Density", "Liq Den", {"LDEN&"}, "density", -2, &D::liquid_density},
        {"Overall Specific Volume", "Sp Vol", {"SV", "SVOL"}, "specific volume", -2,
         &D::specific_volume_1},
        {"Overall Specific Volume, Before Removal", "Sp Vol 1", {"SV1", "SVOL1"}, "specific volume",
         -2, &D::specific_volume_1},
        {"Overall Specific Volume, After Removal", "Sp Vol 2", {"SV2", "SVOL2"}, "specific volume",
         -2, &D::specific_volume_2},
        {"Gas Phase Specific Volume", "Gas Sp Vol", {"GSV&"}, "specific volume", -2,
         &D::gas_specific_volume},
        {"Liquid Phase Specific Volume", "Liq Sp Vol", {"LSV&"}, "specific volume", -2,
         &D::liquid_specific_volume},
        {"Overall Molar Density", "Mol Den", {"MDEN", "MDENS"}, "molar density", -2,
         &D::molar_density_1},
        {"Overall Molar Density, Before Removal", "Mol Den 1", {"MDEN1", "MDENS1"}, "molar density",
         -2, &D::molar_density_1},
        {"Overall Molar Density, After Removal", "Mol Den 2", {"MDEN2", "MDENS2"}, "molar density",
         -2, &D::molar_density_2},
        {"Gas Phase Molar Density", "Gas Mol Den", {"GMDEN&"}, "molar density", -2,
         &D::gas_molar_density},
        {"Liquid Phase Molar Density", "Liq Mol Den", {"LMDEN&"}, "molar density", -2,
         &D::liquid_molar_density},
        {"Overall Molar Volume", "Mol Vol", {"MV", "MVOL"}, "molar volume", -2, &D::molar_volume_1},
        {"Overall Molar Volume, Before Removal", "Mol Vol 1", {"MV1", "MVOL1"}, "molar volume", -2,
         &D::molar_volume_1},
        {"Overall Molar Volume, After Removal", "Mol Vol 2", {"MV2", "MVOL2"}, "molar volume", -2,
         &D::molar_volume_2},
        {"Gas Phase Molar Volume", "Gas Mol Vol", {"GMV&"}, "molar volume", -2,
         &D::gas_molar_volume},
        {"Liquid Phase Molar Volume", "Liq Mol Vol", {"LMV&"}, "molar volume", -2,
         &D::liquid_molar_volume},
        {"Viscosity", "", {"VIS&"}, "viscosity", -2, &D::viscosity},
        {"Gas Phase Viscosity", "Gas Vis", {"GVIS&"}, "viscosity", -2, &D::gas_viscosity},
        {"Liquid Phase Viscosity", "Liq Vis", {"LVIS&"}, "viscosity", -2, &D::liquid_viscosity},
        {"Gas Specific Gravity", "Gas Sp Gravity", {"GSG&", "GGR&"}, "", -2, &D::gas_gravity},
        {"Liquid Specific Gravity", "Liq Sp Gravity", {"LSG&", "LGR&"}, "", -2,
         &D::liquid_gravity},
        {"Liquid API Gravity", "Liquid API", {"API", "LAPI"}, "", -2, &D::liquid_api},
        {"Interfacial Tension", "IFT", {"IFT"}, "interfacial tension", -2,
         &D::interfacial_tension},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_removed() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Cumulative Removal", "Removed", {"MR", "MREM", "MREMO&"}, "mole", -2, &D::removed_moles},
        {"Cumulative Removal", "Removed", {"MR/V&", "MREM/V&"}, "gas-oil ratio", -2,
         &D::removed_moles_per_volume},
        {"Relative Moles Removed", "Rel Moles Rem", {"RMR&", "MR/M&", "MREM/M&"}, RATIO, -2,
         &D::removed_relative_moles},
        {"Cumulative Removal", "Rel Mass Rem", {"WR", "WREM", "WREMO&"}, "mass", -2,
         &D::removed_mass},
        {"Cumulative Removal", "Removed", {"WR/V&", "WREM/V&"}, "density", -2,
         &D::removed_mass_per_volume},
        {"Relative Mass Removed", "Rel Mass Rem", {"RWR&", "WR/W&", "WREM/W&"}, RATIO, -2,
         &D::removed_relative_mass},
    };
    return heads;
}

inline const std::vector<ExpectedHead>& expected_names() {
    using D = ExptData;
    static const std::vector<ExpectedHead> heads{
        {"Feed Stream", "Feed", {"FEED"}, "", 0, &D::feed_name_2},
        {"Feed Stream, Before Removal", "Feed 1", {"FEED1"}, "", 0, &D::feed_name_1},
        {"Feed Stream, After Removal", "Feed 2", {"FEED2"}, "", 0, &D::feed_name_2},
        {"Equilibrium Liquid", "Eq Liq", {"EQL&"}, "", 0, &D::eql_name},
        {"Equilibrium Vapor", "Eq Vap", {"EQV&"}, "", 0, &D::eqv_name},
        {"Negative Flash Liquid", "NF Liq", {"NFL&"}, "", 0, &D::nfl_name},
        {"Negative Flash Vapor", "NF Vap", {"NFV&"}, "", 0, &D::nfv_name},
    };
    return heads;
}

inline const ExpectedHead& expected_stage() {
    static const ExpectedHead head{"Stage", "Stg", {"STG", "STAG&"}, "", 2, &ExptData::stage};
    return head;
}

inline const ExpectedHead& expected_weight() {
    static const ExpectedHead head{"Stage Weight", "Stg Wgt", {"WGT&", "WT&", "WEIG&", "WGH&"},
                                   "",             0,         &ExptData::weight,
                                   {2, 6, 3}};
    return head;
}

inline void append(std::vector<ExpectedHead>& to, const std::vector<ExpectedHead>& heads) {
    to.insert(to.end(), heads.begin(), heads.end());
}

/// Saturation quantities to phase properties, which all experiments share.
inline std::vector<ExpectedHead> expected_results() {
    std::vector<ExpectedHead> heads = expected_saturations();
    append(heads, expected_ratios());
    append(heads, expected_amounts());
    append(heads, expected_fractions());
    append(heads, expected_properties());
    return heads;
}

/// In the order of the key table.
inline std::vector<ExpectedHead> expected_expansion() {
    std::vector<ExpectedHead> heads{expected_stage()};
    append(heads, expected_set_conditions());
    append(heads, expected_injected());
    append(heads, expected_results());
    append(heads, expected_removed());
    heads.push_back(expected_weight());
    append(heads, expected_names());
    return heads;
}

inline std::vector<ExpectedHead> expected_segregation() {
    using D = ExptData;
    std::vector<ExpectedHead> heads{
        expected_stage(),
        {"Depth", "", {"DEPTH", "DPTH"}, "distance", 1, &D::depth, {4, 8, 6}},
        {"Temperature", "Temp", {"TEMP&", "T"}, "temperature", -1, &D::temperature},
        {"Pressure", "Pres", {"PRES&", "P"}, "pressure", -1, &D::pressure}};
    append(heads, expected_results());
    heads.push_back(expected_weight());
    heads.push_back({"Fluid Zone", "Zone", {"ZONE"}, "", 0, &D::zone});
    append(heads, expected_names());
    return heads;
}

// clang-format on

}  // namespace kestrane::testing
