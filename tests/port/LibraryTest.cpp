#include "portinglayer/PLibrary.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <memory>
#include <thread>

namespace fs = std::filesystem;

namespace
{
class LibraryTest : public testing::Test
{
protected:
    /// A copy of a built library; a name of its own makes it a library of its own.
    std::string copy(const char* iFrom, const std::string& iName = "libcopy.so")
    {
        fs::copy_file(iFrom, dir.path() / iName);
        return dir.file(iName);
    }

    int load(const std::string& iPath, bool iFreeOnDestroy = true)
    {
        PLibrary* loaded = nullptr;
        const int res = PLibrary::load(wide(iPath), loaded, iFreeOnDestroy);
        library.reset(loaded);
        return res;
    }

    static std::string loadError()
    {
        PString text;
        EXPECT_EQ(0, PLibrary::getLoadError(text));
        return narrow(text);
    }

    static bool isMapped(const std::string& iPath)
    {
        return countLines("/proc/self/maps", iPath) > 0;
    }

    TempDir dir;
    std::unique_ptr<PLibrary> library;
};

std::string fixed(const wchar_t* iName)
{
    PString name(iName);
    EXPECT_EQ(0, PLibrary::fixLibName(name));
    return narrow(name);
}
} // namespace

TEST_F(LibraryTest, SymbolsOfALoadedLibraryAreFound)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));
    auto* const answer = reinterpret_cast<int (*)()>(library->getFunction("testAnswer"));

    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(42, answer());
}

TEST_F(LibraryTest, MissingSymbolIsNull)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));

    EXPECT_EQ(nullptr, library->getFunction("_Z13ixlaGetPluginv"));
    EXPECT_EQ(nullptr, library->getFunction(nullptr));
}

TEST_F(LibraryTest, NameIsThePathItWasLoadedFrom)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));

    EXPECT_EQ(IXLAL_TEST_LIBRARY, narrow(library->getName()));
}

TEST_F(LibraryTest, SymbolsAreOfferedToNobodyElse)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));

    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "testShared"));
}

TEST_F(LibraryTest, DestroyingClosesTheLibrary)
{
    const std::string path = copy(IXLAL_TEST_LIBRARY);
    ASSERT_EQ(0, load(path));
    EXPECT_TRUE(isMapped(path));
    library.reset();

    EXPECT_FALSE(isMapped(path));
}

TEST_F(LibraryTest, LibraryThatIsNotFreedStaysMapped)
{
    const std::string path = copy(IXLAL_TEST_LIBRARY);
    ASSERT_EQ(0, load(path, false));
    library.reset();

    EXPECT_TRUE(isMapped(path));
}

TEST_F(LibraryTest, BareNameMeansTheWorkingDirectory)
{
    copy(IXLAL_TEST_LIBRARY, "libbare.so");
    fs::current_path(dir.path());

    EXPECT_EQ(0, load("libbare.so"));
}

TEST_F(LibraryTest, BareNameIsNeverSearchedFor)
{
    fs::current_path(dir.path());

    EXPECT_EQ(-2, load("libc.so.6"));
}

TEST_F(LibraryTest, MissingFileIsReportedWithTheReason)
{
    EXPECT_EQ(-2, load(dir.file("libnone.so")));
    EXPECT_THAT(loadError(), testing::HasSubstr("libnone.so"));
}

TEST_F(LibraryTest, FileThatIsNoLibraryIsReportedWithTheReason)
{
    EXPECT_EQ(-8, load(dir.write("libtext.so", "no library at all")));
    EXPECT_THAT(loadError(), testing::HasSubstr("libtext.so"));
}

TEST_F(LibraryTest, MissingSymbolOfALibraryRefusesItAtOnce)
{
    EXPECT_EQ(-8, load(IXLAL_BROKEN_LIBRARY));
    EXPECT_THAT(loadError(), testing::HasSubstr("symbolThatNobodyDefines"));
}

TEST_F(LibraryTest, LibraryThatIsCutShortIsReportedWithTheReason)
{
    const std::string path = copy(IXLAL_TEST_LIBRARY);
    fs::resize_file(path, 5000);

    EXPECT_EQ(-8, load(path));
    EXPECT_EQ("file is cut short", loadError());
}

TEST_F(LibraryTest, EveryHeaderThatIsCutShortIsReported)
{
    const std::string bytes = readFile(IXLAL_TEST_LIBRARY);
    for (std::size_t length = 0; length < 600; ++length)
    {
        EXPECT_EQ(-8, load(dir.write("libcut.so", bytes.substr(0, length)))) << length;
    }
}

TEST_F(LibraryTest, PathWithZeroIsRefused)
{
    PLibrary* loaded = nullptr;

    EXPECT_EQ(-22, PLibrary::load(PString(L"lib\0.so", 7), loaded, true));
    EXPECT_NE("", loadError());
    EXPECT_EQ(nullptr, loaded);
}

TEST_F(LibraryTest, FailureLeavesTheOutArgumentAsItWas)
{
    PLibrary* const before = reinterpret_cast<PLibrary*>(&dir);
    PLibrary* loaded = before;

    EXPECT_EQ(-2, PLibrary::load(dir.wideFile("none"), loaded, true));
    EXPECT_EQ(before, loaded);
}

TEST_F(LibraryTest, EachThreadKeepsItsOwnReason)
{
    EXPECT_EQ(-2, load(dir.file("libmine.so")));
    std::string other = "untouched";
    std::thread([&other] { other = loadError(); }).join();

    EXPECT_EQ("", other);
    EXPECT_THAT(loadError(), testing::HasSubstr("libmine.so"));
}

TEST_F(LibraryTest, ReasonThatIsTooLongIsCut)
{
    EXPECT_EQ(-36, load("/" + std::string(3000, 'x')));
    EXPECT_GT(loadError().size(), 500u);
    EXPECT_LT(loadError().size(), 3000u);
}

TEST(LibraryName, EndingInSoStays)
{
    EXPECT_EQ("one.so", fixed(L"one.so"));
    EXPECT_EQ("libone.so", fixed(L"libone.so"));
    EXPECT_EQ(".so", fixed(L".so"));
}

TEST(LibraryName, GetsWhatItLacks)
{
    EXPECT_EQ("libone.so", fixed(L"one"));
    EXPECT_EQ("libone.so", fixed(L"libone"));
    EXPECT_EQ("libLibone.so", fixed(L"Libone"));
    EXPECT_EQ("libone.SO.so", fixed(L"one.SO"));
    EXPECT_EQ("libone.so.1.so", fixed(L"one.so.1"));
    EXPECT_EQ("lib.so", fixed(L""));
}
