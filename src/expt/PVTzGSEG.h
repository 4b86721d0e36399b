#pragma once

#include <map>
#include <string>

#include "expt/PVTzEXPA.h"
#include "lab/DampingOption.h"

namespace kestrane {

/// A column of fluid in gravity at one temperature: the rows are depths (m, positive downward), and
/// pressure, composition and all else follow from the fluid of the cell at its depth. Nothing is
/// removed. Where the column changes from gas to oil the report gains rows of its own.
class PVTzGSEG : public PVTzEXPA {
public:
    void parse(Reader& reader, EOSLab& lab, Writer& writer) override;
    void run(Reader& reader, EOSLab& lab, Writer& writer) override;
    const CmdKey* FindKey(const std::string& word) const override;
    ExptHeads& key_table() const override;
    std::string title() const override;
    /// Temperature and pressure are those of the column; no column of pressures sets the row's.
    bool stageSaturations(EOSLab& lab, ExptData& row, const ExptData& positions) override;

    /// GOC: [depth] [WGT weight].
    virtual void readContact(Reader& reader);
    /// DAMP&: a number from 0 to 1, or a variable.
    virtual void readDamping(Reader& reader);
    /// The upper saturation pressure of the cell's fluid; the cell is left there if it was found.
    ///   pressure  in   where one may be expected, Pa; not above 0: unknown
    ///             out  the pressure found
    ///   label     in   what a fluid without one is: 1 gas, 0 liquid
    ///             out  what the fluid is beside the incipient phase
    ///   messages  keep the problems of the search
    virtual BasisState findSaturationPressure(PVTCell& cell, double& pressure, double& label,
                                              bool messages);
    /// The basis amount of the row's fluid, and no removals.
    virtual void setAmounts(const PVTCell& cell, ExptData& row);
    /// Name of the zone that a state is of, seven characters.
    virtual void labelZone(const CellConditions& state, ExptData& row) const;

    /// Depths of the input's rows (m, UNSET for the reference) with their row numbers from 0.
    std::multimap<double, int> depths;
    ValueWithUnit measured_contact;  ///< m
    double contact_weight = 1.0;
    bool contact_wanted = false;
    DampingOption damping;

protected:
    struct ColumnRun;
    struct Boundary;
    /// Moves the cell from a state of the column to another depth. False, if the column can not be
    /// followed that far.
    virtual bool stepToDepth(ColumnRun& s, const CellConditions& from, double depth);
    /// Where between two states of different zones the zone changes, to 0.01 m; exactly, if a
    /// second phase appears there: `at` is then on the verge of it. False if the search fails.
    virtual bool findContact(ColumnRun& s, const CellConditions& near, const CellConditions& far,
                             CellConditions& at);
    /// Puts the rows of the boundaries that lie between rows into the table, without weight.
    virtual void addBoundaryRows(ColumnRun& s);
    /// Keeps the state that the next step starts from.
    virtual void nextState(ColumnRun& s, const CellConditions& state);
    /// Names the zones of one phase by what lies above them: gas, oil below gas, and tar below a
    /// contact of oil.
    virtual void labelPhases(ColumnRun& s);

private:
    bool start(ColumnRun& s);
    bool find_reference(ColumnRun& s);
    void search_saturation(ColumnRun& s, bool wanted);
    void identify(ColumnRun& s);
    void print_basis(const ColumnRun& s) const;
    void begin_rows(ColumnRun& s);
    void take_row(ColumnRun& s, int index) const;
    void walk(ColumnRun& s, bool down);
    bool visit(ColumnRun& s, double depth);
    void calculate_row(ColumnRun& s, const CellConditions& state);
    void look_for_boundary(ColumnRun& s, const CellConditions& near, const CellConditions& far);
    void keep_contact(ColumnRun& s, const CellConditions& at);
    void keep_transition(ColumnRun& s, const CellConditions& at);
    void compare_all(ColumnRun& s) const;
    void finish(ColumnRun& s);

    EOSLab* lab_ = nullptr;  ///< whose variables may be the damping factor; not owned
};

}  // namespace kestrane
