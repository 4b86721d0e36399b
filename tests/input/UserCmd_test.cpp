#include "input/UserCmd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/Script.h"

namespace kestrane {

// A small laboratory: SHOW stores a number, BOX& holds WIDTH, FLAG and INNER blocks of their own.

struct TestLab : virtual Key_User {
    const CmdKey* FindKey(const std::string& word) const override {
        const CmdKey* key = dictionary_of<TestLab>().find(word);
        return key ? key : Key_User::FindKey(word);
    }
    std::vector<std::string> log;
};

struct Show_Data {
    double number = UNSET;
};
struct Box_Data {
    int result = 1;
};
struct Width_Data {
    double number = UNSET;
};
struct Inner_Data {};
struct Deep_Data {};
struct One_Data {};
struct Flag_Data {
    bool flag = true;
};

using Show_Cmd = UserCmd<TestLab, Show_Data>;
using Box_Cmd = UserCmd<TestLab, Box_Data>;
using Width_Cmd = UserCmd<Box_Cmd, Width_Data>;
using Inner_Cmd = UserCmd<Box_Cmd, Inner_Data>;
using Deep_Cmd = UserCmd<Inner_Cmd, Deep_Data>;
using One_Cmd = UserCmd<TestLab, One_Data>;
using Flag_Cmd = UserCmd<TestLab, Flag_Data>;

template <>
void Show_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    reader.NextDouble(number);
}
template <>
void Show_Cmd::Rerun(Reader&) {
    user().log.push_back("rerun " + word);
}
template <>
void Show_Cmd::Execute(Reader&) {
    user().log.push_back("show " + std::to_string(static_cast<int>(number)));
}

template <>
void Box_Cmd::Read(Reader& reader, const std::string&) {
    const bool at_once = immediate;
    immediate = false;
    std::string next;
    result = ReadBlock(reader, next, true);
    if (at_once) Execute(reader);
}

template <>
void Width_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope this_line(reader, 0);
    reader.NextDouble(number);
}
template <>
void Width_Cmd::Execute(Reader&) {
    user().user().log.push_back("width " + std::to_string(static_cast<int>(number)));
}

template <>
void Inner_Cmd::Read(Reader& reader, const std::string&) {
    std::string next;
    ReadBlock(reader, next, false);
}

template <>
void Deep_Cmd::Execute(Reader&) {
    user().user().user().log.push_back("deep");
}

template <>
void One_Cmd::Read(Reader& reader, const std::string&) {
    std::string next;
    user().log.push_back(ReadOne(reader, next) > 0 ? "one" : "none");
}

template <>
void Flag_Cmd::Read(Reader& reader, const std::string&) {
    std::string next;
    const int result = ReadFlag(reader, next, flag);
    user().log.push_back(std::to_string(result) + (flag ? " true" : " false"));
}

namespace {

const UserKey<TestLab, Show_Data> show_key{"SHOW"};
const UserKey<TestLab, Box_Data> box_key{"BOX&"};
const UserKey<TestLab, One_Data> one_key{"ONE"};
const UserKey<TestLab, Flag_Data> flag_key{"FLAG"};
const UserKey<Box_Cmd, Width_Data> width_key{"WIDTH"};
const UserKey<Box_Cmd, Inner_Data> inner_key{"INNER"};
const UserKey<Inner_Cmd, Deep_Data> deep_key{"DEEP"};
const UserKey<One_Cmd, Width_Data> one_width_key{"WIDTH"};

using testing::ScratchDirectory;
using testing::Script;
using Log = std::vector<std::string>;

/// Reads a script into stored commands and executes them.
Log run(Script& script) {
    TestLab lab;
    lab.SetDeferred(true);
    lab.ReadAll(script.reader);
    for (const auto& command : lab.commands) command->Execute(script.reader);
    return lab.log;
}

Log run_text(const std::string& text) {
    Script script(text);
    return run(script);
}

TEST(UserCmd, CommandsAreStoredInScriptOrder) {
    Script script("show 1 SHOW 2\n  Show 3");
    TestLab lab;
    EXPECT_FALSE(lab.SetDeferred(true));
    EXPECT_TRUE(lab.SetDeferred(true));
    lab.ReadAll(script.reader);
    EXPECT_TRUE(lab.log.empty());
    ASSERT_EQ(lab.commands.size(), 3u);
    EXPECT_EQ(lab.commands[2]->word, "Show");
    EXPECT_EQ(lab.commands[2]->line, 2);
    EXPECT_EQ(lab.commands[2]->column, 3);
    EXPECT_FALSE(lab.commands[2]->fileName);
    for (const auto& command : lab.commands) command->Execute(script.reader);
    EXPECT_EQ(lab.log, (Log{"show 1", "show 2", "show 3"}));
    EXPECT_FALSE(script.says("Show\""));
}

TEST(UserCmd, AnImmediateUserStoresNothing) {
    Script script("SHOW 1 BOX WIDTH 4 END");
    TestLab lab;
    lab.ReadAll(script.reader);
    EXPECT_TRUE(lab.commands.empty());
    EXPECT_EQ(lab.log, (Log{"width 4"}));
}

TEST(UserCmd, ArgumentsStandOnTheKeywordsOwnLine) {
    Script script("SHOW\n5\nSHOW 6");
    EXPECT_EQ(run(script).back(), "show 6");
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(script.says("Keyword \"5\" not recognized in current context"));
}

TEST(UserCmd, AnOuterKeywordEndsAllInnerBlocks) {
    EXPECT_EQ(run_text("BOX\nWIDTH 1\nINNER\nDEEP\nSHOW 2"), (Log{"width 1", "deep", "show 2"}));
    EXPECT_EQ(run_text("BOX INNER DEEP\nWIDTH 1\nSHOW 2"), (Log{"deep", "width 1", "show 2"}));
    // One END ends one block.
    EXPECT_EQ(run_text("BOX INNER DEEP END WIDTH 1 END SHOW 2"),
              (Log{"deep", "width 1", "show 2"}));
}

TEST(UserCmd, AStrayEndDoesNothing) {
    Script script("END\nEND SHOW 1 end");
    EXPECT_EQ(run(script), (Log{"show 1"}));
    EXPECT_EQ(script.counts.errors, 0);
}

TEST(UserCmd, AnUnknownWordEndsTheBlockAndIsReportedAtTheTop) {
    Script script("BOX\n WIDTH 1\n   SILLY 4 5 6\nSHOW 2");
    EXPECT_EQ(run(script), (Log{"width 1", "show 2"}));
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(
        script.says("######  ERROR: Keyword \"SILLY\" not recognized in current context  "
                    "######\n"
                    "Problem detected at column 4 of line 3 of the standard input.\n"
                    "Most recent line: \"   SILLY 4 5 6\".\n"))
        << script.printed();
}

TEST(UserCmd, AfterAnUnknownWordNumbersAreSkippedOverLines) {
    Script script("SILLY 4\n 5 6\n2*7\nSHOW 2 words\n");
    EXPECT_EQ(run(script), (Log{"show 2"}));
    EXPECT_EQ(script.counts.errors, 2);
}

TEST(UserCmd, GlobalKeywordsWorkInBlocksThatAllowThem) {
    // The inner block does not: the word ends it, and runs in the block outside.
    Script script("BOX\nDEF N 7\nWIDTH ?N?\nINNER DEEP\nDEF M 8\nWIDTH ?M?\n");
    EXPECT_EQ(run(script), (Log{"width 7", "deep", "width 8"}));
    EXPECT_EQ(script.counts.errors, 0);
}

TEST(UserCmd, ReadBlockTellsTheEndOfTheInput) {
    Script script("BOX WIDTH 1");
    TestLab lab;
    lab.SetDeferred(true);
    lab.ReadAll(script.reader);
    ASSERT_EQ(lab.commands.size(), 1u);
    EXPECT_LT(dynamic_cast<Box_Cmd&>(*lab.commands[0]).result, 0);
}

TEST(UserCmd, ABlockMayEndOutsideTheIncludeItBeganIn) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("begin.dat", "BOX\nWIDTH 1\n");
    Script script("INCL '" + name + "' ignored words\nWIDTH 2\nEND\nSHOW 3\nSHOW 4");
    EXPECT_EQ(run(script), (Log{"width 1", "width 2", "show 3", "show 4"}));
    EXPECT_TRUE(script.says("Now returning to standard input"));
    EXPECT_EQ(script.counts.errors, 0);
}

TEST(UserCmd, ABlockMayIncludeItsOwnLines) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("part.dat", "WIDTH 1\nWIDTH 2");
    Script script("BOX\nINCLUDE '" + name + "'\nWIDTH 3\nSHOW 4\n");
    EXPECT_EQ(run(script), (Log{"width 1", "width 2", "width 3", "show 4"}));
}

TEST(UserCmd, CommandsRememberTheirFile) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("part.dat", "\n  SHOW 1");
    Script script("INCL '" + name + "'\nSHOW 2");
    TestLab lab;
    lab.SetDeferred(true);
    lab.ReadAll(script.reader);
    ASSERT_EQ(lab.commands.size(), 3u);  // the include itself is one
    EXPECT_EQ(lab.commands[1]->Location(),
              "Problem for keyword \"SHOW\" (line 2, column 3, file \"" + name + "\").");
    EXPECT_EQ(lab.commands[2]->Location("At ", "!"),
              "At keyword \"SHOW\" (line 2, column 1, standard input)!");
}

TEST(UserCmd, ReadOneTakesASubKeywordOfTheLineAlone) {
    EXPECT_EQ(run_text("ONE WIDTH 3\n"), (Log{"one"}));
    EXPECT_EQ(run_text("ONE\nSHOW 1"), (Log{"none", "show 1"}));
    EXPECT_EQ(run_text("ONE SHOW 1"), (Log{"none", "show 1"}));
}

TEST(UserCmd, Flags) {
    for (const std::string word : {"ON", "on", "Y", "yes", "T", "True"}) {
        EXPECT_EQ(run_text("FLAG " + word), (Log{"1 true"})) << word;
    }
    for (const std::string word : {"OFF", "n", "NO", "NOT", "none", "F", "false"}) {
        EXPECT_EQ(run_text("FLAG " + word), (Log{"1 false"})) << word;
    }
    EXPECT_EQ(run_text("FLAG"), (Log{"0 true"}));
    EXPECT_EQ(run_text("FLAG\nOFF"), (Log{"0 true"}));
    Script script("FLAG MAYBE");
    EXPECT_EQ(run(script), (Log{"0 true"}));
    EXPECT_TRUE(script.says("Keyword \"MAYBE\" not recognized"));
}

TEST(UserCmd, RerunAndExecuteReachTheChildren) {
    Script script("BOX WIDTH 1 INNER DEEP");
    TestLab lab;
    lab.SetDeferred(true);
    lab.ReadAll(script.reader);
    for (int pass = 1; pass <= 2; ++pass) {
        for (const auto& command : lab.commands) command->Rerun(script.reader);
        for (const auto& command : lab.commands) command->Execute(script.reader);
    }
    EXPECT_EQ(lab.log, (Log{"width 1", "deep", "width 1", "deep"}));
}

TEST(UserCmd, AnOwnerOfAnotherClassIsAnInternalFault) {
    Script script("SHOW 1");
    Key_User stranger;
    EXPECT_THROW(show_key.Run(script.reader, "SHOW", stranger), LogicError);
}

}  // namespace
}  // namespace kestrane
