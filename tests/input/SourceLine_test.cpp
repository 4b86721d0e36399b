#include "input/SourceLine.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <limits>
#include <string>

namespace kestrane {
namespace {

TEST(SourceLine, TabsLeadToTheNextMultipleOfTheTabWidth) {
    const Macros none;
    SourceLine line(none);
    line.assign("a\tb\t\tc");
    EXPECT_EQ(line.start_column(2), 100);  // b
    EXPECT_EQ(line.start_column(5), 300);  // c
    EXPECT_EQ(line.end_column(6), 301);
    EXPECT_EQ(line.start_column(6), 301);  // the end of the line

    line.set_tab_width(8);
    line.assign("12345678\tb");  // a tab in column 8 leads to 16, not to 8
    EXPECT_EQ(line.start_column(9), 16);
}

TEST(SourceLine, TabWidthsBelowOneCountAsOne) {
    const Macros none;
    SourceLine line(none);
    line.set_tab_width(-5);
    EXPECT_EQ(line.tabWidth(), 1);
    line.assign("\t\tx");
    EXPECT_EQ(line.start_column(2), 2);
}

TEST(SourceLine, ColumnsOfTheWidestTabsDoNotOverflow) {
    const Macros none;
    SourceLine line(none);
    line.set_tab_width(std::numeric_limits<int>::max());
    line.assign("\t\t\tx");
    EXPECT_EQ(line.start_column(3), std::numeric_limits<int>::max() - 1);
    EXPECT_EQ(line.end_column(4), std::numeric_limits<int>::max() - 1);
}

TEST(SourceLine, MacrosReplaceNamesBetweenQuestionMarks) {
    const Macros macros{{"X", "5"}, {"LONG", "a b"}, {"NIL", ""}};
    SourceLine line(macros);
    line.assign("TEMP ?X? ?long? ?Nil?!");
    EXPECT_EQ(line.line(), "TEMP 5 a b !");
    EXPECT_EQ(line.rawLine(), "TEMP ?X? ?long? ?Nil?!");
}

TEST(SourceLine, UnknownNamesStayAndTheSecondMarkMayOpenTheNextName) {
    const Macros macros{{"X", "5"}};
    SourceLine line(macros);
    line.assign("?Y? ?X");
    EXPECT_EQ(line.line(), "?Y? ?X");
    line.assign("?Y?X?");
    EXPECT_EQ(line.line(), "?Y5");
    line.assign("??X??");
    EXPECT_EQ(line.line(), "?5?");
}

TEST(SourceLine, ReplacingCharactersStandInTheColumnsOfTheName) {
    const Macros macros{{"X", "12345"}};
    SourceLine line(macros);
    line.assign("ab ?X? c");
    ASSERT_EQ(line.line(), "ab 12345 c");
    for (std::size_t i = 3; i < 8; ++i) {
        EXPECT_EQ(line.start_column(i), 3);
        EXPECT_EQ(line.end_column(i + 1), 6);
    }
    EXPECT_EQ(line.start_column(9), 7);
}

TEST(SourceLine, MacrosMayContainMacros) {
    const Macros macros{{"A", "1 ?B?"}, {"B", "2 ?C?"}, {"C", "3"}};
    SourceLine line(macros);
    EXPECT_TRUE(line.assign("?A?"));
    EXPECT_EQ(line.line(), "1 2 3");
}

TEST(SourceLine, RecursionEndsAfterAsManyPassesAsMacros) {
    const Macros growing{{"A", "x?A?"}, {"B", "unused"}};
    SourceLine line(growing);
    EXPECT_TRUE(line.assign("?A?"));
    EXPECT_EQ(line.line(), "xx?A?");

    const Macros itself{{"A", "?A?"}};
    SourceLine same(itself);
    EXPECT_TRUE(same.assign("?A?"));
    EXPECT_EQ(same.line(), "?A?");
}

TEST(SourceLine, ExpansionIsCapped) {
    // Each macro doubles the one before it: 2^40 characters if nobody stopped it.
    Macros macros{{"M0", "0123456789"}};
    for (int i = 1; i < 40; ++i) {
        const std::string inner = "?M" + std::to_string(i - 1) + "?";
        macros["M" + std::to_string(i)] = inner + inner;
    }
    SourceLine line(macros);
    EXPECT_FALSE(line.assign("?M39?"));
    EXPECT_EQ(line.line(), "?M39?");
    EXPECT_EQ(line.start_column(4), 4);
    EXPECT_TRUE(line.assign("?M10?"));
    EXPECT_EQ(line.line().size(), 10240u);
}

TEST(SourceLine, ALongRingOfMacrosOnALongLineEnds) {
    // 5000 passes over a megabyte would take minutes.
    Macros macros;
    for (int i = 0; i < 5000; ++i) {
        macros["N" + std::to_string(1000 + i)] = "?N" + std::to_string(1000 + (i + 1) % 5000) + "?";
    }
    std::string raw;
    while (raw.size() < 1000000) raw += "?N1000?";
    SourceLine line(macros);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(line.assign(raw));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(line.line(), raw);
}

TEST(SourceLine, ALineLongerThanTheCapIsTakenAsItStands) {
    const Macros macros{{"X", "y"}};
    SourceLine line(macros);
    const std::string raw(SourceLine::MAX_EXPANDED + 1, '?');
    EXPECT_TRUE(line.assign(raw));
    EXPECT_EQ(line.line(), raw);
    EXPECT_TRUE(line.assign(std::string(SourceLine::MAX_EXPANDED + 1, 'a') + "?X?"));
    EXPECT_EQ(line.line().back(), 'y');
}

TEST(SourceLine, TheCursorStopsAtTheEnd) {
    const Macros none;
    SourceLine line(none);
    line.assign("ab");
    line.move_to(7);
    EXPECT_TRUE(line.at_end());
    EXPECT_EQ(line.cursor(), 2u);
    EXPECT_EQ(line.current(), 0);
    line.advance();
    EXPECT_EQ(line.cursor(), 2u);
}

TEST(CharSet, ClassesAreThoseOfAsciiAndHighBytesBelongToNone) {
    for (unsigned c = 0; c < 128; ++c) {
        const auto byte = static_cast<unsigned char>(c);
        // The C locale's own classes; tests run in it.
        EXPECT_EQ(BlankSet.contains(byte), std::iscntrl(byte) || byte == ' ') << c;
        EXPECT_EQ(Punctuation.contains(byte), std::ispunct(byte) != 0) << c;
    }
    for (unsigned c = 128; c < 256; ++c) {
        const auto byte = static_cast<unsigned char>(c);
        for (const CharSet* set : {&BlankSet, &SkipSet, &QuoteSkipSet, &WordEndSet, &NumberEndSet,
                                   &SeparatorSet, &CommentLineSet, &DoubledCommentSet}) {
            EXPECT_FALSE(set->contains(byte));
        }
    }
    for (const char c : std::string("+-._?~%")) {
        EXPECT_FALSE(SkipSet.contains(static_cast<unsigned char>(c)));
    }
    for (const char c : std::string("+-.*")) {
        EXPECT_FALSE(NumberEndSet.contains(static_cast<unsigned char>(c)));
    }
}

}  // namespace
}  // namespace kestrane
