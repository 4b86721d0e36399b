#include <array>

#include "fluid/Compnent.h"
#include "input/Units.h"

namespace kestrane {

namespace {

constexpr int NO_MAXIMUM = -1;
constexpr PrintFigures WEIGHT_FIGURES{3, NO_MAXIMUM, 6};
constexpr PrintFigures FACTOR_FIGURES{5, NO_MAXIMUM, 6};
constexpr PrintFigures GENERAL_FIGURES{5, 8, 6};
constexpr PrintFigures PARACHOR_FIGURES{4, 7, 5};
constexpr std::size_t HEAD_COUNT = 21;

using Names = std::vector<std::string>;
using NumberHead = TableHead<double>;

const TableHead<UserWord>& name_head() {
    static const TableHead<UserWord> head = [] {
        TableHead<UserWord> made(&Compnent::name, Names{"Component"}, Names{"COMP&", "NAME&"},
                                 nullptr, 1, GENERAL_FIGURES);
        made.left_aligned = true;
        return made;
    }();
    return head;
}

const TableHead<Quote>& full_name_head() {
    static const TableHead<Quote> head = [] {
        TableHead<Quote> made(&Compnent::full_name, Names{"Full Name", "Full"}, Names{"FULL&"},
                              nullptr, 0, GENERAL_FIGURES);
        made.left_aligned = true;
        return made;
    }();
    return head;
}

/// All columns of numbers, in order between the name and the full name.
const std::array<NumberHead, HEAD_COUNT - 2>& number_heads() {
    const UnitSet* const none = nullptr;
    const UnitSet* const temperature = &unit_set(UnitKind::Temperature);
    const UnitSet* const absolute = &unit_set(UnitKind::AbsoluteTemperature);
    const UnitSet* const pressure = &unit_set(UnitKind::Pressure);
    const UnitSet* const molar_volume = &unit_set(UnitKind::MolarVolume);
    static const std::array<NumberHead, HEAD_COUNT - 2> heads{{
        {&Compnent::mw, Names{"Molecular Weight", "Mol Wt", "MW"}, Names{"MW&"}, none, 0,
         WEIGHT_FIGURES},
        {&Compnent::sg, Names{"Specific Gravity", "Sp Gr", "SG"}, Names{"SG&"}, none, 0,
         FACTOR_FIGURES},
        {&Compnent::tb, Names{"Boiling Temperature", "Boil Temp", "Tb"}, Names{"TB&"}, temperature,
         0, GENERAL_FIGURES},
        {&Compnent::lower_mw, Names{"Lower Molecular Weight", "Lower MW", "LMW"}, Names{"LMW&"},
         none, 0, WEIGHT_FIGURES},
        {&Compnent::lower_sg, Names{"Lower Specific Gravity", "Lower SG", "LSG"}, Names{"LSG&"},
         none, 0, FACTOR_FIGURES},
        {&Compnent::lower_tb, Names{"Lower Boiling Temp", "Lower Tb", "LTb"}, Names{"LTB&"},
         temperature, 0, GENERAL_FIGURES},
        {&Compnent::tc, Names{"Critical Temperature", "Crit Temp", "Tc"}, Names{"TC", "TCR&"},
         absolute, 0, GENERAL_FIGURES},
        {&Compnent::pc, Names{"Critical Pressure", "Crit Pres", "Pc"}, Names{"PC", "PCR&"},
         pressure, 0, GENERAL_FIGURES},
        {&Compnent::zc, Names{"Critical Z-Factor", "Crit Z", "Zc"}, Names{"ZC", "ZCR&"}, none, 0,
         FACTOR_FIGURES},
        {&Compnent::vc, Names{"Critical Volume", "Crit Vol", "Vc"}, Names{"VC", "VCR&"},
         molar_volume, 0, GENERAL_FIGURES},
        {&Compnent::acentric, Names{"Acentric Factor", "Acentric", "AF"}, Names{"AF&", "AC&"}, none,
         0, FACTOR_FIGURES},
        {&Compnent::vol_shift, Names{"Volume Translation", "Vol Tran", "VTran"},
         Names{"VT&", "VS&"}, none, 0, FACTOR_FIGURES},
        {&Compnent::omega_a, Names{"A-Parameter", "A"}, Names{"A"}, none, 0, GENERAL_FIGURES},
        {&Compnent::omega_b, Names{"B-Parameter", "B"}, Names{"B"}, none, 0, GENERAL_FIGURES},
        {&Compnent::a_mod, Names{"A-Parameter Modifier", "A-Mod"}, Names{"AMOD&", "A-MOD&"}, none,
         0, GENERAL_FIGURES},
        {&Compnent::b_mod, Names{"B-Parameter Modifier", "B-Mod"}, Names{"BMOD&", "B-MOD&"}, none,
         0, GENERAL_FIGURES},
        {&Compnent::visc_zc, Names{"Viscosity Z-Factor", "Visc Zc", "ZcVis"},
         Names{"VISZ&", "VZ&", "ZCV&"}, none, 0, FACTOR_FIGURES},
        {&Compnent::visc_vc, Names{"Viscosity Vc", "Visc Vc", "VcVis"},
         Names{"VISV&", "VV&", "VCV&"}, molar_volume, 0, GENERAL_FIGURES},
        {&Compnent::parachor, Names{"Parachor", "Pchor"}, Names{"PCHOR&", "PARA&"}, none, 0,
         PARACHOR_FIGURES},
    }};
    return heads;
}

}  // namespace

const HeadDictionary& component_heads() {
    static const HeadDictionary dictionary = [] {
        HeadDictionary heads;
        heads.add(name_head());
        for (const NumberHead& head : number_heads()) heads.add(head);
        heads.add(full_name_head());
        return heads;
    }();
    return dictionary;
}

}  // namespace kestrane
