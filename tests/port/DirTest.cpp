// SPDX-License-Identifier: MIT
#include "portinglayer/PDir.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using Names = std::vector<std::string>;

class DirTest : public testing::Test
{
protected:
    void make(const Names& iNames)
    {
        for (const std::string& name : iNames)
        {
            dir.write(name, "");
        }
    }

    Names list(const wchar_t* iFilter)
    {
        PDir listing(wide(dir.path().string()), iFilter);
        EXPECT_EQ(0, listing.preaddir());
        Names names;
        for (; listing == 0; ++listing)
        {
            names.push_back(narrow(listing.getEntry()));
        }
        return names;
    }

    TempDir dir;
};
} // namespace

TEST_F(DirTest, NamesComeInAscendingByteOrder)
{
    make({"b.so", "a.so", "B.so", "a10.so", "a2.so", "_.so", "\xC3\xA4.so", "\xFF.so", "z.so"});

    EXPECT_EQ((Names{"B.so", "_.so", "a.so", "a10.so", "a2.so", "b.so", "z.so", "\xC3\xA4.so",
                     "\xFF.so"}),
              list(L"*"));
}

TEST_F(DirTest, OnlyNamesThatMatchAreListed)
{
    make({"libone.so", "libtwo.so.1", "readme", "x.SO", ".so"});

    EXPECT_EQ((Names{".so", "libone.so"}), list(L"*.so"));
}

TEST_F(DirTest, PatternsMatchWholeNames)
{
    make({"a", "ab", "abc", "abcabd", "[a]", "\xC3\xA4"});

    EXPECT_EQ((Names{"a", "\xC3\xA4"}), list(L"?"));
    EXPECT_EQ((Names{"abc"}), list(L"a?c"));
    EXPECT_EQ((Names{"abcabd"}), list(L"*ab?*d"));
    EXPECT_EQ((Names{"[a]"}), list(L"[a]"));
    EXPECT_EQ((Names{"ab", "abc", "abcabd"}), list(L"ab**"));
    EXPECT_EQ(Names{}, list(L""));
}

TEST_F(DirTest, DirectoriesAreNotListed)
{
    make({"file.so"});
    std::filesystem::create_directory(dir.path() / "dir.so");
    std::filesystem::create_directory_symlink(dir.path() / "dir.so", dir.path() / "link.so");

    EXPECT_EQ(Names{"file.so"}, list(L"*"));
}

TEST_F(DirTest, LinksAndBrokenLinksAreListed)
{
    make({"file.so"});
    std::filesystem::create_symlink("file.so", dir.path() / "link.so");
    std::filesystem::create_symlink("nowhere", dir.path() / "dangling.so");

    EXPECT_EQ((Names{"dangling.so", "file.so", "link.so"}), list(L"*"));
}

TEST_F(DirTest, EmptyDirectoryIsAtItsEnd)
{
    PDir listing(wide(dir.path().string()), L"*");

    EXPECT_EQ(0, listing.preaddir());
    EXPECT_TRUE(listing == 1);
    EXPECT_FALSE(listing == 0);
    EXPECT_EQ(0u, listing.getEntry().len());
}

TEST_F(DirTest, NextAtTheEndStaysAtTheEnd)
{
    make({"a"});
    PDir listing(wide(dir.path().string()), L"*");
    ASSERT_EQ(0, listing.preaddir());
    ++listing;
    ++listing;

    EXPECT_TRUE(listing == 1);
    EXPECT_EQ(0u, listing.getEntry().len());
}

TEST_F(DirTest, ListingMayBeReadAgain)
{
    make({"a"});
    PDir listing(wide(dir.path().string()), L"*");
    ASSERT_EQ(0, listing.preaddir());
    ++listing;
    make({"b"});
    ASSERT_EQ(0, listing.preaddir());
    ++listing;

    EXPECT_EQ("b", narrow(listing.getEntry()));
}

TEST_F(DirTest, DirectoryThatCannotBeReadIsReported)
{
    make({"file"});
    const std::pair<PString, int> rows[] = {{dir.wideFile("none"), -2},
                                            {dir.wideFile("file"), -20},
                                            {PString(), -2},
                                            {PString(L"a\0b", 3), -22}};
    for (const auto& row : rows)
    {
        PDir listing(row.first, L"*");
        EXPECT_EQ(row.second, listing.preaddir()) << narrow(row.first);
        EXPECT_TRUE(listing == 1);
    }
}

TEST_F(DirTest, FailedReadClearsEarlierEntries)
{
    make({"sub/a"});
    PDir listing(dir.wideFile("sub"), L"*");
    ASSERT_EQ(0, listing.preaddir());
    std::filesystem::remove_all(dir.path() / "sub");

    EXPECT_EQ(-2, listing.preaddir());
    EXPECT_TRUE(listing == 1);
}
