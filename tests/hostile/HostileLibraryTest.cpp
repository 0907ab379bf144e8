// SPDX-License-Identifier: MIT
#include "hostile/HostileTest.h"
#include "support/Deadline.h"
#include "support/OpenWatch.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace
{
class HostileLibrary : public HostileTest
{
protected:
    /// Copies the first iLength bytes of alpha's library to plugins/.
    void addCut(std::size_t iLength)
    {
        // A new file, because the previous one may still be mapped.
        fs::remove(fCore.dir.path() / "plugins" / "libcut.so");
        fCore.dir.write("plugins/libcut.so", fAlpha.substr(0, iLength));
    }

    /// The end of the headers, the end of every page, and the last byte before the end of the
    /// mapped segments.
    std::vector<std::size_t> cuts() const
    {
        std::vector<std::size_t> lengths;
        for (std::size_t length = 0; length < 512; length += 13)
        {
            lengths.push_back(length);
        }
        for (std::size_t length = 512; length < fAlpha.size(); length += 4096)
        {
            lengths.push_back(length - 1);
            lengths.push_back(length);
            lengths.push_back(length - length % 4096 + 4096);
        }
        return lengths;
    }

    /// Starts the core, which must fail with -8 and the loader's reason in the log.
    void expectRefused(const std::string& iFile, const std::string& iReason)
    {
        EXPECT_EQ(-8, fCore.start());
        const std::string path = fCore.dir.file("plugins/" + iFile);
        EXPECT_EQ(
            1, fCore.logCount("E Core [loadPluginLib] Cannot load library: " + path + " reason: "));
        EXPECT_EQ(1, fCore.logCount(iReason));
        EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to load lib err: -8"));
        EXPECT_EQ(eIxlaCoreNotStarted, ixlaStop());
    }

    std::string fAlpha = readFile(IXLAL_TEST_PLUGINS "/alpha/libalpha.so");
};

TEST_F(HostileLibrary, EmptyFileIsRefused)
{
    fCore.dir.write("plugins/empty.so", "");
    expectRefused("empty.so", "file too short");
}

TEST_F(HostileLibrary, TextFileIsRefused)
{
    fCore.dir.write("plugins/text.so", std::string(10000, 'x'));
    expectRefused("text.so", "invalid ELF header");
}

TEST_F(HostileLibrary, NamedPipeIsRefusedWithoutOpening)
{
    const std::string path = fCore.dir.file("plugins/pipe.so");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const OpenWatch watch(path);
    const Deadline deadline;
    expectRefused("pipe.so", "reason: not a regular file");
    EXPECT_FALSE(watch.wasOpened());
}

TEST_F(HostileLibrary, LinkToADeviceIsRefused)
{
    fs::create_symlink("/dev/zero", fCore.dir.path() / "plugins" / "zero.so");
    const Deadline deadline;
    expectRefused("zero.so", "reason: not a regular file");
}

TEST_F(HostileLibrary, LibraryWithoutAFactoryIsSkippedDespiteAFactoryInADependency)
{
    fCore.addPlugin("service");
    fCore.addPlugin("borrower");
    EXPECT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("D Core [startFlow] Library is not a plugin ignore it: " +
                                fCore.dir.file("plugins/libborrower.so")));
    EXPECT_EQ(1, fCore.logCount("D Core [loadPluginLib] Get IPlugin ptr: "));
    EXPECT_EQ(0, request("test.service"));
}

TEST_F(HostileLibrary, FactoryOfADependencyRegistersNothing)
{
    fCore.addPlugin("borrower");
    EXPECT_EQ(0, fCore.start());
    EXPECT_EQ(eIxlaUnknownInterface, request("test.service"));
}

TEST_F(HostileLibrary, LibraryOfTheOtherWordSizeIsRefused)
{
    fCore.addPlugin("other_bits");
    expectRefused("libother_bits.so", "wrong ELF class");
}

TEST_F(HostileLibrary, TruncatedLibraryIsRefused)
{
    addCut(4096);
    expectRefused("libcut.so", "file is cut short");
}

TEST_F(HostileLibrary, LibraryTruncatedAnywhereIsRefusedOrWorks)
{
    int refused = 0;
    int working = 0;
    for (const std::size_t length : cuts())
    {
        addCut(length);
        const int result = fCore.start();
        if (result == 0)
        {
            // Only parts that the loader does not need are missing.
            EXPECT_EQ(0, request("test.alpha")) << length;
            EXPECT_EQ(0, fCore.stop()) << length;
            ++working;
            continue;
        }
        EXPECT_EQ(-8, result) << length;
        ++refused;
    }
    EXPECT_LT(40, refused);
    EXPECT_LT(0, working);
    addCut(fAlpha.size());
    EXPECT_EQ(0, fCore.start());
    EXPECT_TRUE(stopsCleanly());
}

#if !defined(__SANITIZE_THREAD__)
TEST_F(HostileLibrary, ExceptionOutOfAStaticConstructorEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a forked child cannot use a core
    fCore.addPlugin("early");
    PluginHooks::on("early.mapping", []() -> int { throw std::runtime_error("not today"); });
    EXPECT_DEATH(fCore.start(), "not today");
}

TEST_F(HostileLibrary, OverwrittenTablesEndTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // as above
    // The headers stay; the rest, which the loader reads, is removed.
    const std::size_t begin = 512;
    std::string damaged = fAlpha;
    damaged.replace(begin, damaged.size() - begin, damaged.size() - begin, '\xff');
    fCore.dir.write("plugins/libdamaged.so", damaged);
    EXPECT_DEATH(fCore.start(), "");
}

TEST_F(HostileLibrary, LoaderCrashesOnATruncatedLibrary)
{
    addCut(4096);
    const std::string path = fCore.dir.file("plugins/libcut.so");
    EXPECT_DEATH(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL), "");
}
#endif
} // namespace
