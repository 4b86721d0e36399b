#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "fluid/Compnent.h"
#include "input/Units.h"

namespace kestrane {
namespace {

struct Expected {
    std::vector<std::string> titles;
    std::vector<std::string> keywords;
    const UnitSet* units;
    PrintFigures figures;
    double Compnent::*field;  ///< null for text
};

/// The columns in their order, typed anew.
std::vector<Expected> expected_heads() {
    const UnitSet* temperature = &unit_set(UnitKind::Temperature);
    const UnitSet* absolute = &unit_set(UnitKind::AbsoluteTemperature);
    const UnitSet* pressure = &unit_set(UnitKind::Pressure);
    const UnitSet* volume = &unit_set(UnitKind::MolarVolume);
    using D = double Compnent::*;
    const PrintFigures weight{3, -1, 6}, factor{5, -1, 6}, general{5, 8, 6};
    return {
        {{"Component"}, {"COMP&", "NAME&"}, nullptr, general, nullptr},
        {{"Molecular Weight", "Mol Wt", "MW"}, {"MW&"}, nullptr, weight, D{&Compnent::mw}},
        {{"Specific Gravity", "Sp Gr", "SG"}, {"SG&"}, nullptr, factor, D{&Compnent::sg}},
        {{"Boiling Temperature", "Boil Temp", "Tb"},
         {"TB&"},
         temperature,
         general,
         D{&Compnent::tb}},
        {{"Lower Molecular Weight", "Lower MW", "LMW"},
         {"LMW&"},
         nullptr,
         weight,
         D{&Compnent::lower_mw}},
        {{"Lower Specific Gravity", "Lower SG", "LSG"},
         {"LSG&"},
         nullptr,
         factor,
         D{&Compnent::lower_sg}},
        {{"Lower Boiling Temp", "Lower Tb", "LTb"},
         {"LTB&"},
         temperature,
         general,
         D{&Compnent::lower_tb}},
        {{"Critical Temperature", "Crit Temp", "Tc"},
         {"TC", "TCR&"},
         absolute,
         general,
         &Compnent::tc},
        {{"Critical Pressure", "Crit Pres", "Pc"},
         {"PC", "PCR&"},
         pressure,
         general,
         &Compnent::pc},
        {{"Critical Z-Factor", "Crit Z", "Zc"}, {"ZC", "ZCR&"}, nullptr, factor, &Compnent::zc},
        {{"Critical Volume", "Crit Vol", "Vc"}, {"VC", "VCR&"}, volume, general, &Compnent::vc},
        {{"Acentric Factor", "Acentric", "AF"},
         {"AF&", "AC&"},
         nullptr,
         factor,
         &Compnent::acentric},
        {{"Volume Translation", "Vol Tran", "VTran"},
         {"VT&", "VS&"},
         nullptr,
         factor,
         &Compnent::vol_shift},
        {{"A-Parameter", "A"}, {"A"}, nullptr, general, &Compnent::omega_a},
        {{"B-Parameter", "B"}, {"B"}, nullptr, general, &Compnent::omega_b},
        {{"A-Parameter Modifier", "A-Mod"},
         {"AMOD&", "A-MOD&"},
         nullptr,
         general,
         &Compnent::a_mod},
        {{"B-Parameter Modifier", "B-Mod"},
         {"BMOD&", "B-MOD&"},
         nullptr,
         general,
         &Compnent::b_mod},
        {{"Viscosity Z-Factor", "Visc Zc", "ZcVis"},
         {"VISZ&", "VZ&", "ZCV&"},
         nullptr,
         factor,
         &Compnent::visc_zc},
        {{"Viscosity Vc", "Visc Vc", "VcVis"},
         {"VISV&", "VV&", "VCV&"},
         volume,
         general,
         &Compnent::visc_vc},
        {{"Parachor", "Pchor"}, {"PCHOR&", "PARA&"}, nullptr, {4, 7, 5}, &Compnent::parachor},
        {{"Full Name", "Full"}, {"FULL&"}, nullptr, general, nullptr},
    };
}

TEST(ComponentHeads, OrderTitlesKeywordsUnitsAndFigures) {
    const std::vector<Expected> expected = expected_heads();
    const auto& heads = component_heads().heads();
    ASSERT_EQ(heads.size(), 21u);
    ASSERT_EQ(expected.size(), 21u);
    for (std::size_t i = 0; i < heads.size(); ++i) {
        EXPECT_EQ(heads[i]->aliases, expected[i].titles);
        EXPECT_EQ(heads[i]->keywords, expected[i].keywords) << expected[i].titles[0];
        EXPECT_EQ(heads[i]->unitSet, expected[i].units) << expected[i].titles[0];
        EXPECT_EQ(heads[i]->figures.decimals, expected[i].figures.decimals);
        EXPECT_EQ(heads[i]->figures.maxDecimals, expected[i].figures.maxDecimals);
        EXPECT_EQ(heads[i]->figures.significantDigits, expected[i].figures.significantDigits);
        EXPECT_EQ(heads[i]->left_aligned, expected[i].field == nullptr);
    }
}

TEST(ComponentHeads, EachHeadReachesItsField) {
    const std::vector<Expected> expected = expected_heads();
    const auto& heads = component_heads().heads();
    for (std::size_t i = 0; i < heads.size(); ++i) {
        Compnent row;
        heads[i]->SetCell(row, 7.0);
        for (const Expected& other : expected)
            if (other.field) {
                EXPECT_EQ(row.*other.field, other.field == expected[i].field ? 7.0 : UNSET)
                    << expected[i].titles[0] << " / " << other.titles[0];
            }
        heads[i]->ClearCell(row);
        if (expected[i].field) {
            EXPECT_EQ(row.*expected[i].field, UNSET);
        }
    }
}

TEST(ComponentHeads, WordsFindTheirColumn) {
    const std::vector<std::pair<const char*, const char*>> words{{"name", "Component"},
                                                                 {"COMPONENT", "Component"},
                                                                 {"MWT", "Molecular Weight"},
                                                                 {"tc", "Critical Temperature"},
                                                                 {"TCRIT", "Critical Temperature"},
                                                                 {"ZCVIS", "Viscosity Z-Factor"},
                                                                 {"VCVIS", "Viscosity Vc"},
                                                                 {"ZCRIT", "Critical Z-Factor"},
                                                                 {"ACENTRIC", "Acentric Factor"},
                                                                 {"A", "A-Parameter"},
                                                                 {"A-MOD", "A-Parameter Modifier"},
                                                                 {"VSHIFT", "Volume Translation"},
                                                                 {"PARACHOR", "Parachor"},
                                                                 {"FULLNAME", "Full Name"}};
    for (const auto& [word, title] : words) {
        const AnyColHead* head = component_heads().find(word);
        ASSERT_NE(head, nullptr) << word;
        EXPECT_EQ(head->aliases.front(), title) << word;
    }
    for (const char* word : {"TCX", "AB", "X", "PCX"})
        EXPECT_EQ(component_heads().find(word), nullptr) << word;
}

}  // namespace
}  // namespace kestrane
