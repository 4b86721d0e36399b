#include "frame/Dialogs.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include "TextFiles.h"
#include "frame/Program.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

/// Plays a user who answers each dialog with the next of `answers` and cancels after the last.
class Dialogs : public testing::Test {
protected:
    void SetUp() override {
        directory_ =
            fs::path(testing::TempDir()) / ("kestrane_dialogs_" + std::to_string(getpid()));
        fs::remove_all(directory_);
        fs::create_directories(directory_);
        Program::State& state = Program::state();
        state.consoleFile = std::make_unique<OutFile>(console_);
        state.shortName = "kestrane";
        saved_ = file_dialogs();
        const auto answer = [this](const DialogRequest& request) -> std::optional<std::string> {
            requests_.push_back(request);
            if (requests_.size() > answers_.size()) return std::nullopt;
            return answers_[requests_.size() - 1];
        };
        file_dialogs() = {answer, answer};
    }
    void TearDown() override {
        file_dialogs() = saved_;
        Program::State& state = Program::state();
        state.consoleFile.reset();
        state.primaryInput.reset();
        state.reportFile.reset();
        state.terminalInput.reset();
        state.lastSaved.reset();
        fs::remove_all(directory_);
    }
    std::string in_directory(const std::string& name) const { return (directory_ / name).string(); }
    void put(const std::string& name, const std::string& text) const {
        std::ofstream(in_directory(name)) << text;
    }
    /// A template for a save dialog.
    static File named(std::string_view path) {
        File file;
        file.SetPath(path);
        return file;
    }

    fs::path directory_;
    std::stringbuf console_;
    FileDialogs saved_;
    std::vector<DialogRequest> requests_;
    std::vector<std::string> answers_;
};

TEST_F(Dialogs, ThisPlatformCancelsAtOnce) {
    InFile in;
    OutFile out;
    EXPECT_FALSE(saved_.open({}));
    EXPECT_FALSE(saved_.save({}));
    file_dialogs() = saved_;
    EXPECT_FALSE(in.OpenDialog("Primary Input File"));
    EXPECT_FALSE(out.SaveDialog("Standard Output File", "Out", nullptr));
    EXPECT_FALSE(in.isOpen());
    EXPECT_FALSE(out.isOpen());
    EXPECT_EQ(console_.str(), "");
}

TEST_F(Dialogs, OpenShowsItsTitleAndOpensTheChoice) {
    put("in.dat", "text");
    answers_ = {in_directory("in.dat")};
    InFile file;
    EXPECT_TRUE(file.OpenDialog("Primary Input File"));
    ASSERT_EQ(requests_.size(), 1U);
    EXPECT_EQ(requests_[0].title, "Primary Input File");
    EXPECT_EQ(file.name, "in.dat");
    EXPECT_EQ(file.get(), 't');
}

TEST_F(Dialogs, FailedOpenIsShownAndTheDialogComesAgain) {
    put("in.dat", "text");
    answers_ = {in_directory("gone"), in_directory("in.dat")};
    InFile file;
    EXPECT_TRUE(file.OpenDialog("Primary Input File"));
    EXPECT_EQ(requests_.size(), 2U);
    EXPECT_NE(console_.str().find("ERROR"), std::string::npos);
    EXPECT_NE(console_.str().find("Could not open file \"" + in_directory("gone") + "\""),
              std::string::npos);
    EXPECT_EQ(console_.str().find("Hit"), std::string::npos);
    // A choice that was mended is no error of the run.
    EXPECT_EQ(Program::state().errorCounts.errors, 0);
}

TEST_F(Dialogs, WithATerminalTheUserSaysWhenToTryAgain) {
    std::stringbuf typed("yes, now\nnext");
    Program::state().terminalInput = std::make_unique<InFile>(typed);
    answers_ = {in_directory("gone")};
    InFile file;
    EXPECT_FALSE(file.OpenDialog("Primary Input File"));
    EXPECT_NE(console_.str().find("Hit \"Return\" when ready to try again.\n"), std::string::npos);
    EXPECT_EQ(Program::state().terminalInput->get(), 'n');
}

TEST_F(Dialogs, TimeInADialogIsNotCounted) {
    put("in.dat", "text");
    int depth = 0;
    file_dialogs().open = [&](const DialogRequest&) -> std::optional<std::string> {
        depth = Program::state().clock.pauseDepth;
        return std::nullopt;
    };
    InFile file;
    EXPECT_FALSE(file.OpenDialog("Primary Input File"));
    EXPECT_EQ(depth, 1);
    EXPECT_EQ(Program::state().clock.pauseDepth, 0);
}

TEST_F(Dialogs, SaveProposesANameBesideItsTemplate) {
    const File beside = named("/data/FLUID.DAT");
    const DialogRequest request = propose_save("Title", "Out", &beside);
    EXPECT_EQ(request.title, "Title");
    EXPECT_EQ(request.directory, "/data");
    EXPECT_EQ(request.name, "FLUID.OUT");
    EXPECT_EQ(request.extension, "Out");
}

TEST_F(Dialogs, SaveWithoutATemplateGoesBesideTheReportElseTheInput) {
    Program::State& state = Program::state();
    EXPECT_EQ(propose_save("T", "Out", nullptr).name, "kestrane.out");
    state.primaryInput = std::make_unique<InFile>();
    state.primaryInput->SetPath("in/oil.dat");
    EXPECT_EQ(propose_save("T", "Out", nullptr).name, "oil.out");
    EXPECT_EQ(propose_save("T", "Out", nullptr).directory, "in");
    state.reportFile = std::make_unique<OutFile>();
    state.reportFile->SetPath("rep/GAS.OUT");
    EXPECT_EQ(propose_save("T", "bot", nullptr).name, "GAS.BOT");
    EXPECT_EQ(propose_save("T", "bot", nullptr).directory, "rep");
}

TEST_F(Dialogs, TemplateWithoutANameLendsItsDirectory) {
    File nameless;
    nameless.ChangeDirectory("/data");
    const DialogRequest request = propose_save("T", "Out", &nameless);
    EXPECT_EQ(request.directory, "/data");
    EXPECT_EQ(request.name, "kestrane.out");
}

TEST_F(Dialogs, NamesAreCutToWhatADialogHolds) {
    const File beside = named(std::string(2000, 'a'));
    EXPECT_EQ(propose_save("T", "Out", &beside).name, std::string(1023, 'a'));
    answers_ = {std::string(3000, 'a')};
    InFile file;
    EXPECT_FALSE(file.OpenDialog("T"));
    EXPECT_EQ(file.name.size(), 1023U);
}

TEST_F(Dialogs, SavedFileIsTheNextTemplate) {
    answers_ = {in_directory("First_A"), in_directory("Second.bot")};
    OutFile first;
    ASSERT_TRUE(first.SaveDialog("T", "Out", nullptr));
    first << "text";
    OutFile second;
    ASSERT_TRUE(second.SaveDialog("T", "bot", nullptr));
    EXPECT_EQ(requests_[1].directory, directory_.string());
    EXPECT_EQ(requests_[1].name, "First_bot");
    // A template that is given goes before the last file saved.
    const File given = named("x/Oil.dat");
    EXPECT_EQ(propose_save("T", "Out", &given).name, "Oil.Out");
}

TEST_F(Dialogs, AtSignSelectsTheConsole) {
    for (const char* const name : {"@", "@.bot"}) {
        requests_.clear();
        answers_ = {name};
        OutFile file;
        ASSERT_TRUE(file.SaveDialog("T", "bot", nullptr));
        EXPECT_TRUE(file.sharesStream(*Program::state().consoleFile));
        file << name << '\n' << std::flush;
        // Proposed again, it selects the console again.
        EXPECT_EQ(propose_save("T", "bot", nullptr).name, "@.bot");
    }
    EXPECT_EQ(console_.str(), "@\n@.bot\n");
    answers_ = {in_directory("@file")};
    requests_.clear();
    OutFile file;
    ASSERT_TRUE(file.SaveDialog("T", "bot", nullptr));
    EXPECT_FALSE(file.sharesStream(*Program::state().consoleFile));
}

TEST_F(Dialogs, ScriptIsNotOverwritten) {
    put("in.dat", "precious");
    auto script = std::make_unique<InFile>();
    script->SetPath(in_directory("in.dat"));
    ASSERT_TRUE(script->OpenRead());
    Program::state().primaryInput = std::move(script);
    answers_ = {in_directory("in.dat")};
    OutFile file;
    EXPECT_FALSE(file.SaveDialog("T", "Out", nullptr));
    EXPECT_EQ(requests_.size(), 2U);
    EXPECT_EQ(fs::file_size(in_directory("in.dat")), 8U);
}

}  // namespace
}  // namespace kestrane
