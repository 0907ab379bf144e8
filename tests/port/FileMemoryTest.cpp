#include "portinglayer/PDir.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PLibrary.h"
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

    int readWithout(int iSkip, PString& oLine)
    {
        AllocationFaults::failAfter(iSkip);
        const int res = file.preadLine(oLine);
        AllocationFaults::disarm();
        return res;
    }

    TempDir dir;
    PFile file;
};
} // namespace

TEST_F(FileMemory, LineThatCouldNotBeReadComesLater)
{
    const std::string longLine(20000, 'x');
    openForReading(longLine + "\nnext\n");
    PString line(L"same");

    int failures = 0;
    while (readWithout(failures, line) == -12)
    {
        ASSERT_EQ(PLiteral(L"same"), line) << failures;
        ASSERT_LT(++failures, 20);
    }
    EXPECT_GT(failures, 2);
    EXPECT_EQ(longLine, narrow(line));
    EXPECT_EQ(0, file.preadLine(line));
    EXPECT_EQ("next", narrow(line));
}

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

TEST_F(FileMemory, LineThatCouldNotBeWrittenLeavesNoTrace)
{
    openForWriting();
    ASSERT_EQ(0, file.pwriteLine(L"first"));
    const PString longLine = wide(std::string(20000, 'x'));
    AllocationFaults::failAfter(0);
    const int res = file.pwriteLine(longLine);
    AllocationFaults::disarm();

    EXPECT_EQ(-12, res);
    EXPECT_EQ(0, file.pwriteLine(L"last"));
    EXPECT_EQ(0, file.pclose());
    EXPECT_EQ("first\nlast\n", dir.read("out.txt"));
}

TEST_F(FileMemory, DirectoryWithoutMemoryHasNoEntries)
{
    dir.write("a", "");
    dir.write("b", "");
    PDir listing(wide(dir.path().string()), L"*");
    int failures = 0;
    int res = -12;
    for (int skip = 0; res != 0 && skip < 50; ++skip)
    {
        AllocationFaults::failAfter(skip);
        res = listing.preaddir();
        AllocationFaults::disarm();
        failures += res == -12;
        ASSERT_TRUE(res == 0 || (res == -12 && listing == 1)) << skip;
    }

    EXPECT_EQ(0, res);
    EXPECT_GT(failures, 2);
}

TEST_F(FileMemory, LibraryWithoutMemoryIsNotLoaded)
{
    PLibrary* library = nullptr;
    int failures = 0;
    for (int skip = 0; skip < 2; ++skip)
    {
        AllocationFaults::failAfter(skip);
        failures += PLibrary::load(L"/nowhere/libnone.so", library, true) == -12;
        AllocationFaults::disarm();
    }

    EXPECT_EQ(2, failures);
    EXPECT_EQ(nullptr, library);
}
