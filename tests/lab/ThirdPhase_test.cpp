#include "lab/LabRun.h"

namespace kestrane {
namespace {

/// What a cell with a third phase says of it.
ErrorList said(double vapor_fraction, int position, int severity) {
    LabRun run(LIGHT_FLUID);
    PVTCell& cell = run.lab.cell();
    cell.phase_count = 3;
    cell.x_state.fraction = 1.0 - vapor_fraction;
    cell.y_state.fraction = vapor_fraction;
    cell.third_phase_position = position;
    cell.third_phase_severity = severity;
    cell.report_third_phase();
    return run.lab.errors();
}

TEST(ThirdPhase, InsideTheTieLineAndAtItsEnds) {
    const std::string due = "A third, lighter phase is also due to appear";
    ErrorList inside = said(0.5, 1, WARNING);
    ASSERT_EQ(inside.entries.size(), 1u);
    EXPECT_EQ(inside.entries[0]->text, "Equilibrium should exhibit at least three phases\n" + due);
    for (const double end : {0.0, 1.0}) {
        const ErrorList verge = said(end, 1, WARNING);
        ASSERT_EQ(verge.entries.size(), 1u);
        EXPECT_EQ(verge.entries[0]->text,
                  "Equilibrium is on the verge of at least three phases\n" + due);
    }
}

TEST(ThirdPhase, PositionsAndSeverities) {
    const char* const places[]{"A third phase", "A third, lighter phase",
                               "A third, intermediate phase", "A third, heavier phase"};
    for (int position = 0; position <= 3; ++position) {
        for (int severity = WARNING; severity <= FATAL_ERROR; ++severity) {
            const ErrorList errors = said(0.5, position, severity);
            EXPECT_EQ(errors.severity, severity);
            ASSERT_EQ(errors.entries.size(), 1u);
            EXPECT_NE(errors.entries[0]->text.find(std::string(places[position]) +
                                                   " is also due to appear"),
                      std::string::npos);
        }
    }
}

TEST(ThirdPhase, SwitchesSilenceWarningsAndErrors) {
    for (int severity = 0; severity <= FATAL_ERROR; ++severity) {
        LabRun run(LIGHT_FLUID);
        PVTCell& cell = run.lab.cell();
        run.lab.errors().warnings_on = run.lab.errors().errors_on = false;
        cell.phase_count = 3;
        cell.third_phase_severity = severity;
        cell.report_third_phase();
        EXPECT_EQ(run.lab.errors().severity, severity == FATAL_ERROR ? FATAL_ERROR : NO_PROBLEM);
    }
}

}  // namespace
}  // namespace kestrane
