// SPDX-License-Identifier: MIT
#include "logger/PLogReader.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>

namespace
{
constexpr unsigned long long kAll = 1000000;

class LogReader : public testing::Test
{
protected:
    PLogIdentity identity() const
    {
        struct stat64 state = {}; // a 32-bit stat refuses large numbers
        EXPECT_EQ(0, ::stat64(file.c_str(), &state));
        return {state.st_dev, state.st_ino};
    }

    PLogIdentity write(const std::string& iBytes) const
    {
        dir.write("test.log", iBytes);
        return identity();
    }

    unsigned long long count(const std::string& iBytes, unsigned long long iFrom,
                             unsigned long long iEnough) const
    {
        const PLogReader reader(file.c_str(), write(iBytes));
        EXPECT_TRUE(reader.isLog());
        return reader.countLines(iFrom, iBytes.size(), iEnough);
    }

    TempDir dir;
    const std::string file = dir.file("test.log");
};
} // namespace

TEST_F(LogReader, OpensTheFileOfTheLog)
{
    EXPECT_TRUE(PLogReader(file.c_str(), write("")).isLog());
}

TEST_F(LogReader, RefusesAnotherFileAtThePath)
{
    PLogIdentity other = write("");
    ++other.node;
    EXPECT_FALSE(PLogReader(file.c_str(), other).isLog());
    other = identity();
    ++other.device;
    EXPECT_FALSE(PLogReader(file.c_str(), other).isLog());
}

TEST_F(LogReader, RefusesAMissingFile)
{
    EXPECT_FALSE(PLogReader(file.c_str(), {}).isLog());
}

TEST_F(LogReader, DoesNotWaitForTheWriterOfAPipe)
{
    ASSERT_EQ(0, ::mkfifo(file.c_str(), 0600));
    EXPECT_FALSE(PLogReader(file.c_str(), {}).isLog());
}

TEST_F(LogReader, FindsAnIncompleteLastLine)
{
    const PLogReader reader(file.c_str(), write("one\ntwo"));
    EXPECT_TRUE(reader.isTorn(7));
    EXPECT_FALSE(reader.isTorn(4));
    EXPECT_FALSE(reader.isTorn(8)); // beyond the end nothing can be read
}

TEST_F(LogReader, CountsLineEndsFromAnOffset)
{
    EXPECT_EQ(3u, count("one\ntwo\nthree\nfour", 0, kAll));
    EXPECT_EQ(2u, count("one\ntwo\nthree\nfour", 4, kAll));
}

TEST_F(LogReader, CountsAcrossBlocks)
{
    EXPECT_EQ(200000u, count(std::string(200000, '\n'), 0, kAll));
}

TEST_F(LogReader, StopsWhenEnoughAreFound)
{
    const unsigned long long lines = count(std::string(200000, '\n'), 0, 10);
    EXPECT_LE(10u, lines);
    EXPECT_GT(200000u, lines);
}

TEST_F(LogReader, StopsWhereTheFileEnds)
{
    const PLogReader reader(file.c_str(), write("one\ntwo\n"));
    EXPECT_EQ(2u, reader.countLines(0, 100, kAll));
}
