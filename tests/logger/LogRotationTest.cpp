// SPDX-License-Identifier: MIT
#include "logger/LogTest.h"

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

namespace
{
class LogRotation : public LogTest
{
protected:
    /// Writes each of the texts in its own line.
    void write(const std::vector<std::string>& iTexts)
    {
        for (const std::string& text : iTexts)
        {
            EXPECT_EQ(0, info(text)) << text;
        }
    }

    /// The size of the given number of lines with texts of one character.
    unsigned int sizeOf(unsigned int iLines) const
    {
        return iLines * static_cast<unsigned int>(overhead() + 1);
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(dir.path()))
        {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};
} // namespace

TEST_F(LogRotation, FullFileIsMovedAside)
{
    init({.maxSize = sizeOf(2), .parts = 3});

    write({"a", "b", "c"});

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a", "b"));
    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogRotation, FileMayBeFilledToTheLastByte)
{
    init({.maxSize = sizeOf(2), .parts = 3});

    write({"a", "b"});

    EXPECT_THAT(files(), ElementsAre("test.log"));
}

TEST_F(LogRotation, OneByteAboveTheLimitRotates)
{
    init({.maxSize = sizeOf(2) - 1, .parts = 3});

    write({"a", "b"});

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a"));
}

TEST_F(LogRotation, LineLargerThanTheLimitGetsItsOwnFile)
{
    init({.maxSize = 100, .parts = 3});

    write({filler(500)});

    EXPECT_THAT(texts(), ElementsAre(filler(500)));
    EXPECT_FALSE(exists("test.log.1"));
}

TEST_F(LogRotation, NewestPartIsNumberOneAndTheOldestIsDeleted)
{
    init({.maxSize = 1, .parts = 2});

    write({"a", "b", "c", "d"});

    EXPECT_THAT(files(), ElementsAre("test.log", "test.log.1", "test.log.2"));
    EXPECT_THAT(texts(), ElementsAre("d"));
    EXPECT_THAT(texts("test.log.1"), ElementsAre("c"));
    EXPECT_THAT(texts("test.log.2"), ElementsAre("b"));
}

TEST_F(LogRotation, WithoutPartsTheFileIsTruncated)
{
    init({.maxSize = sizeOf(2)});

    write({"a", "b", "c"});

    EXPECT_THAT(files(), ElementsAre("test.log"));
    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogRotation, TruncatedFileStartsWithoutTheRestOfAPartialLine)
{
    dir.write("test.log", filler(99));
    init({.maxSize = 100});

    write({"a"});

    EXPECT_THAT(lines(), ElementsAre(HasSubstr(" a")));
}

TEST_F(LogRotation, FileAfterAPartialLineStartsWithItsFirstLine)
{
    dir.write("test.log", filler(99));
    init({.maxSize = 100, .parts = 1});

    write({"a"});

    EXPECT_THAT(lines("test.log.1"), ElementsAre(filler(99)));
    EXPECT_THAT(lines(), ElementsAre(HasSubstr(" a")));
}

TEST_F(LogRotation, NegativePartsAndCountsAreNone)
{
    init({.maxSize = sizeOf(2), .parts = -1, .maxCount = -1});

    write({"a", "b", "c"});

    EXPECT_THAT(files(), ElementsAre("test.log"));
    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogRotation, CountLimitIsInLines)
{
    init({.parts = 1, .maxCount = 2});

    write({"a", "b", "c"});

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a", "b"));
    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogRotation, CountWithoutPartsTruncatesTheFile)
{
    init({.maxCount = 2});

    write({"a", "b", "c"});

    EXPECT_THAT(texts(), ElementsAre("c"));
}

TEST_F(LogRotation, LinesOfAnExistingFileCount)
{
    dir.write("test.log", "1\n2\n3");
    init({.parts = 1, .maxCount = 4});

    write({"a", "b"});

    EXPECT_THAT(lines("test.log.1"), ElementsAre("1", "2", "3", HasSubstr(" a")));
    EXPECT_THAT(texts(), ElementsAre("b"));
}

TEST_F(LogRotation, BytesOfAnExistingFileCount)
{
    dir.write("test.log", filler(99) + "\n");
    init({.maxSize = 100, .parts = 1});

    write({"a"});

    EXPECT_THAT(lines("test.log.1"), ElementsAre(filler(99)));
    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LogRotation, NoLimitNeverRotates)
{
    init({.parts = 3});

    for (int i = 0; i < 1000; ++i)
    {
        write({"a"});
    }

    EXPECT_EQ(1000u, lines().size());
    EXPECT_THAT(files(), ElementsAre("test.log"));
}

TEST_F(LogRotation, GapAmongThePartsLosesNoPart)
{
    dir.write("test.log.1", "one\n");
    dir.write("test.log.3", "three\n");
    init({.maxSize = 1, .parts = 3});

    write({"a", "b"});

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a"));
    EXPECT_EQ("one\n", dir.read("test.log.2"));
    EXPECT_EQ("three\n", dir.read("test.log.3"));
}

TEST_F(LogRotation, FileThatCannotBeMovedGrowsFurther)
{
    fs::create_directories(dir.path() / "test.log.1" / "in the way");
    init({.maxSize = sizeOf(1), .parts = 1});

    write({"a", "b", "c", "d", "e"});

    EXPECT_THAT(texts(), ElementsAre("a", "b", "c", "d", "e"));
}

TEST_F(LogRotation, BlockedPartKeepsThePartsBelowIt)
{
    fs::create_directories(dir.path() / "test.log.2" / "in the way");
    dir.write("test.log.1", "one\n");
    init({.maxSize = sizeOf(1), .parts = 2});

    write({"a", "b", "c"});

    EXPECT_EQ("one\n", dir.read("test.log.1"));
    EXPECT_THAT(texts(), ElementsAre("a", "b", "c"));
}

TEST_F(LogRotation, FileThatCouldNotBeMovedIsMovedLater)
{
    fs::create_directories(dir.path() / "test.log.1" / "in the way");
    init({.maxSize = sizeOf(2), .parts = 1});
    write({"a", "b", "c"});

    fs::remove_all(dir.path() / "test.log.1");
    write({"d", "e", "f"});

    EXPECT_THAT(texts("test.log.1"), ElementsAre("a", "b", "c", "d"));
    EXPECT_THAT(texts(), ElementsAre("e", "f"));
}

TEST_F(LogRotation, TwoLoggersOfOneFileLoseNothing)
{
    PLogger other;
    init({.maxSize = sizeOf(3), .parts = 9});
    init(other, {.maxSize = sizeOf(3), .parts = 9});

    for (int i = 0; i < 10; ++i)
    {
        write({"a"});
        EXPECT_EQ(0, PLogger::info(&other, 0, L"b"));
    }

    std::size_t written = 0;
    for (const std::string& file : files())
    {
        written += lines(file).size();
    }
    EXPECT_EQ(20u, written);
    EXPECT_FALSE(exists("test.log.9"));
}

TEST_F(LogRotation, ReplacementOfAFullFileIsNotMoved)
{
    init({.maxSize = sizeOf(2), .parts = 2});
    write({"a", "b"});
    fs::rename(dir.path() / "test.log", dir.path() / "saved.log");
    dir.write("test.log", "x\n");

    write({"c"});

    EXPECT_THAT(texts("saved.log"), ElementsAre("a", "b"));
    EXPECT_THAT(lines("test.log"), ElementsAre("x", HasSubstr("c")));
    EXPECT_FALSE(exists("test.log.1"));
}

TEST_F(LogRotation, DeletedFullFileIsCreatedAgain)
{
    init({.maxSize = sizeOf(1), .parts = 1});
    write({"a"});
    fs::remove(dir.path() / "test.log");

    write({"b"});

    EXPECT_THAT(texts(), ElementsAre("b"));
    EXPECT_FALSE(exists("test.log.1"));
}

TEST_F(LogRotation, PipesAreNeverMoved)
{
    const std::string path = dir.file("test.log");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    init({.maxSize = 1, .parts = 1, .maxCount = 1});

    write({"a", "b"});

    EXPECT_THAT(files(), ElementsAre("test.log"));
    close(reader);
}
