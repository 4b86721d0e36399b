#include "regress/GammaFit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "lab/LabRun.h"

namespace kestrane {
namespace {

/// A distribution with density ((x - origin) / beta)^(alpha - 1) exp(-(x - origin) / beta).
struct Shape {
    double alpha, beta, bound, origin;
};

/// Moles and mass between two molecular weights, by Simpson's rule in u = ((x - origin) /
/// beta)^1/6, in which the density has no pole; not normalized.
std::array<double, 2> integrals(const Shape& shape, double from, double to) {
    constexpr int PANELS = 4000;
    const double begin = std::pow((from - shape.origin) / shape.beta, 1.0 / 6.0);
    const double end = std::pow((to - shape.origin) / shape.beta, 1.0 / 6.0);
    const double h = (end - begin) / PANELS;
    std::array<double, 2> sums{0.0, 0.0};
    for (int i = 0; i <= PANELS; ++i) {
        const double u = begin + h * i, y = std::pow(u, 6.0);
        const double factor = (i == 0 || i == PANELS ? 1.0 : i % 2 == 1 ? 4.0 : 2.0) * h / 3.0;
        const double density = 6.0 * std::pow(u, 6.0 * shape.alpha - 1.0) * std::exp(-y);
        sums[0] += factor * density;
        sums[1] += factor * density * (shape.origin + shape.beta * y);
    }
    return sums;
}

/// A plus fraction cut from a distribution: exact moles and molecular weights.
struct Cuts {
    std::vector<double> lower, moles, mws;
    double average = 0.0;
};

Cuts cut(const Shape& shape, const std::vector<double>& boundaries) {
    Cuts cuts;
    const double infinite = shape.origin + 60.0 * shape.beta;
    double moles = 0.0, mass = 0.0;
    for (std::size_t k = 0; k < boundaries.size(); ++k) {
        const double to = k + 1 < boundaries.size() ? boundaries[k + 1] : infinite;
        const auto [n, m] = integrals(shape, boundaries[k], to);
        cuts.lower.push_back(boundaries[k]);
        cuts.moles.push_back(n);
        cuts.mws.push_back(m / n);
        moles += n;
        mass += m;
    }
    for (double& n : cuts.moles) n *= 0.4 / moles;
    cuts.average = mass / moles;
    return cuts;
}

const std::vector<Shape> SHAPES = {{0.7, 130.0, 90.0, 90.0},
                                   {1.0, 110.0, 92.0, 92.0},
                                   {1.6, 60.0, 95.0, 95.0},
                                   {2.3, 55.0, 90.0, 72.0}};

Cuts six_cuts(const Shape& shape) {
    return cut(shape, {shape.bound, 115.0, 150.0, 200.0, 270.0, 380.0});
}

/// A characterization with those cuts F1, F2, ... and a mixture "Oil" of them.
std::string fluid(const Cuts& cuts, bool with_boundaries = true) {
    std::ostringstream text;
    const auto column = std::setw(24);
    text << std::setprecision(17) << std::left << "CONSERVE MOLES\nCHAR Fine\n"
         << column << "NAME" << column << "MW" << column << "SG"
         << "LMW\nC1\n";
    for (std::size_t k = 0; k < cuts.mws.size(); ++k) {
        text << column << "F" + std::to_string(k + 1) << column << cuts.mws[k] << column << 0.8;
        if (with_boundaries && k > 0) text << cuts.lower[k];
        text << "\n";
    }
    text << "END\nEND\nMIX Oil C1 0.6";
    for (std::size_t k = 0; k < cuts.moles.size(); ++k)
        text << " F" << k + 1 << " " << cuts.moles[k];
    return text.str() + "\n";
}

std::string limits(const Shape& shape) {
    std::ostringstream text;
    text << "GAMMA\nSHAPE 1.2 0.3 4\nAVERAGE 1.02 0.8 1.2\nBOUND 0.93 0.8 1.0\nORIGIN "
         << std::setprecision(17) << shape.origin / shape.bound << "\n";
    return text.str();
}

void expect_recovered(const Shape& shape, const Cuts& cuts) {
    const GammaValues& found = gamma_state().current;
    EXPECT_NEAR(found[SHAPE] / shape.alpha, 1.0, 1e-4);
    EXPECT_NEAR(found[AVERAGE] / cuts.average, 1.0, 1e-4);
    EXPECT_NEAR(found[BOUND] / shape.bound, 1.0, 1e-4);
    EXPECT_DOUBLE_EQ(found[ORIGIN], shape.origin / shape.bound);
}

/// Both fits, moles and mass conserved, all cuts and with the two heaviest ignored.
TEST(GammaFit, RecoversDistributions) {
    for (const Shape& shape : SHAPES)
        for (const char* basis : {"MOLES", "MASS"})
            for (const char* by : {"AMOUNTS", "MWS"})
                for (const char* ignored : {"", "IGNORE F5\n"}) {
                    SCOPED_TRACE(testing::Message() << shape.alpha << basis << by << ignored);
                    const Cuts cuts = six_cuts(shape);
                    const LabRun run(fluid(cuts) + "CONSERVE " + basis + "\n" + limits(shape) +
                                     "FIT Oil F1 " + by + "\n" + ignored + "END\nEND\n");
                    EXPECT_FALSE(run.stopped);
                    EXPECT_EQ(run.counts.warnings, 0) << run.report();
                    expect_recovered(shape, cuts);
                }
}

TEST(GammaFit, MolecularWeightsAreTheDefault) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const LabRun run(fluid(cuts) + limits(SHAPES[0]) + "FIT Oil F1\nEND\nEND\n");
    EXPECT_TRUE(run.reports("Component     Mass        Mass        Moles       Moles        MW"));
    expect_recovered(SHAPES[0], cuts);
}

TEST(GammaFit, AnotherWordIsPutBack) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const LabRun run(fluid(cuts) + "GAMMA\nFIT Oil F1 IGNORE F6\nSTORE Mine\nEND\n");
    EXPECT_TRUE(run.reports("ignored"));
    EXPECT_TRUE(gamma_state().find("Mine"));
}

/// A single cut has one residual of its own, its mean: nothing is off, nothing is varied.
TEST(GammaFit, SingleCutFitsTheAverageOnly) {
    const Cuts cuts = six_cuts(SHAPES[1]);
    for (const char* by : {"AMOUNTS", "MWS"}) {
        const LabRun run(fluid(cuts) + "GAMMA\nSHAPE 1.5 1 2\nAVERAGE 1.1 0.9 1.2\nFIT Oil F6 " +
                         by + "\nEND\nEND\n");
        EXPECT_DOUBLE_EQ(gamma_state().current[SHAPE], 1.5);
        EXPECT_NEAR(gamma_state().current[AVERAGE] / cuts.mws[5], 1.0, 1e-8);
        EXPECT_DOUBLE_EQ(gamma_state().current[BOUND], 0.95 * cuts.mws[5]);
    }
}

TEST(GammaFit, FixKeepsAParameter) {
    const Cuts cuts = six_cuts(SHAPES[2]);
    const LabRun run(fluid(cuts) + limits(SHAPES[2]) +
                     "SHAPE 1.1\nSHAPE FIX\nFIT Oil F1\nEND\nEND\n");
    EXPECT_EQ(gamma_state().current[SHAPE], 1.1);
    EXPECT_GT(std::abs(gamma_state().current[BOUND] / 95.0 - 1.0), 1e-4);
}

TEST(GammaFit, ModelChangesNothing) {
    const Cuts cuts = six_cuts(SHAPES[1]);
    LabRun run(fluid(cuts) + "GAMMA\nSHAPE 1\nAVERAGE 1\nBOUND 92\nMODEL Oil F1\nEND\nEND\n");
    const GammaValues expected{1.0, 1.0, 92.0, 1.0};
    EXPECT_EQ(gamma_state().current, expected);
    EXPECT_TRUE(
        run.reports("Gamma Distribution Model of Mixture \"Oil\"\n"
                    "=========================================\n"));
    EXPECT_TRUE(run.reports("Number of Iterations ...... :           0"));
    // The cuts are those of the distribution itself.
    EXPECT_TRUE(run.reports("RMS % Error ....... :      0.0000"));
    EXPECT_EQ(run.lab.current()->comps[1].lower_mw, 0.0);
}

/// Beta of an exponential distribution is the average less the bound; its model against cuts of
/// another shape has the deviations that follow from P(a) = 1 - exp(-(a - bound) / beta).
TEST(GammaFit, ModelByClosedForm) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const double beta = cuts.average - 90.0, mean_amount = 0.4 / 6.0;
    double squares = 0.0;
    for (std::size_t k = 0; k < 6; ++k) {
        const double above = std::exp(-(cuts.lower[k] - 90.0) / beta);
        const double next = k < 5 ? std::exp(-(cuts.lower[k + 1] - 90.0) / beta) : 0.0;
        const double deviation = (0.4 * (above - next) - cuts.moles[k]) / mean_amount;
        squares += deviation * deviation;
    }
    std::ostringstream rms;
    rms << std::fixed << std::setprecision(4) << 100.0 * std::sqrt(squares / 7.0);
    const LabRun run(fluid(cuts) +
                     "GAMMA\nSHAPE 1\nAVERAGE 1\nBOUND 90\nMODEL Oil F1 AMOUNTS\nEND\nEND\n");
    EXPECT_TRUE(
        run.reports("RMS % Error ....... :" + std::string(12 - rms.str().size(), ' ') + rms.str()))
        << rms.str() << run.report();
}

/// Average and bound given as molecular weights mean the same as multiples.
TEST(GammaFit, AbsoluteLimits) {
    const Shape& shape = SHAPES[2];
    const Cuts cuts = six_cuts(shape);
    const LabRun run(fluid(cuts) +
                     "GAMMA\nSHAPE 1.2 0.3 4\nAVERAGE 200 150 250\nBOUND 92 85 100\n"
                     "FIT Oil F1\nEND\nEND\n");
    expect_recovered(shape, cuts);
}

/// With all of the weight on one cut and the mean, those are met, whatever becomes of the others.
TEST(GammaFit, WeightsDecide) {
    const Cuts cuts = six_cuts(SHAPES[1]);
    const std::string fit = "GAMMA\nSHAPE 1.2 0.3 4\nBOUND 0.93\nAVERAGE 1 0.9 1.1\nFIT Oil F1\n";
    const LabRun run(fluid(cuts) + fit + "WEIGHT 0\nWT F6 1\nWGT TOTAL 1\nEND\nEND\n");
    EXPECT_NEAR(gamma_state().current[AVERAGE] / cuts.average, 1.0, 1e-6);
    EXPECT_TRUE(run.reports("RMS % Error ....... :      0.0000")) << run.report();
    const LabRun even(fluid(cuts) + fit + "WGHT AVERAGE 0\nEND\nEND\n");
    EXPECT_FALSE(even.reports("RMS % Error ....... :      0.0000"));
}

TEST(GammaFit, BoundariesGoIntoTheComponents) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    LabRun run(fluid(cuts, false) + limits(SHAPES[0]) + "FIT Oil F1\nEND\nEND\n");
    for (std::size_t k = 0; k < 6; ++k)
        EXPECT_NEAR(run.lab.current()->comps[k + 1].lower_mw / cuts.lower[k], 1.0, 2e-4);
}

TEST(GammaFit, ReportedCuts) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const auto table = [&cuts](const std::string& sub_keyword) {
        const LabRun run(fluid(cuts) + "GAMMA\nFIT Oil F1\n" + sub_keyword + "END\nEND\n");
        const std::string report = run.report();
        return report.substr(report.find("Gamma Distribution"));
    };
    const auto has = [](const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    };
    EXPECT_FALSE(has(table(""), "Heavier"));
    EXPECT_TRUE(has(table(""), "\nF6 "));
    const std::string three = table("REPORT F3\n");
    EXPECT_TRUE(has(three, "\nF3 "));
    EXPECT_FALSE(has(three, "\nF4 "));
    EXPECT_TRUE(has(three, "\nHeavier "));
    EXPECT_TRUE(has(three, "\nTotal "));
}

TEST(GammaFit, ReplayGivesTheSameReport) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    LabRun run(fluid(cuts, false) + limits(SHAPES[3]) + "FIT Oil F1\nWEIGHT F2 3\nEND\nEND\n" +
               "GAMMA\nFIT Oil F2 AMOUNTS\nEND\nEND\n");
    const std::string first = run.evaluate(EvaluationMode::Final);
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(first, run.evaluate(EvaluationMode::Final));
    EXPECT_NE(run.report().find("Gamma Distribution Fit"), std::string::npos);
}

/// C7+ of a gas condensate, published as a distribution of shape 1 above 90 with mean 143, and as
/// the five points of its Gauss-Laguerre quadrature that stand for it. A point is not the mean of a
/// cut of that weight, but a fit to the points comes back to the neighbourhood.
TEST(GammaFit, PublishedQuadratureOfACondensate) {
    const LabRun run(
        "CONSERVE MOLES\nCHAR Condensate\nNAME MW       SG\n"
        "F1   98.5485  0.8\nF2   135.843  0.8\nF3   206.649  0.8\nF4   319.826  0.8\n"
        "F5   500      0.8\nEND\nEND\n"
        "MIX Plus F1 2.42273 F2 2.89212 F3 1.28519 F4 0.236714 F5 0.0132213\n"
        "GAMMA\nSHAPE 1.5 0.3 4\nAVERAGE 1 0.9 1.1\nBOUND 0.95 0.8 1.0\nFIT Plus F1\nEND\nEND\n");
    EXPECT_NEAR(gamma_state().current[SHAPE], 1.0, 0.15);
    EXPECT_NEAR(gamma_state().current[AVERAGE], 143.0, 2.0);
    EXPECT_NEAR(gamma_state().current[BOUND], 90.0, 4.0);
}

TEST(GammaFit, MissingBoundaryIsTold) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const LabRun run(fluid(cuts, false) + "GAMMA\nFIT Oil F1 AMOUNTS\nEND\nEND\n");
    EXPECT_TRUE(run.reports("WARNING: Problem for Gamma fitting of Oil"));
    EXPECT_TRUE(run.reports("For better results, F2's lower MW should have been specified."));
    EXPECT_FALSE(run.reports("F1's lower MW"));
}

TEST(GammaFit, InconsistentDataAreTold) {
    const std::string text =
        "CHAR Fine\nNAME MW  SG  LMW\nF1   100 0.8 90\nF2   130 0.8 140\n"
        "F3   150 0.8 145\n"
        "END\nEND\nMIX Oil F1 1 F2 1 F3 1\nGAMMA\nMODEL Oil F1 AMOUNTS\nEND\nEND\n";
    const LabRun run(text);
    EXPECT_TRUE(run.reports("Problem for Gamma modeling of Oil"));
    EXPECT_TRUE(run.reports("The MW and lower MW of F2 are inconsistent."));
    const LabRun pair(
        "CHAR Fine\nNAME MW  SG  LMW\nF1   120 0.8\nF2   130 0.8 110\nEND\nEND\n"
        "MIX Oil F1 1 F2 1\n"
        "GAMMA\nMODEL Oil F1 AMOUNTS\nEND\nEND\n");
    EXPECT_TRUE(pair.reports("The MWs and lower MWs of F1 and F2 are inconsistent."));
}

TEST(GammaFit, NegativeAmountsAreReset) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const LabRun run(fluid(cuts) + "MIX Odd Oil 1 F3 -1\nGAMMA\nFIT Odd F1\nEND\nEND\n");
    EXPECT_TRUE(run.reports(
        "The input mixture held negative component amounts, which were reset to zero."));
    EXPECT_TRUE(run.reports("Gamma Distribution Fit of Mixture \"Odd\""));
}

TEST(GammaFit, EmptyFractionIsIndeterminate) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const std::string message =
        "An empty distribution was specified; the Gamma fit was indeterminate.";
    const LabRun empty(fluid(cuts) + "MIX Gas C1 1\nGAMMA\nFIT Gas F1\nEND\nEND\n");
    EXPECT_TRUE(empty.reports(message));
    EXPECT_TRUE(empty.reports("Problem for Gamma fitting of Gas"));
    EXPECT_TRUE(empty.stopped);
    const LabRun ignored(fluid(cuts) + "GAMMA\nFIT Oil F2\nIGNORE F2\nEND\nEND\n");
    EXPECT_TRUE(ignored.reports(message));
    const LabRun lighter(fluid(cuts) + "GAMMA\nFIT Oil F2\nIGNORE C1\nEND\nEND\n");
    EXPECT_TRUE(lighter.reports(message));
}

TEST(GammaFit, NamesMustBeDefined) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    const auto after = [&cuts](const std::string& text) {
        return LabRun(fluid(cuts) + "GAMMA\n" + text + "\nEND\nEND\n").report();
    };
    const auto has = [](const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    };
    EXPECT_TRUE(has(after("FIT Water F1"), "Undefined mixture \"Water\""));
    EXPECT_TRUE(has(after("FIT"), "Undefined mixture \"\""));
    const std::string component = after("MODEL Oil C7");
    EXPECT_TRUE(has(component, "Component \"C7\" is undefined for mixture \"Oil\""));
    EXPECT_TRUE(has(component, "A component of characterization \"Fine\" is required here."));
    EXPECT_TRUE(
        has(after("FIT Oil F1\nIGNORE F9"), "Component \"F9\" is undefined for mixture \"Oil\""));
    EXPECT_TRUE(
        has(after("FIT Oil F1\nREPORT F9"), "Component \"F9\" is undefined for mixture \"Oil\""));
    const std::string weight = after("FIT Oil F1\nWEIGHT F9 1");
    EXPECT_TRUE(has(weight,
                    "A component of characterization \"Fine\", or else\n"
                    "one of the options, \"AVERAGE\" or \"TOTAL\", is required here."));
    EXPECT_TRUE(has(after("FIT Oil F1\nWEIGHT F2"), "The weight of \"F2\" was not specified"));
}

TEST(GammaFit, CutWithoutWeight) {
    const LabRun run(
        "CHAR Fine\nNAME  TC(K)\nF1    600\nF2    700\nEND\nEND\nMIX Oil F1 1 F2 1\n"
        "GAMMA\nFIT Oil F1\nEND\nEND\n");
    EXPECT_TRUE(run.reports("F2 did not have a valid molecular weight.")) << run.report();
    EXPECT_TRUE(run.stopped);
}

/// The order of the cuts changes between two runs when their molecular weights do.
TEST(GammaFit, AlteredOrderEndsTheRun) {
    const Cuts cuts = six_cuts(SHAPES[0]);
    for (const bool fits : {true, false}) {
        LabRun run(fluid(cuts) + "GAMMA\n" + (fits ? "FIT" : "MODEL") + " Oil F5\nEND\nEND\n");
        // What a replay with other molecular weights would meet: F5 lighter than all others.
        Charzation& charz = *run.lab.current(nullptr);
        charz.comps[5].mw = 80.0;
        charz.comps[5].lower_mw = 70.0;
        EXPECT_THROW(run.repeat_last(), FatalError);
        EXPECT_TRUE(
            run.reports("The MW ordering of components was altered through regression,\n"
                        "illegally altering the number of Gamma fractions to be " +
                        std::string(fits ? "fit." : "modeled.")));
    }
}

}  // namespace
}  // namespace kestrane
