#pragma once

#include <string>

#include "input/Units.h"
#include "regress/Modifier.h"

namespace kestrane {

class EOSLab;
class Tank;

/// Changes moles or masses of components in a mixture.
class TankMod final : public Modifier {
public:
    TankMod(const Command& owner, EOSLab& lab, bool by_mass, Reader& reader);
    void apply(Writer& writer) override;

private:
    void change(Writer& writer, Tank& tank) const;
    [[noreturn]] void refuse(Writer& writer, const std::string& reason) const;

    EOSLab& lab_;
    bool by_mass_;
    std::string first_, last_;  ///< names of the ends of the range
    std::string mixture_;
    bool usable_ = false;  ///< the names were known when they were read
};

/// Changes the cell's temperature, on the kelvin scale.
class TempMod final : public Modifier {
public:
    TempMod(const Command& owner, EOSLab& lab, Reader& reader);
    void apply(Writer& writer) override;

private:
    EOSLab& lab_;
};

/// Changes the cell's pressure, which is absolute.
class PresMod final : public Modifier {
public:
    PresMod(const Command& owner, EOSLab& lab, Reader& reader);
    void apply(Writer& writer) override;

private:
    EOSLab& lab_;
};

/// Changes a coefficient of the viscosity correlation.
class Mod_LBC final : public Modifier {
public:
    Mod_LBC(const Command& owner, const Fitter& fitter, std::size_t coefficient, Reader& reader);
    void apply(Writer& writer) override;
    void rerun() override;

private:
    std::size_t coefficient_;
};

/// Changes a parameter of the gravity correlation.
class Mod_Sor final : public Modifier {
public:
    Mod_Sor(const Command& owner, const Fitter& fitter, std::size_t parameter, Reader& reader);
    void apply(Writer& writer) override;
    void rerun() override;

private:
    std::size_t parameter_;
};

/// Changes the aromaticity of the gravity correlation's Jacoby form, and chooses that form.
class Mod_Jacoby final : public Modifier {
public:
    Mod_Jacoby(const Command& owner, const Fitter& fitter, Reader& reader);
    void apply(Writer& writer) override;
    void rerun() override;
};

/// Changes the damping of the molecular weight correlation, within 0..1.
class Mod_TwuMW final : public Modifier {
public:
    Mod_TwuMW(const Command& owner, const Fitter& fitter, Reader& reader);
    void apply(Writer& writer) override;
    void rerun() override;
};

/// Changes a parameter of the gamma distribution, within the limits of the language.
class Mod_Gamma final : public Modifier {
public:
    Mod_Gamma(const Command& owner, const Fitter& fitter, std::size_t parameter, Reader& reader);
    void apply(Writer& writer) override;
    void rerun() override;

private:
    std::size_t parameter_;
};

/// True for a word that names what the laboratory can change.
bool is_lab_target(const std::string& word);
/// Reads what follows a verb in the laboratory: a target and an operand. Null, with a report, if
/// the words name no target.
DynPtr<Modifier> read_lab_modifier(const Command& owner, EOSLab& lab, Reader& reader);

}  // namespace kestrane
