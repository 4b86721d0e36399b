#include "frame/File.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace kestrane {
namespace {

namespace fs = std::filesystem;

File path(std::string_view text, std::string_view base = {}) {
    File file;
    file.SetPath(text, base);
    return file;
}

std::string full(std::string_view text, std::string_view base = {}) {
    return *path(text, base).fullName;
}

TEST(File, SplitsDirectoryAndName) {
    const File file = path("data/oils/black.dat");
    EXPECT_EQ(*file.fullName, "data/oils/black.dat");
    EXPECT_EQ(file.directory, "data/oils");
    EXPECT_EQ(file.name, "black.dat");
    EXPECT_EQ(file.drive, "");
}

TEST(File, NameAloneHasNoDirectoryAndStaysAsTyped) {
    const File file = path("oil.dat");
    EXPECT_EQ(*file.fullName, "oil.dat");
    EXPECT_EQ(file.directory, "");
    EXPECT_EQ(file.name, "oil.dat");
}

TEST(File, EmptyPathLeavesEmptyFields) {
    File file = path("a/b");
    file.SetPath("", "base");
    EXPECT_FALSE(file.fullName);
    EXPECT_EQ(file.directory + file.name + file.drive, "");
}

TEST(File, RelativePathIsJoinedToItsBase) {
    EXPECT_EQ(full("oil.dat", "base"), "base/oil.dat");
    EXPECT_EQ(full("oil.dat", "base/"), "base/oil.dat");
    EXPECT_EQ(full("oil.dat", "/"), "/oil.dat");
    EXPECT_EQ(full("sub/oil.dat", "/data/base"), "/data/base/sub/oil.dat");
}

TEST(File, AbsolutePathIgnoresItsBase) {
    EXPECT_EQ(full("/tmp/oil.dat", "base"), "/tmp/oil.dat");
    EXPECT_EQ(full("\\tmp\\oil.dat", "base"), "/tmp/oil.dat");
    EXPECT_EQ(full("X:/oil.dat", "base"), "X:/oil.dat");
    // No drive without a separator after it.
    EXPECT_EQ(full("X:oil.dat", "base"), "base/X:oil.dat");
}

TEST(File, ParentThenDirectoryThenDotGoesBesideTheBase) {
    const File file = path("../other/./oil.dat", "/data/base");
    EXPECT_EQ(file.directory, "/data/other");
    EXPECT_EQ(file.name, "oil.dat");
    EXPECT_EQ(full("../other/./oil.dat", "base"), "other/oil.dat");
    EXPECT_EQ(full("..\\other\\.\\oil.dat", "home\\base"), "home/other/oil.dat");
}

TEST(File, BackslashesBecomeSeparators) {
    const File file = path("data\\oils/black.dat");
    EXPECT_EQ(*file.fullName, "data/oils/black.dat");
    EXPECT_EQ(file.directory, "data/oils");
}

TEST(File, DotsBetweenSeparatorsVanish) {
    EXPECT_EQ(full("a/./././b"), "a/b");
    EXPECT_EQ(full("a/b/../../c"), "c");
    EXPECT_EQ(full("/a/b/../c"), "/a/c");
    EXPECT_EQ(full("a//b"), "a/b");
    // Names that only begin with dots are names.
    EXPECT_EQ(full("a/.hidden/..b/c"), "a/.hidden/..b/c");
}

TEST(File, ParentWithNothingToRemoveStays) {
    EXPECT_EQ(full("../x"), "../x");
    EXPECT_EQ(full("../../x"), "../../x");
    EXPECT_EQ(full("a/../../x"), "../x");
    EXPECT_EQ(full("../x", "../base"), "../x");
    EXPECT_EQ(full("../../x", "../base"), "../../x");
    EXPECT_EQ(full("/../x"), "/../x");
    EXPECT_EQ(full("X:/../x"), "X:/../x");
    EXPECT_EQ(path("../x").directory, "..");
}

TEST(File, LeadingDotIsTheStartingDirectoryAndNoDirectoryToRemove) {
    EXPECT_EQ(full("./x"), "./x");
    EXPECT_EQ(full("./../x"), "../x");
    EXPECT_EQ(full("../x", "."), "../x");
}

TEST(File, RootKeepsItsSeparator) {
    const File file = path("/oil.dat");
    EXPECT_EQ(file.directory, "/");
    EXPECT_EQ(full("more.dat", file.directory), "/more.dat");
}

TEST(File, DriveIsKeptApartAndInTheDirectory) {
    const File file = path("X:\\data\\oil.dat");
    EXPECT_EQ(file.drive, "X:");
    EXPECT_EQ(file.directory, "X:/data");
    EXPECT_EQ(path("X:/oil.dat").directory, "X:/");
    EXPECT_EQ(full("b.dat", "X:/"), "X:/b.dat");
}

TEST(File, FullNameOutlivesAChangeOfPath) {
    File file = path("a");
    const DynPtr<std::string> kept = file.fullName;
    file.SetPath("b");
    EXPECT_EQ(*kept, "a");
}

TEST(File, ChangeDirectoryMovesOnlyTheDirectory) {
    File file = path("data/oil.dat");
    file.ChangeDirectory("sub");
    EXPECT_EQ(file.directory, "data/sub");
    EXPECT_EQ(*file.fullName, "data/oil.dat");
    EXPECT_EQ(file.name, "oil.dat");
    file.ChangeDirectory("..");
    EXPECT_EQ(file.directory, "data");
    file.ChangeDirectory("..");
    EXPECT_EQ(file.directory, "");
    file.ChangeDirectory("..");
    EXPECT_EQ(file.directory, "..");
    file.ChangeDirectory("..\\..\\x/");
    EXPECT_EQ(file.directory, "../../../x");
    file.ChangeDirectory("/abs");
    EXPECT_EQ(file.directory, "/abs");
    file.ChangeDirectory("..");
    EXPECT_EQ(file.directory, "/");
    file.ChangeDirectory("");
    EXPECT_EQ(file.directory, "/");
}

TEST(File, ChangeDirectoryWorksForAStandardStream) {
    std::stringbuf text;
    InFile file(text);
    file.ChangeDirectory("data");
    EXPECT_EQ(file.directory, "data");
    EXPECT_FALSE(file.fullName);
}

TEST(File, DefaultNameTakesTheCaseOfTheStem) {
    EXPECT_EQ(path("FLUID.DAT").DefaultName("Out"), "FLUID.OUT");
    EXPECT_EQ(path("fluid.dat").DefaultName("Out"), "fluid.out");
    EXPECT_EQ(path("Fluid_A").DefaultName("Out"), "Fluid_Out");
    EXPECT_EQ(path("Fluid.DAT").DefaultName("Out"), "Fluid.Out");
}

TEST(File, DefaultNameJoinsAtTheLastMark) {
    EXPECT_EQ(path("dir.x/fluid").DefaultName("bot"), "fluid.bot");
    EXPECT_EQ(path("my fluid").DefaultName("bot"), "my bot");
    EXPECT_EQ(path("a.b_c d").DefaultName("bot"), "a.b_c bot");
    EXPECT_EQ(path("a b_c.d").DefaultName("bot"), "a b_c.bot");
    EXPECT_EQ(path("1995.dat").DefaultName("Out"), "1995.out");
    EXPECT_EQ(path(".dat").DefaultName("Out"), ".out");
}

/// A fresh directory, removed at the end.
class FileOnDisk : public testing::Test {
protected:
    void SetUp() override {
        directory_ = fs::path(testing::TempDir()) / ("kestrane_files_" + std::to_string(getpid()));
        fs::remove_all(directory_);
        fs::create_directories(directory_);
    }
    void TearDown() override { fs::remove_all(directory_); }
    std::string in_directory(const std::string& name) const { return (directory_ / name).string(); }
    void put(const std::string& name, const std::string& text) const {
        std::ofstream(in_directory(name), std::ios::binary) << text;
    }
    std::string get(const std::string& name) const {
        std::ifstream file(in_directory(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    fs::path directory_;
};

using InFileTest = FileOnDisk;
using OutFileTest = FileOnDisk;

TEST_F(InFileTest, ReadsBytesUntouched) {
    const std::string bytes("a\r\nb\0\x1a\n", 7);
    put("in.dat", bytes);
    InFile file;
    EXPECT_FALSE(file.isOpen());
    file.SetPath(in_directory("in.dat"));
    ASSERT_TRUE(file.OpenRead());
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), bytes);
}

TEST_F(InFileTest, WhatCannotBeReadDoesNotOpen) {
    put("in.dat", "text");
    for (const std::string& name :
         {std::string(), in_directory("missing"), directory_.string(), in_directory(""),
          in_directory("in.dat") + "/x", in_directory("in.dat") + std::string("\0x", 2),
          in_directory(std::string(5000, 'n'))}) {
        InFile file;
        file.SetPath(name);
        EXPECT_FALSE(file.OpenRead()) << name;
        EXPECT_FALSE(file.isOpen()) << name;
        EXPECT_FALSE(file.good()) << name;
        EXPECT_EQ(file.get(), std::char_traits<char>::eof()) << name;
    }
}

TEST_F(InFileTest, CanBeOpenedAgainUnderAnotherName) {
    put("in.dat", "text");
    InFile file;
    file.SetPath(in_directory("missing"));
    EXPECT_FALSE(file.OpenRead());
    file.SetPath(in_directory("in.dat"));
    EXPECT_TRUE(file.OpenRead());
    EXPECT_EQ(file.get(), 't');
}

TEST_F(OutFileTest, WritingTruncatesWhatExists) {
    put("out", "something long");
    {
        OutFile file;
        file.SetPath("out", directory_.string());
        ASSERT_TRUE(file.OpenWrite());
        EXPECT_TRUE(file.active());
        file << "a\n";
    }
    EXPECT_EQ(get("out"), "a\n");
}

TEST_F(OutFileTest, WhatCannotBeWrittenDoesNotOpen) {
    for (const std::string& name :
         {std::string(), directory_.string(), in_directory("no/such/place")}) {
        OutFile file;
        file.SetPath(name);
        EXPECT_FALSE(file.OpenWrite()) << name;
        EXPECT_FALSE(file.isOpen()) << name;
        EXPECT_FALSE(file.active()) << name;
    }
}

TEST_F(OutFileTest, FullDiskShowsInTheStream) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    OutFile file;
    file.SetPath("/dev/full");
    ASSERT_TRUE(file.OpenWrite());
    file << "lost";
    file.flush();
    EXPECT_FALSE(file.good());
}

TEST_F(FileOnDisk, SameFileSeesThroughSpellingsAndLinks) {
    put("a", "text");
    put("b", "text");
    fs::create_hard_link(in_directory("a"), in_directory("hard"));
    fs::create_symlink(in_directory("a"), in_directory("soft"));
    const File a = path(in_directory("a"));
    EXPECT_TRUE(a.sameFile(a));
    EXPECT_TRUE(a.sameFile(path(in_directory("hard"))));
    EXPECT_TRUE(a.sameFile(path(in_directory("soft"))));
    EXPECT_TRUE(a.sameFile(path(fs::relative(in_directory("a")).string())));
    EXPECT_FALSE(a.sameFile(path(in_directory("b"))));
    EXPECT_FALSE(a.sameFile(path(in_directory("missing"))));
    EXPECT_FALSE(path(in_directory("missing")).sameFile(path(in_directory("missing"))));
    EXPECT_FALSE(a.sameFile(File()));
    EXPECT_FALSE(File().sameFile(a));
}

TEST(OutFile, SharedStreamsAreKnownByTheirBuffer) {
    std::stringbuf one;
    std::stringbuf other;
    const OutFile a(one);
    const OutFile b(one);
    const OutFile c(other);
    EXPECT_TRUE(a.isOpen());
    EXPECT_TRUE(a.sharesStream(b));
    EXPECT_FALSE(a.sharesStream(c));
    const OutFile d;
    const OutFile e;
    EXPECT_FALSE(d.sharesStream(e));
}

}  // namespace
}  // namespace kestrane
