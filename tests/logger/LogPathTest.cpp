// SPDX-License-Identifier: MIT
#include "logger/PLogPath.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace
{
class LogPath : public testing::Test
{
protected:
    bool exists(const std::string& iFile) const
    {
        return std::filesystem::exists(dir.file(iFile));
    }

    TempDir dir;
    PLogPath path{dir.file("test.log")};
};
} // namespace

TEST_F(LogPath, ResolvesARelativeNameInTheWorkingDirectory)
{
    std::string resolved;
    ASSERT_EQ(0, PLogPath::resolve(L"logs/a.log", resolved));
    EXPECT_EQ(std::filesystem::current_path() / "logs/a.log", resolved);
}

TEST_F(LogPath, ResolvesAnAbsoluteNameToItself)
{
    std::string resolved;
    ASSERT_EQ(0, PLogPath::resolve(L"/logs/\u00e4.log", resolved));
    EXPECT_EQ("/logs/\xc3\xa4.log", resolved);
}

TEST_F(LogPath, RefusesATextThatIsNoPath)
{
    std::string resolved = "unchanged";
    EXPECT_EQ(-EINVAL, PLogPath::resolve(L"a\xd800", resolved));
    EXPECT_EQ("unchanged", resolved);
}

TEST_F(LogPath, MakesMissingDirectoriesAndAcceptsExistingOnes)
{
    PLogPath deep(dir.file("a/b/test.log"));
    EXPECT_EQ(0, deep.makeDirectories());
    EXPECT_EQ(0, deep.makeDirectories());
    EXPECT_TRUE(std::filesystem::is_directory(dir.file("a/b")));
    EXPECT_FALSE(exists("a/b/test.log"));
}

TEST_F(LogPath, ReportsAFileInPlaceOfADirectory)
{
    dir.write("a", "");
    EXPECT_EQ(-ENOTDIR, PLogPath(dir.file("a/b/test.log")).makeDirectories());
}

TEST_F(LogPath, RenumbersThePartsAndDeletesTheOldest)
{
    dir.write("test.log", "new");
    dir.write("test.log.1", "old");
    dir.write("test.log.2", "oldest");
    EXPECT_TRUE(path.moveAside(2));
    EXPECT_FALSE(exists("test.log"));
    EXPECT_EQ("new", dir.read("test.log.1"));
    EXPECT_EQ("old", dir.read("test.log.2"));
    EXPECT_FALSE(exists("test.log.3"));
}

TEST_F(LogPath, FillsAGapInsteadOfDeletingAPart)
{
    dir.write("test.log", "new");
    dir.write("test.log.2", "old");
    EXPECT_TRUE(path.moveAside(2));
    EXPECT_EQ("new", dir.read("test.log.1"));
    EXPECT_EQ("old", dir.read("test.log.2"));
}

TEST_F(LogPath, DoesNotMoveAFileThatIsMissing)
{
    EXPECT_FALSE(path.moveAside(2));
}
