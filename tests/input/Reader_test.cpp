#include "input/Reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include "frame/Errors.h"
#include "input/FileReader.h"
#include "input/Script.h"

namespace kestrane {
namespace {

using testing::ScratchDirectory;
using testing::Script;
using Words = std::vector<std::string>;

// ---------------------------------------------------------------- words

TEST(Reader, WordsEndAtBlanksSeparatorsAndQuotes) {
    Script script("FLASH C7+,A/B=2\tx'y\"z #5 n% _a ~b ?c 1.2.3 (d) C*8;rest\nlast");
    EXPECT_EQ(script.words(), (Words{"FLASH", "C7+", "A/B", "2", "x", "y", "z", "5", "n%", "_a",
                                     "~b", "?c", "1.2.3", "d", "C*8", "last"}));
}

TEST(Reader, BytesAbove127AreWordCharacters) {
    Script script("m\xc3\xa9thane \xff\xfe");
    EXPECT_EQ(script.words(), (Words{"m\xc3\xa9thane", "\xff\xfe"}));
}

TEST(Reader, ASlashAtATokensStartEndsTheDataAndTheLine) {
    Script script("1 2 / 3 4\nnext");
    std::array<double, 4> values{-1, -2, -3, -4};
    EXPECT_EQ(script.reader.NextDoubles(values), 2);
    EXPECT_EQ(script.reader.flags(), FileReader::DATA_ENDED);
    EXPECT_EQ(values[2], -3);
    EXPECT_EQ(script.word(), "next");
}

TEST(Reader, EmptyFieldsGiveEmptyWords) {
    Script script("a,,b");
    EXPECT_EQ(script.word(), "a");
    std::string text = "kept?";
    EXPECT_EQ(script.reader.NextWord(text), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(script.reader.flags(), 0);
    EXPECT_EQ(script.word(), "b");  // the field was used up: no number can find it again

    Script keyword("a,,b");
    EXPECT_EQ(keyword.words(), (Words{"a", "b"}));
}

// ---------------------------------------------------------------- quotes

TEST(Reader, QuotedTextsRunToTheirOwnMark) {
    Script script("'it''s \"so\"; a/b' \"say \"\"hi\"\"\" plain;text 'open end");
    EXPECT_EQ(script.quote(), "it's \"so\"; a/b");
    EXPECT_EQ(script.quote(), "say \"hi\"");
    EXPECT_EQ(script.quote(), "plain;text");
    EXPECT_EQ(script.quote(), "open end");
}

TEST(Reader, AnEmptyQuotedTextIsAText) {
    Script script("'' \"\" x");
    EXPECT_EQ(script.quote(), "");
    EXPECT_EQ(script.quote(), "");
    EXPECT_EQ(script.quote(), "x");
}

TEST(Reader, TabsSeparateFieldsOfText) {
    Script script("NAME\tnormal butane\t\"a\tb \"\"c\"\"\"d\t\tlast one");
    EXPECT_EQ(script.word(), "NAME");
    EXPECT_EQ(script.quote(), "normal butane");
    EXPECT_EQ(script.reader.startColumn(), 100);
    EXPECT_EQ(script.reader.endColumn(), 113);
    EXPECT_EQ(script.quote(), "a\tb \"c\"d");
    EXPECT_EQ(script.quote(), "");
    EXPECT_EQ(script.quote(), "last one");
    EXPECT_EQ(script.quote(), "<none>");
}

TEST(Reader, QuotesMayHoldNulBytes) {
    Script script(std::string("'a\0b' c\0d", 9));
    EXPECT_EQ(script.quote(), std::string("a\0b", 3));
    EXPECT_EQ(script.words(), (Words{"c", "d"}));
}

// ---------------------------------------------------------------- numbers

TEST(Reader, EmptyFieldsKeepTheValueTheyHad) {
    Script script("1, 2,,4");
    std::array<double, 4> values{-1, -2, -3, -4};
    EXPECT_EQ(script.reader.NextDoubles(values), 4);
    EXPECT_EQ(values, (std::array<double, 4>{1, 2, -3, 4}));

    Script two("1 , , ,\n, 5");
    std::array<double, 5> more{-1, -2, -3, -4, -5};
    EXPECT_EQ(two.reader.NextDoubles(more), 5);
    EXPECT_EQ(more, (std::array<double, 5>{1, -2, -3, -4, 5}));
}

TEST(Reader, ACommaThatStartsALineMakesAnEmptyField) {
    Script script("1\n,2\n3,\n4");
    std::array<double, 5> values{-1, -2, -3, -4, -5};
    EXPECT_EQ(script.reader.NextDoubles(values), 5);
    EXPECT_EQ(values, (std::array<double, 5>{1, -2, 2, 3, 4}));
}

TEST(Reader, RepeatCounts) {
    Script script("3*7.5 2* 9 x");
    std::array<double, 6> values{-1, -2, -3, -4, -5, -6};
    EXPECT_EQ(script.reader.NextDoubles(values), 6);
    EXPECT_EQ(values, (std::array<double, 6>{7.5, 7.5, 7.5, -4, -5, 9}));
    EXPECT_EQ(script.word(), "x");
}

TEST(Reader, AWordEndsARepetition) {
    Script script("3*7.5 x 8");
    EXPECT_EQ(script.number(), 7.5);
    EXPECT_EQ(script.word(), "x");
    EXPECT_EQ(script.number(), 8.0);
}

TEST(Reader, NumberForms) {
    const std::vector<std::pair<std::string, double>> forms{
        {"1D-3", 0.001},  {"1.5d3", 1500.0},
        {"1E2", 100.0},   {"-1.e+2", -100.0},
        {"+.5", 0.5},     {"007", 7.0},
        {"5.", 5.0},      {"1e-400", 0.0},
        {"-0.0e9", 0.0},  {"5e-324", 5e-324},
        {"2*.5", 0.5},    {"1*-3", -3.0},
        {"1*+1d1", 10.0}, {"1.7976931348623157e308", UNDEFINED}};
    for (const auto& [text, value] : forms) {
        Script script(text + " ");
        EXPECT_EQ(script.number(), value) << text;
    }
}

TEST(Reader, NumbersReadAsTheCLibraryReadsThem) {
    // In the C locale strtod rounds correctly, so the bits must agree; beyond the largest double it
    // gives infinity, which is no number here.
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        std::string text = random() % 3 ? "" : random() % 2 ? "-" : "+";
        const auto digits = 1 + random() % (round % 50 ? 20 : 500);
        const auto point = random() % (digits + 1);
        for (unsigned i = 0; i < digits; ++i) {
            if (i == point) text += '.';
            text += random() % 4 ? static_cast<char>('0' + random() % 10) : '0';
        }
        if (random() % 2) {
            text += "eE"[random() % 2];
            text += std::to_string(static_cast<int>(random() % 1400) - 700);
        }
        const double expected = std::strtod(text.c_str(), nullptr);
        if (random() % 2) std::replace(text.begin(), text.end(), 'e', 'd');
        double value = -99.0;
        EXPECT_EQ(parse_number(text, value), std::isfinite(expected)) << text;
        if (std::isfinite(expected)) {
            EXPECT_EQ(value, expected) << text;
        }
    }
    double value = 0.0;
    EXPECT_FALSE(parse_number("1e99999999999999999999", value));
    EXPECT_TRUE(parse_number("1e-99999999999999999999", value));
    EXPECT_EQ(value, 0.0);
    EXPECT_TRUE(parse_number("0e99999999999999999999", value));
    EXPECT_FALSE(parse_number("", value));
}

TEST(Reader, WhatIsNoNumberStaysAsAWord) {
    for (const std::string text :
         {"abc",           "1.2.3", "inf",   "-inf", "nan",  "infinity", "0x10",  "1e400",
          "-1e400",        "2**3",  "2*3*4", "0*5",  "-2*5", "1.5*2",    "3*abc", "+-5",
          "--5",           "-",     "+",     ".",    "1e",   "1e+",      "1d2d3", "5psi",
          "99999999999*1", "e5",    "C7+",   "~",    "%",    "1-2",      "d"}) {
        Script script("x " + text);  // a line that begins with "--" would be a comment
        EXPECT_EQ(script.word(), "x");
        EXPECT_EQ(script.number(), -98.0) << text;
        EXPECT_TRUE(script.reader.number_expected()) << text;
        EXPECT_EQ(script.word(), text);
    }
}

TEST(Reader, NumbersEndAtPunctuation) {
    Script script("12% 1/2 a");
    EXPECT_EQ(script.number(), 12.0);
    EXPECT_EQ(script.word(), "%");
    EXPECT_EQ(script.number(), 1.0);
    EXPECT_EQ(script.number(), -98.0);  // "/" ends the data, and the line
    EXPECT_EQ(script.reader.flags(), FileReader::DATA_ENDED);
}

TEST(Reader, AValueOutsideItsLimitsIsReplaced) {
    Script script("FLASH 150.25");
    script.word();
    double value = 0.0;
    EXPECT_GT(script.reader.NextDouble(value, 0.0, 100.0), 0);
    EXPECT_EQ(value, 100.0);
    EXPECT_EQ(script.counts.warnings, 1);
    EXPECT_TRUE(script.says("Input value too large"));
    EXPECT_TRUE(
        script.says("\nProblem detected at column 7 of line 1 of the standard input.\n"
                    "Most recent line: \"FLASH 150.25\".\n"
                    "Most recent word: \"FLASH\".\n"
                    "The input value 150.25 was replaced by 100.\n"))
        << script.printed();
}

TEST(Reader, AValueEqualToTheOldOneIsNotChecked) {
    Script script("-5 -5");
    double value = -5.0;
    EXPECT_GT(script.reader.NextDouble(value, 0.0, 1.0), 0);
    EXPECT_EQ(value, -5.0);
    EXPECT_EQ(script.counts.warnings, 0);
    value = 0.5;
    EXPECT_GT(script.reader.NextDouble(value, 0.0, 1.0), 0);
    EXPECT_EQ(value, 0.0);
    EXPECT_TRUE(script.says("Input value too small"));
    EXPECT_TRUE(script.says("The input value -5 was replaced by 0."));
}

TEST(Reader, TheOldValueIsPrintedWithAsManyDigitsAsItsToken) {
    Script script("1.23456789 3");
    double value = 0.0;
    script.reader.NextDouble(value, 0.0, 1.0 / 3.0);
    EXPECT_TRUE(script.says("The input value 1.23456789 was replaced by 0.3333333333333333."));
}

TEST(Reader, IntegersDropFractionsAndStayInRange) {
    Script script("7 2.75 -3.5 1e300 12 , , 4");
    int value = 0;
    EXPECT_GT(script.reader.NextInt(value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(script.counts.warnings, 0);
    script.reader.NextInt(value);
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(
        script.says("######  WARNING: Integer expected, but floating-point number found  "
                    "######\nProblem detected at column 3 of line 1"));
    EXPECT_TRUE(script.says("The value 2.75 was truncated to 2.\n"));
    script.reader.NextInt(value);
    EXPECT_EQ(value, -3);
    script.reader.NextInt(value);
    EXPECT_EQ(value, std::numeric_limits<int>::max());
    EXPECT_TRUE(script.says("The input value 1e+300 was replaced by 2147483647."));
    script.reader.NextInt(value, 1, 10);
    EXPECT_EQ(value, 10);
    EXPECT_GT(script.reader.NextInt(value, 1, 10), 0);  // an empty field
    EXPECT_EQ(value, 10);
    EXPECT_EQ(script.counts.warnings, 4);
}

TEST(Reader, DoublesTellTheEndOfTheInput) {
    Script script("1 2");
    std::array<double, 3> values{};
    EXPECT_EQ(script.reader.NextDoubles(values), -3);
    EXPECT_EQ(script.reader.flags(), FileReader::STREAM_ENDED);
    EXPECT_EQ(script.reader.NextDoubles(values), -1);
}

TEST(Reader, SkipStatementDropsNumbersOverLines) {
    Script script("1 2 ,, 3*4\n 2000000000*5 6\n!comment\n\n7 word 8");
    script.reader.SetLineLimit(0);
    script.reader.SkipStatement();
    EXPECT_EQ(script.word(), "word");
    script.reader.SkipStatement();
    script.reader.SetLineLimit(-1);
    EXPECT_EQ(script.word(), "<none>");
}

// ---------------------------------------------------------------- lines

TEST(Reader, CommentLines) {
    Script script(
        "-- no\n== no\n* no\n# no\n; no\n: no\n! no\n-1\n=2\n *3\n !4\n-\n=\n- -5\nend ; no\n--");
    EXPECT_EQ(script.words(), (Words{"-1", "2", "3", "4", "-", "-", "-5", "end"}));
}

TEST(Reader, StarsCountInColumnOneAfterMacrosOnly) {
    Script script("?C? no\n?D? yes\n*?D? no\n");
    script.reader.Define("c", "*");
    script.reader.Define("D", "");
    EXPECT_EQ(script.words(), (Words{"yes"}));
}

TEST(Reader, AllLineEndsReadAlike) {
    for (const std::string end : {"\n", "\r", "\r\n"}) {
        Script script("a" + end + end + "b" + end + "c");
        EXPECT_EQ(script.word(), "a");
        EXPECT_EQ(script.word(), "b");
        EXPECT_EQ(script.reader.lineNumber(), 3);
        EXPECT_EQ(script.word(), "c");
        EXPECT_EQ(script.reader.lineNumber(), 4);
        EXPECT_EQ(script.word(), "<none>");
        EXPECT_EQ(script.reader.lineNumber(), 4);
    }
    // The other one is dropped wherever it stands.
    Script mixed("a\nb\rc\n");
    EXPECT_EQ(mixed.words(), (Words{"a", "bc"}));
}

TEST(Reader, AByteOrderMarkBeforeTheTextIsNoText) {
    const std::string mark = "\xEF\xBB\xBF";
    Script script(mark + "word 1\n" + mark + "word");
    EXPECT_EQ(script.word(), "word");
    EXPECT_EQ(script.reader.startColumn(), 0);
    EXPECT_EQ(script.number(), 1.0);
    // Elsewhere its bytes are characters like others.
    EXPECT_EQ(script.word(), mark + "word");
    EXPECT_EQ(Script(mark + "* a comment\nword").words(), Words{"word"});
    EXPECT_EQ(Script(mark).words(), Words{});

    const ScratchDirectory scratch;
    Script including("a");
    EXPECT_EQ(including.word(), "a");
    including.reader.Push(scratch.write("marked.dat", mark + "b"));
    EXPECT_EQ(including.words(), Words{"b"});
}

TEST(Reader, TextOfTwoBytesACharacterIsRefused) {
    using namespace std::string_literals;
    for (const std::string& text : {"\xFF\xFEw\0\n\0"s, "\xFE\xFF\0w\0\n"s, "\xFF\xFE"s}) {
        Script script(text);
        EXPECT_EQ(script.words(), Words{});
        EXPECT_EQ(script.words(), Words{});
        EXPECT_EQ(script.counts.errors, 1);
        EXPECT_TRUE(script.says(
            "ERROR: Standard input stream corrupted  ######\n"
            "It holds text of two bytes a character. Save it as plain text or UTF-8.\n"));
    }
    EXPECT_EQ(Script("\xFF w").words(), (Words{"\xFF", "w"}));
    EXPECT_EQ(Script("w \xFF\xFE").words(), (Words{"w", "\xFF\xFE"}));
}

TEST(Reader, ALineEndBeforeTheEndOfTheFileMakesNoFurtherLine) {
    Script script("a\r\n");
    EXPECT_EQ(script.words(), (Words{"a"}));
    EXPECT_EQ(script.reader.lineNumber(), 1);
    Script empty("");
    EXPECT_EQ(empty.word(), "<none>");
    EXPECT_EQ(empty.reader.lineNumber(), 0);
}

TEST(Reader, LineLimitsCountLinesReadButNoComments) {
    Script script("a\n! comment\nb\n\nc\nd\n");
    EXPECT_EQ(script.word(), "a");
    EXPECT_EQ(script.reader.SetLineLimit(0), -1);
    EXPECT_EQ(script.word(), "<none>");
    EXPECT_EQ(script.reader.flags(), FileReader::LINE_LIMIT);
    std::string text;
    EXPECT_EQ(script.reader.NextKeyword(text), 0);
    EXPECT_EQ(script.reader.SetLineLimit(2), 0);
    EXPECT_EQ(script.word(), "b");       // one line
    EXPECT_EQ(script.word(), "<none>");  // the blank line was the second
    EXPECT_EQ(script.reader.SetLineLimit(-1), 0);
    EXPECT_EQ(script.word(), "c");
}

TEST(Reader, MacrosReplaceNames) {
    Script script("TEMP ?x? ?Y?\n");
    script.reader.Define("X", "5");
    EXPECT_EQ(script.word(), "TEMP");
    EXPECT_EQ(script.number(), 5.0);
    EXPECT_EQ(script.reader.startColumn(), 5);
    EXPECT_EQ(script.reader.endColumn(), 8);
    EXPECT_EQ(script.word(), "?Y?");
}

TEST(Reader, ARunawayMacroIsAnError) {
    Script script("?a?\nnext");
    script.reader.Define("A", "?A??A?");
    for (int i = 0; i < 30; ++i) script.reader.Define("N" + std::to_string(i), "x");
    EXPECT_EQ(script.words(), (Words{"?a?", "next"}));
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(script.says("Problem detected at line 1 of the standard input."));
}

TEST(Reader, TheEchoGoesToTheReportAlone) {
    Script script("a ?x?\n! note\nb\n");
    script.reader.Define("X", "5");
    EXPECT_EQ(script.word(), "a");
    EXPECT_EQ(script.reader.SetEcho(1), 0);
    EXPECT_EQ(script.reader.SetEcho(1), 1);  // not once more
    script.words();
    EXPECT_EQ(script.reader.SetEcho(0), 1);
    const std::string report = script.report_text.str();
    EXPECT_TRUE(report.ends_with("00001:  a 5\n00002:  ! note\n00003:  b\n")) << report;
    EXPECT_FALSE(script.says("00001"));
}

TEST(Reader, APromptingFileAsksForEachLine) {
    Script script("a\nb");
    script.input.prompting = 1;
    EXPECT_EQ(script.word(), "a");
    EXPECT_TRUE(script.printed().ends_with("Enter the next line:\n"));
    EXPECT_EQ(script.report_text.str().find("Enter"), std::string::npos);
}

TEST(Reader, TabWidthsMoveColumns) {
    Script script("a\tb\nc\td");
    EXPECT_EQ(script.word(), "a");
    EXPECT_EQ(script.word(), "b");
    EXPECT_EQ(script.reader.startColumn(), 100);
    script.reader.SetTabWidth(4);
    script.word();
    script.word();
    EXPECT_EQ(script.reader.startColumn(), 4);
    script.reader.NotRecognized("d");
    EXPECT_TRUE(script.says("Keyword \"d\" not recognized in current context"));
    EXPECT_TRUE(
        script.says("\nProblem detected at column 5 of line 2 of the standard input.\n"
                    "Most recent line: \"c\td\".\n"));
    EXPECT_FALSE(script.says("Most recent word"));
}

TEST(Reader, LocateGivesUpToThreeLines) {
    Script script("word 12");
    script.word();
    script.number();
    std::vector<std::string> lines;
    script.reader.Locate(lines, 1, false, "Trouble");
    script.reader.Locate(lines, 3);
    EXPECT_EQ(lines, (Words{"Trouble at line 1 of the standard input.",
                            "Problem detected at column 6 of line 1 of the standard input.",
                            "Most recent line: \"word 12\".", "Most recent word: \"word\"."}));
}

// ---------------------------------------------------------------- giving tokens back

TEST(Reader, UnreadGivesTheLastTokenBackAndIsIdempotent) {
    Script script("a b 5 'c d'");
    script.word();
    EXPECT_EQ(script.word(), "b");
    for (int i = 0; i < 3; ++i) script.reader.Unread();
    EXPECT_EQ(script.reader.startColumn(), 0);
    EXPECT_EQ(script.word(), "b");
    EXPECT_EQ(script.number(), 5.0);
    script.reader.Unread();
    EXPECT_EQ(script.word(), "5");
    EXPECT_EQ(script.quote(), "c d");
    script.reader.Unread();
    EXPECT_EQ(script.quote(), "c d");
}

TEST(Reader, UnreadAfterAFailedNumberDoesNotStepBackTwice) {
    Script script("a b");
    EXPECT_EQ(script.word(), "a");
    EXPECT_EQ(script.number(), -98.0);  // gave "b" back itself
    script.reader.Unread();
    EXPECT_EQ(script.word(), "b");
}

TEST(Reader, UnreadRestoresRepetitions) {
    Script script("3*7 x");
    EXPECT_EQ(script.number(), 7.0);
    EXPECT_EQ(script.number(), 7.0);
    script.reader.Unread();
    EXPECT_EQ(script.word(), "x");  // drops the two that are left
    script.reader.Unread();
    EXPECT_EQ(script.number(), 7.0);
    EXPECT_EQ(script.number(), 7.0);
    EXPECT_EQ(script.number(), -98.0);
    EXPECT_EQ(script.word(), "x");
}

TEST(Reader, UnreadWorksAcrossALineEnd) {
    Script script("a\n! comment\n\n,5 b");
    EXPECT_EQ(script.word(), "a");
    EXPECT_EQ(script.word(), "<none>");  // the empty field before the comma
    script.reader.Unread();
    script.reader.Unread();
    EXPECT_EQ(script.number(), -99.0);
    EXPECT_EQ(script.number(), 5.0);

    Script words("a\nb c");
    words.word();
    EXPECT_EQ(words.word(), "b");
    words.reader.Unread();
    words.reader.SetLineLimit(0);
    EXPECT_EQ(words.word(), "b");  // its line has been read
}

TEST(Reader, UnreadAfterTheInputEndedInCommentsFindsNothing) {
    Script script("word\n! a comment longer than the line before it");
    EXPECT_EQ(script.word(), "word");
    EXPECT_EQ(script.word(), "<none>");
    script.reader.Unread();
    EXPECT_EQ(script.word(), "<none>");
    EXPECT_EQ(script.reader.flags(), FileReader::STREAM_ENDED);
}

TEST(Reader, UnreadBeforeAnythingWasReadDoesNothing) {
    Script script("a");
    script.reader.Unread();
    EXPECT_EQ(script.word(), "a");
}

// ---------------------------------------------------------------- includes

TEST(Reader, TokensRunOnAcrossTheEndOfAnInclude) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("inner.dat", "1 2");
    Script script("0\n3 4");
    EXPECT_EQ(script.number(), 0.0);
    script.reader.Push(name);
    std::array<double, 4> values{};
    EXPECT_EQ(script.reader.NextDoubles(values), 4);
    EXPECT_EQ(values, (std::array<double, 4>{1, 2, 3, 4}));
    EXPECT_TRUE(script.says("Now reading standard input"));
    EXPECT_TRUE(script.says("Now including file \"" + name + "\""));
    EXPECT_TRUE(script.says("Now returning to standard input"));
    EXPECT_EQ(script.reader.file().fullName.get(), nullptr);
}

TEST(Reader, TheFirstTokenAfterAnIncludeCanBeGivenBack) {
    const ScratchDirectory scratch;
    Script script("0 x 2*8");
    EXPECT_EQ(script.number(), 0.0);
    script.reader.Push(scratch.write("inner.dat", "last"));
    EXPECT_EQ(script.word(), "last");
    EXPECT_EQ(script.number(), -98.0);  // leaves the include, and gives "x" back
    script.reader.Unread();
    script.reader.Unread();
    EXPECT_EQ(script.word(), "x");
    script.reader.Unread();
    EXPECT_EQ(script.word(), "x");
    EXPECT_EQ(script.number(), 8.0);
}

TEST(Reader, ALineLimitReturnsToTheFileItCameFrom) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("inner.dat", "a\nb\n");
    Script script("x\ny\nz");
    script.word();
    {
        const LineLimitScope line(script.reader, 0);
        script.reader.Push(name);
        EXPECT_EQ(script.word(), "a");  // the include is not limited
    }
    EXPECT_EQ(script.word(), "b");
    EXPECT_EQ(script.word(), "y");  // and neither is the file below
    {
        script.reader.Push(name);
        const LineLimitScope line(script.reader, 1);
        EXPECT_EQ(script.word(), "a");
        EXPECT_EQ(script.reader.Pop(), 1);
        script.reader.Push(name);  // another level, however like the one that was left
    }
    EXPECT_EQ(script.reader.SetLineLimit(-1), -1);
    EXPECT_EQ(script.reader.Pop(), 1);
    EXPECT_EQ(script.reader.Pop(), 0);
    EXPECT_EQ(script.word(), "z");
}

TEST(Reader, EchoAndTabsAreInheritedByAnIncludeAndEndWithIt) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("inner.dat", "p\tq\nr");
    Script script("a\nb\tc");
    script.reader.SetEcho(1);
    script.reader.SetTabWidth(8);
    script.word();
    script.reader.Push(name);
    script.word();
    script.word();
    EXPECT_EQ(script.reader.startColumn(), 8);
    script.reader.SetEcho(0);
    script.reader.SetTabWidth(20);
    script.word();
    script.word();
    script.word();
    EXPECT_EQ(script.reader.startColumn(), 8);
    const std::string report = script.report_text.str();
    EXPECT_NE(report.find("00001:  a\n"), std::string::npos);
    EXPECT_NE(report.find("00001:  p\tq\n"), std::string::npos);
    EXPECT_EQ(report.find("00002:  r"), std::string::npos);
    EXPECT_NE(report.find("00002:  b\tc\n"), std::string::npos);
}

TEST(Reader, MacrosAreSharedByAllFiles) {
    const ScratchDirectory scratch;
    Script script("?B?\n");
    script.reader.Define("A", "1");
    script.reader.Push(scratch.write("inner.dat", "?A?"));
    EXPECT_EQ(script.number(), 1.0);
    script.reader.Define("B", "2");
    EXPECT_EQ(script.number(), 2.0);
}

TEST(Reader, NamesCountFromTheIncludersDirectory) {
    const ScratchDirectory scratch;
    scratch.write("sub/second.dat", "2");
    const std::string first = scratch.write("sub/first.dat", "1\n");
    Script script("");
    script.reader.Push(first);
    EXPECT_EQ(script.number(), 1.0);
    script.reader.Push("second.dat");
    EXPECT_EQ(script.number(), 2.0);
    EXPECT_TRUE(script.says("Now including file \"" + scratch.path() + "/sub/second.dat\""));
}

TEST(Reader, WhatCannotBeOpenedIsFatal) {
    const ScratchDirectory scratch;
    for (const std::string& name :
         {scratch.path() + "/missing.dat", scratch.path(), std::string()}) {
        Script script("word");
        script.word();
        EXPECT_THROW(script.reader.Push(name), FatalError);
        EXPECT_TRUE(script.says("FATAL ERROR"));
        EXPECT_TRUE(script.says("Could not open file \"" + name + "\"")) << script.printed();
        EXPECT_TRUE(
            script.says("\nProblem detected at column 1 of line 1 of the standard input.\n"
                        "Most recent line: \"word\".\nMost recent word: \"word\".\n"));
        EXPECT_EQ(script.counts.fatals, 1);
    }
}

TEST(Reader, IncludesAreNotNestedForEver) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("self.dat", "again");
    Script script("x");
    for (std::size_t i = 0; i < Reader::MAX_INCLUDES; ++i) {
        script.reader.Push(name);
        EXPECT_EQ(script.word(), "again");
    }
    EXPECT_THROW(script.reader.Push(name), FatalError);
    EXPECT_TRUE(script.says("Could not open file \"" + name + "\""));
}

TEST(Reader, EndOfFileOnDemand) {
    const ScratchDirectory scratch;
    Script script("a\nb rest\nc");
    script.word();
    script.reader.Push(scratch.write("inner.dat", "x y\nz"));
    EXPECT_EQ(script.word(), "x");
    script.reader.EndFile();
    EXPECT_EQ(script.word(), "b");
    script.reader.EndFile();
    EXPECT_EQ(script.word(), "<none>");
    EXPECT_EQ(script.reader.flags(), FileReader::STREAM_ENDED);
    script.reader.Unread();
    EXPECT_EQ(script.word(), "<none>");
    EXPECT_EQ(script.counts.errors, 0);
}

// ---------------------------------------------------------------- bad input

/// Gives some text, and then fails as a broken device does.
class BrokenBuffer : public std::streambuf {
public:
    explicit BrokenBuffer(std::string text) : text_(std::move(text)) {
        setg(text_.data(), text_.data(), text_.data() + text_.size());
    }

protected:
    int_type underflow() override { throw std::ios_base::failure("broken"); }

private:
    std::string text_;
};

TEST(Reader, AReadFailureIsReportedOnceAndEndsTheInput) {
    BrokenBuffer broken("a\nb");
    Script script(broken);
    EXPECT_EQ(script.words(), (Words{"a", "b"}));
    EXPECT_EQ(script.word(), "<none>");
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(script.says("Standard input stream corrupted"));

    BrokenBuffer named_broken("");
    Script named(named_broken);
    named.input.SetPath("dir/x.dat");
    EXPECT_EQ(named.word(), "<none>");
    EXPECT_TRUE(named.says("Input file \"dir/x.dat\" corrupted"));
}

TEST(Reader, MegabyteLinesTakeLinearTime) {
    const std::size_t size = std::size_t{1} << 20;
    const std::size_t pairs = size / 8;  // tokens take longer than characters
    std::string text(size, 'x');
    text += "\n" + std::string(size, '9') + "\n'" + std::string(size, '\'') + "\n\"" +
            std::string(size, '\t') + "\n";
    for (std::size_t i = 0; i < pairs; ++i) text += "a ";
    text += "\n";
    for (std::size_t i = 0; i < pairs; ++i) text += ",1";
    Script script(text);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(script.word().size(), size);
    EXPECT_EQ(script.number(), -98.0);  // too large for a double
    EXPECT_EQ(script.word().size(), size);
    EXPECT_EQ(script.quote().size(), size / 2);
    EXPECT_EQ(script.quote().size(), size);
    for (std::size_t i = 0; i < pairs; ++i) {
        if (script.number() != -98.0 || script.word() != "a") FAIL() << i;
    }
    std::vector<double> values(pairs + 2);
    EXPECT_EQ(script.reader.NextDoubles(values), -static_cast<int>(pairs + 2));
    // A second in a checked build; any step quadratic in the length would take hours.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST(Reader, AnyBytesAreReadToTheirEnd) {
    std::mt19937 random(20240517);
    const std::string likely = " \t\n\r,;/*'\"?=&-+.0123456789eEdDabAB!#%~_\xff";
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (auto n = random() % 2000; n > 0; --n) {
            text += random() % 4 ? likely[random() % likely.size()] : static_cast<char>(random());
        }
        Script script(text + std::string(1, '\0'));
        script.reader.Define("A", "?B? 3*");
        script.reader.Define("B", "?A?'");
        std::string word;
        double value = 0.0;
        int result = 1;
        long steps = 0;
        while (result >= 0) {
            ASSERT_LT(++steps, 1000000) << round;
            switch (random() % 8) {
                case 0:
                    result = script.reader.NextQuote(word);
                    break;
                case 1:
                    result = script.reader.NextDouble(value, -1.0, 1e6);
                    break;
                case 2:
                    script.reader.SkipStatement();
                    break;
                case 3:
                    if (random() % 4 == 0) script.reader.Unread();
                    break;
                case 4:
                    script.reader.SetTabWidth(static_cast<int>(random()));
                    break;
                case 5:
                    if (random() % 8 == 0) script.reader.DiscardLine();
                    break;
                default:
                    result = script.reader.NextWord(word);
                    break;
            }
            EXPECT_LE(script.reader.startColumn(), script.reader.endColumn());
        }
    }
}

}  // namespace
}  // namespace kestrane
