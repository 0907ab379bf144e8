// SPDX-License-Identifier: MIT
#include "portinglayer/PFile.h"
#include "support/AllocationFaults.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
class FileMemory : public testing::Test
{
protected:
    ~FileMemory() override
    {
        AllocationFaults::disarm();
    }

    void openForReading(const std::string& iBytes)
    {
        dir.write("in.txt", iBytes);
        ASSERT_EQ(0, file.popen(dir.wideFile("in.txt"), PFile::eRead, 0));
    }

    void openForWriting()
    {
        const unsigned int mode = PFile::eWrite | PFile::eCreate;
        ASSERT_EQ(0, file.popen(dir.wideFile("out.txt"), mode, 0));
    }

    TempDir dir;
    PFile file;
};
} // namespace

TEST_F(FileMemory, PathsOfAnyLengthNeedNoMemory)
{
    std::string path = dir.path();
    while (path.size() < 3900)
    {
        path += "/" + std::string(80, 'd');
        std::filesystem::create_directory(path);
    }
    const PString name = wide(path + "/file");
    const unsigned int mode = PFile::eWrite | PFile::eCreate;

    AllocationFaults::failAfter(0);
    const int opened = file.popen(name, mode, 0);
    const bool exists = PFile::exists(name);
    const int deleted = PFile::pdelete(name);
    AllocationFaults::disarm();

    EXPECT_EQ(0, opened);
    EXPECT_TRUE(exists);
    EXPECT_EQ(0, deleted);
}

TEST_F(FileMemory, ShortLinesAreReadWithoutAllocating)
{
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
    {
        bytes += "key" + std::to_string(i) + "=value\n";
    }
    openForReading(bytes);
    PString line(L"room for a longer line");
    ASSERT_EQ(0, file.preadLine(line));

    AllocationFaults::startCounting();
    while (file.preadLine(line) == 0)
    {
    }
    EXPECT_EQ(0, AllocationFaults::counted());
    EXPECT_EQ("key999=value", narrow(line));
}

TEST_F(FileMemory, ShortLinesAreWrittenWithoutAllocating)
{
    openForWriting();
    ASSERT_EQ(0, file.pwriteLine(L"first"));
    AllocationFaults::startCounting();
    for (int i = 0; i < 10000; ++i)
    {
        ASSERT_EQ(0, file.pwriteLine(L"key=value"));
    }

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(FileMemory, LongLinesAreWrittenWithoutAllocatingAfterReserve)
{
    const PString longLine = wide(std::string(20000, 'x'));
    openForWriting();
    ASSERT_EQ(0, file.reserve(longLine.len()));
    AllocationFaults::startCounting();

    EXPECT_EQ(0, file.pwriteLine(longLine));
    EXPECT_EQ(0, AllocationFaults::counted());
}
