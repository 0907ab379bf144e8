// SPDX-License-Identifier: MIT
#include "portinglayer/PLibrary.h"
#include "support/Deadline.h"
#include "support/OpenWatch.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <type_traits>

namespace fs = std::filesystem;

namespace
{
const std::string kCutShort = "file is cut short";

// The ELF types of the word size of the test.
typedef std::conditional_t<sizeof(void*) == 4, Elf32_Ehdr, Elf64_Ehdr> ElfHeader;
typedef std::conditional_t<sizeof(void*) == 4, Elf32_Phdr, Elf64_Phdr> ElfSegment;
typedef decltype(ElfSegment::p_offset) ElfOffset;

class LibraryTest : public testing::Test
{
protected:
    /// A copy of a built library; with another name the loader treats it as another library.
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

    /// The reason why a library of headers with one segment is refused.
    std::string errorOfSegment(ElfOffset iOffset, ElfOffset iSize)
    {
        const std::string built = readFile(IXLAL_TEST_LIBRARY);
        ElfHeader header = {};
        ElfSegment segment = {};
        built.copy(reinterpret_cast<char*>(&header), sizeof header);
        header.e_phoff = sizeof header;
        header.e_phnum = 1;
        segment.p_type = PT_LOAD;
        segment.p_offset = iOffset;
        segment.p_filesz = iSize;
        const std::string path =
            dir.write("libsegment.so",
                      std::string(reinterpret_cast<const char*>(&header), sizeof header) +
                          std::string(reinterpret_cast<const char*>(&segment), sizeof segment));
        EXPECT_EQ(-8, load(path));
        return loadError();
    }

    void makePipe(const std::string& iName)
    {
        ASSERT_EQ(0, mkfifo(dir.file(iName).c_str(), 0600));
    }

    void makeSocket(const std::string& iName)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        dir.file(iName).copy(address.sun_path, sizeof address.sun_path - 1);
        const int handle = socket(AF_UNIX, SOCK_STREAM, 0);
        EXPECT_EQ(0, bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        close(handle);
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

TEST_F(LibraryTest, LoadingDoesNotMistakeAnEarlierInterruption)
{
    errno = EINTR;

    EXPECT_EQ(0, load(IXLAL_TEST_LIBRARY));
}

TEST_F(LibraryTest, MissingSymbolIsNull)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));

    EXPECT_EQ(nullptr, library->getFunction("_Z13ixlaGetPluginv"));
    EXPECT_EQ(nullptr, library->getFunction(nullptr));
}

TEST_F(LibraryTest, SymbolOfALibraryThatItNeedsIsNotItsOwn)
{
    ASSERT_EQ(0, load(IXLAL_DEPENDENT_LIBRARY));

    EXPECT_NE(nullptr, library->getFunction("testDependent"));
    EXPECT_EQ(nullptr, library->getFunction("testAnswer"));
}

TEST_F(LibraryTest, OwnSymbolIsFoundBeforeThatOfALibraryThatItNeeds)
{
    ASSERT_EQ(0, load(IXLAL_DEPENDENT_LIBRARY));
    auto* const shared = reinterpret_cast<int (*)()>(library->getFunction("testShared"));

    ASSERT_NE(nullptr, shared);
    EXPECT_EQ(2, shared());
}

TEST_F(LibraryTest, OtherNameOfAnOwnSymbolIsFound)
{
    ASSERT_EQ(0, load(IXLAL_DEPENDENT_LIBRARY));

    EXPECT_EQ(library->getFunction("testDependent"), library->getFunction("testAlias"));
}

TEST_F(LibraryTest, SymbolsAreFoundInALibraryThatIsLoadedTwice)
{
    fs::create_symlink(IXLAL_TEST_LIBRARY, dir.path() / "link.so");
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));
    const std::unique_ptr<PLibrary> first = std::move(library);
    ASSERT_EQ(0, load(dir.file("link.so")));

    ASSERT_NE(nullptr, library->getFunction("testAnswer"));
    EXPECT_EQ(first->getFunction("testAnswer"), library->getFunction("testAnswer"));
}

TEST_F(LibraryTest, NameIsThePathItWasLoadedFrom)
{
    ASSERT_EQ(0, load(IXLAL_TEST_LIBRARY));

    EXPECT_EQ(IXLAL_TEST_LIBRARY, narrow(library->getName()));
}

TEST_F(LibraryTest, SymbolsAreNotVisibleToOtherLibraries)
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

TEST_F(LibraryTest, BareNameIsNotSearched)
{
    fs::current_path(dir.path());

    EXPECT_EQ(-2, load("libc.so.6"));
}

TEST_F(LibraryTest, MissingFileIsReportedWithTheReason)
{
    EXPECT_EQ(-2, load(dir.file("libnone.so")));
    EXPECT_THAT(loadError(), testing::HasSubstr("libnone.so"));
}

TEST_F(LibraryTest, FileThatIsNotALibraryIsReportedWithTheReason)
{
    EXPECT_EQ(-8, load(dir.write("libtext.so", "no library at all")));
    EXPECT_THAT(loadError(), testing::HasSubstr("libtext.so"));
}

TEST_F(LibraryTest, MissingSymbolOfALibraryRefusesItAtOnce)
{
    EXPECT_EQ(-8, load(IXLAL_BROKEN_LIBRARY));
    EXPECT_THAT(loadError(), testing::HasSubstr("symbolThatNobodyDefines"));
}

TEST_F(LibraryTest, TruncatedLibraryIsReportedWithTheReason)
{
    const std::string path = copy(IXLAL_TEST_LIBRARY);
    fs::resize_file(path, 1000); // the headers, but not all segments

    EXPECT_EQ(-8, load(path));
    EXPECT_EQ(kCutShort, loadError());
}

TEST_F(LibraryTest, SegmentMayEndAtTheEndOfTheFileButNotAfterIt)
{
    const ElfOffset size = sizeof(ElfHeader) + sizeof(ElfSegment);

    EXPECT_NE(kCutShort, errorOfSegment(0, size));
    EXPECT_EQ(kCutShort, errorOfSegment(0, size + 1));
    EXPECT_NE(kCutShort, errorOfSegment(size - 1, 1));
    EXPECT_EQ(kCutShort, errorOfSegment(size - 1, 2));
    EXPECT_NE(kCutShort, errorOfSegment(size, 0));
    EXPECT_EQ(kCutShort, errorOfSegment(size + 1, 0));
}

TEST_F(LibraryTest, EveryTruncatedHeaderIsReported)
{
    const std::string bytes = readFile(IXLAL_TEST_LIBRARY);
    for (std::size_t length = 0; length < 600; ++length)
    {
        EXPECT_EQ(-8, load(dir.write("libcut.so", bytes.substr(0, length)))) << length;
    }
}

TEST_F(LibraryTest, FileThatIsNotRegularIsRefusedWithoutOpening)
{
    makePipe("pipe.so");
    makeSocket("socket.so");
    fs::create_directory(dir.path() / "directory.so");
    fs::create_symlink("pipe.so", dir.path() / "link.so");
    fs::create_symlink("/dev/null", dir.path() / "device.so");
    const Deadline deadline;
    for (const char* name : {"pipe.so", "socket.so", "directory.so", "link.so", "device.so"})
    {
        const OpenWatch watch(dir.file(name));
        ASSERT_TRUE(watch.watches()) << name;
        EXPECT_EQ(-8, load(dir.file(name))) << name;
        EXPECT_EQ("not a regular file", loadError()) << name;
        EXPECT_FALSE(watch.wasOpened()) << name;
    }
}

TEST_F(LibraryTest, LinkToALibraryIsLoaded)
{
    fs::create_symlink(IXLAL_TEST_LIBRARY, dir.path() / "link.so");

    EXPECT_EQ(0, load(dir.file("link.so")));
}

TEST_F(LibraryTest, BrokenLinkIsReportedWithTheReason)
{
    fs::create_symlink("libnone.so", dir.path() / "link.so");

    EXPECT_EQ(-2, load(dir.file("link.so")));
    EXPECT_THAT(loadError(), testing::HasSubstr("link.so"));
}

TEST_F(LibraryTest, PathWithZeroIsRefused)
{
    PLibrary* loaded = nullptr;

    EXPECT_EQ(-22, PLibrary::load(PString(L"lib\0.so", 7), loaded, true));
    EXPECT_NE("", loadError());
    EXPECT_EQ(nullptr, loaded);
}

TEST_F(LibraryTest, FailureDoesNotChangeTheOutArgument)
{
    PLibrary* const before = reinterpret_cast<PLibrary*>(&dir);
    PLibrary* loaded = before;

    EXPECT_EQ(-2, PLibrary::load(dir.wideFile("none"), loaded, true));
    EXPECT_EQ(before, loaded);
}

TEST_F(LibraryTest, EachThreadHasItsOwnReason)
{
    EXPECT_EQ(-2, load(dir.file("libmine.so")));
    std::string other = "untouched";
    std::thread([&other] { other = loadError(); }).join();

    EXPECT_EQ("", other);
    EXPECT_THAT(loadError(), testing::HasSubstr("libmine.so"));
}

TEST_F(LibraryTest, LongReasonIsTruncated)
{
    EXPECT_EQ(-36, load("/" + std::string(3000, 'x')));
    EXPECT_GT(loadError().size(), 500u);
    EXPECT_LT(loadError().size(), 3000u);
}

TEST(LibraryName, WithSoEndingIsUnchanged)
{
    EXPECT_EQ("one.so", fixed(L"one.so"));
    EXPECT_EQ("libone.so", fixed(L"libone.so"));
    EXPECT_EQ(".so", fixed(L".so"));
}

TEST(LibraryName, GetsMissingParts)
{
    EXPECT_EQ("libone.so", fixed(L"one"));
    EXPECT_EQ("libone.so", fixed(L"libone"));
    EXPECT_EQ("libLibone.so", fixed(L"Libone"));
    EXPECT_EQ("libone.SO.so", fixed(L"one.SO"));
    EXPECT_EQ("libone.so.1.so", fixed(L"one.so.1"));
    EXPECT_EQ("lib.so", fixed(L""));
}
