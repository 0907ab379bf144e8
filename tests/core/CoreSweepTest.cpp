// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "support/CoreRun.h"
#include "support/FileSweep.h"
#include "support/PluginHooks.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/resource.h>

using testing::AnyOf;
using testing::IsEmpty;

namespace
{
/// Starts the core with a property file, a log with parts, a plugin and a store.
class Starting : public FileScenario
{
public:
    Starting()
    {
        const std::string properties = fCore.dir.write("core.prs", "core.log.maxcount = 1000\n");
        fCore.set("core.prs.file", properties);
        fCore.set("core.log.file", fCore.dir.file("log/of/core.log"));
        fCore.set("core.log.parts", "2");
        fCore.addPlugin("alpha");
        fCore.writeManagerConfig("net = net.prs");
        fCore.writeConfig("net.prs", "own = 1");
        fCore.writeConfig("store.txt", "net|port = 90\n");
    }

    int operate() override
    {
        return fCore.start();
    }

    /// Only a failure of the property file is an error (-1005). A plugins' directory that cannot be
    /// listed has no plugins, and logs that cannot be opened are written later.
    bool admits(const FilePoint& iPoint, int iResult) const override
    {
        const bool isNeeded = !iPoint.isHarmless() && iPoint.is(*iPoint.call, "core.prs") &&
                              (iPoint.is(FileFaults::open) || iPoint.is(FileFaults::state));
        return iResult == (isNeeded ? -1005 : 0) || (iPoint.lasts && iResult == -1005);
    }

    std::string examine(const FilePoint& iPoint, int iResult) override
    {
        return iResult == 0 ? examineServices(iPoint) : "";
    }

    int repeat() override
    {
        const int stopped = fCore.stop();
        const int started = fCore.start();
        return stopped == 0 || stopped == -1002 ? started : stopped;
    }

    std::string examineRepeated() override
    {
        IConfigManager* const manager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        const bool loads = manager && manager->loadByID(L"net", fConfig) == 0;
        PString own;
        PString port;
        const bool isRight = loads && fConfig->getString(L"own", own) == 0 &&
                             fConfig->getString(L"port", port) == 0 &&
                             fCore.get<IBase>(L"test.alpha") != nullptr &&
                             PluginHooks::count("alpha.init") > 0;
        fConfig.clear();
        return isRight ? "" : "a core without its files";
    }

    int keptOpen() const override
    {
        // The core's log and the plugins' log.
        return 2;
    }

private:
    std::string examineServices(const FilePoint& iPoint)
    {
        IConfigManager* const manager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        IEventDispatcher* const dispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        if (!manager || !dispatcher || manager->setString(L"net", L"k", L"1") != 0 ||
            manager->loadByID(L"net", fConfig) != 0 ||
            !mayBe(manager->storeString(L"net", L"k", L"1"), iPoint))
        {
            return "a core without services";
        }
        fConfig.clear();
        return examineLog(iPoint);
    }

    /// A manager's configuration that is read in part may lack the name of the store.
    static bool mayBe(int iStored, const FilePoint& iPoint)
    {
        const bool wasCut = iPoint.is(FileFaults::read, "ixlap.configmanager.prs") ||
                            (iPoint.is(FileFaults::read) && iPoint.lasts);
        return iStored == 0 || (wasCut && !iPoint.isHarmless() && iStored == -3003);
    }

    /// The core's log reports lines that could not be written.
    std::string examineLog(const FilePoint& iPoint)
    {
        const std::string log = fCore.dir.file("log/of/core.log");
        const bool lost = iPoint.is(FileFaults::write, "core.log") && !iPoint.isHarmless();
        fCore.get<IBase>(L"no.such.interface");
        return !lost || countLines(log, "Lost lines: ") > 0 ? "" : "a log that is silent";
    }

    CoreRun fCore;
    PBaseptr<IConfig> fConfig;
};

/// Limits the number of descriptors that can be opened until the end of its scope.
class HandleLimit
{
public:
    explicit HandleLimit(int iMore)
    {
        getrlimit(RLIMIT_NOFILE, &fBefore);
        rlimit limit = fBefore;
        limit.rlim_cur = static_cast<rlim_t>(firstBeyond(iMore));
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    ~HandleLimit()
    {
        setrlimit(RLIMIT_NOFILE, &fBefore);
    }

private:
    /// The limit with iMore unused descriptors below it.
    static int firstBeyond(int iMore)
    {
        int number = 0;
        for (int unused = 0; unused < iMore || isOpen(number); ++number)
        {
            unused += !isOpen(number);
        }
        return number;
    }

    static bool isOpen(int iHandle)
    {
        return fcntl(iHandle, F_GETFD) >= 0;
    }

    rlimit fBefore{};
};

/// Makes one kind of call fail.
class CoreFileSweep : public testing::TestWithParam<std::string>
{
};
} // namespace

TEST_P(CoreFileSweep, StartRequiresOnlyThePropertyFile)
{
    FileSweep sweep("ixlaStart, " + GetParam(), [] { return std::make_unique<Starting>(); });
    EXPECT_THAT(sweep.run({FileFaults::find(GetParam())}), IsEmpty());
    EXPECT_GE(sweep.points(), 9);
}

INSTANTIATE_TEST_SUITE_P(Calls, CoreFileSweep,
                         testing::Values("open", "read", "close", "stat", "mkdir", "opendir",
                                         "readdir"),
                         [](const auto& iInfo) { return iInfo.param; });

// By far the most calls, and for the thread sanitizer no others than above.
#if !defined(__SANITIZE_THREAD__)
INSTANTIATE_TEST_SUITE_P(Writes, CoreFileSweep, testing::Values("write"),
                         [](const auto& iInfo) { return iInfo.param; });
#endif

TEST(CoreFileReading, ReadErrorsAreLoggedWithTheLine)
{
    CoreRun core;
    core.writeManagerConfig("net = net.prs");
    core.writeConfig("net.prs", "short = 1\nlong = " + std::string(20000, 'x'));
    core.writeConfig("store.txt", "net|long = " + std::string(20000, 'x'));
    ASSERT_EQ(core.start(), 0);
    const PBaseptr<IConfigManager> manager(core.get<IConfigManager>(kIxlaConfigManagerId));
    PBaseptr<IConfig> config;
    ASSERT_EQ(manager->loadByID(L"net", config), 0);

    // The second part of each file.
    FileFaults::read.arm(EIO, 1, 1);
    EXPECT_EQ(manager->loadByID(L"net", config), 0);
    FileFaults::read.arm(EIO, 1, 1);
    EXPECT_EQ(manager->removeStoredKey(L"net", L"other"), 0);
    FileFaults::disarm();

    const std::string log = core.pluginLogFile();
    EXPECT_EQ(countLines(log, " E pgs [appendByID] Stopped reading file path(" +
                                  core.dir.file("config/net.prs") + ") line: 2 err: -5"),
              1);
    EXPECT_EQ(countLines(log, " E pgs [nl_loadStore] Failed to load store file: (" +
                                  core.storeFile() + ") line: 1 err: -5"),
              1);
}

TEST(CoreFileReading, StoreWithoutReadPermissionIsLogged)
{
    CoreRun core;
    core.writeConfig("store.txt", "net|k = 1\n");
    ASSERT_EQ(core.start(), 0);
    const PBaseptr<IConfigManager> manager(core.get<IConfigManager>(kIxlaConfigManagerId));
    PBaseptr<IConfig> config;
    ASSERT_EQ(manager->loadByID(L"net", config), 0);

    FileFaults::open.arm(EACCES);
    EXPECT_EQ(manager->removeStoredKey(L"net", L"k"), -13);
    FileFaults::disarm();

    EXPECT_EQ(
        countLines(core.pluginLogFile(), " E pgs [nl_loadStore] Failed to load store file: (" +
                                             core.storeFile() + ") line: 0 err: -13"),
        1);
}

TEST(CoreDescriptors, StartWithFewDescriptorsLeaksNoneAndSucceedsLater)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors of its own to look at objects";
#endif
    const int handles = countHandles();
    int more = 0;
    bool started = false;
    // The first start with enough descriptors has the plugin and both logs.
    for (; !started && more < 50; ++more)
    {
        Starting scenario;
        int result = 0;
        {
            const HandleLimit limit(more);
            result = scenario.operate();
        }
        started = result == 0 && scenario.examineRepeated().empty();
        EXPECT_THAT(result, AnyOf(0, -EMFILE, -1005)) << more;
        EXPECT_EQ(scenario.repeat(), 0) << more;
        EXPECT_EQ(scenario.examineRepeated(), "") << more;
    }
    EXPECT_TRUE(started);
    EXPECT_GE(more, 3);
    EXPECT_EQ(countHandles(), handles);
    std::printf("[   SWEPT  ] ixlaStart: %d numbers of free descriptors\n", more);
}
