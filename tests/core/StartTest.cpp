// SPDX-License-Identifier: MIT
#include "IConfig.h"
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "core/LogOrder.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/Texts.h"
#include "support/UnreadStream.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>

namespace
{
class Start : public testing::Test
{
protected:
    ~Start() override
    {
        PortFaults::reset();
    }

    /// The run-time value that the core has published for a key; "(none)" without one.
    std::string published(const wchar_t* iKey)
    {
        IConfigManager* manager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        PBaseptr<IConfig> config;
        PString value;
        if (!manager || manager->loadByID(kIxlaGlobalConfigId, config) != 0 ||
            config->getString(iKey, value) != 0)
        {
            return "(none)";
        }
        return narrow(value);
    }

    int errors() const
    {
        return fCore.logCount(" E Core ");
    }

    CoreRun fCore;
};

TEST_F(Start, WithoutArgumentsIsRefused)
{
    const PString argument(L"a=b");
    EXPECT_EQ(-502, ixlaStart(&argument, 0));
    EXPECT_EQ(-502, ixlaStart(nullptr, 1));
    EXPECT_EQ(-1002, ixlaStop());
}

TEST_F(Start, BadMaximumCountIsIgnored)
{
    fCore.set("core.log.maxcount", "many");
    EXPECT_EQ(0, fCore.start());
}

TEST_F(Start, BadCoreArgumentsAreRefused)
{
    const char* const rows[][2] = {
        {"core.log.maxsize", "-1"}, {"core.log.maxsize", "big"}, {"core.log.parts", "-2"},
        {"core.log.parts", "x"},    {"core.log.level", "high"},  {"core.log.enable", "maybe"},
    };
    for (const auto& row : rows)
    {
        CoreRun core;
        core.set(row[0], row[1]);
        EXPECT_EQ(-502, core.start()) << row[0] << '=' << row[1];
    }
}

TEST_F(Start, NegativeLogLevelIsAccepted)
{
    fCore.set("core.log.level", "-1");
    EXPECT_EQ(0, fCore.start());
    EXPECT_EQ(0, fCore.logCount(" D Core "));
}

TEST_F(Start, PluginsDirThatCannotBeStoredIsRefused)
{
    PortFaults::stringSet.armOnThisThread(-12);
    EXPECT_EQ(-502, fCore.start());
    EXPECT_LT(0, PortFaults::stringSet.hits());
}

TEST_F(Start, ArgumentsWithoutSeparatorAreSkippedByTheCoreButNotByTheConfiguration)
{
    const PString argument(L"no separator");
    EXPECT_EQ(-1005, ixlaStart(&argument, 1));
}

TEST_F(Start, WithoutLogFileNoLogIsWritten)
{
    setenv("LOG_IXLACORE", "1", 1);
    fCore.erase("core.log.file");
    testing::internal::CaptureStderr();
    ASSERT_EQ(0, fCore.start());
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(std::filesystem::exists(fCore.logFile()));
    EXPECT_EQ("\n[iXLA] Core started.\n\n[iXLA] Plugins initialized.\n\n", shown);
}

TEST_F(Start, BannersWithoutAReaderDoNotEndTheProcess)
{
    UnreadStream stream(UnreadStream::ePipe);
    stream.closeReader();

    EXPECT_EQ(0, fCore.start());

    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(0, sigismember(&pending, SIGPIPE));
}

TEST_F(Start, UnreadBannersDoNotBlockIt)
{
    setenv("LOG_IXLACORE", "1", 1);
    UnreadStream stream(UnreadStream::ePipe);
    stream.fill();
    auto started = std::async(std::launch::async, [this] { return fCore.start(); });

    const bool isSoon = started.wait_for(std::chrono::seconds(30)) == std::future_status::ready;

    stream.closeReader();
    EXPECT_TRUE(isSoon);
    EXPECT_EQ(0, started.get());
}

TEST_F(Start, EnvironmentVariableShowsTheLogOnTheConsole)
{
    setenv("LOG_IXLACORE", "", 1);
    testing::internal::CaptureStderr();
    ASSERT_EQ(0, fCore.start());
    EXPECT_NE(std::string::npos,
              testing::internal::GetCapturedStderr().find("[startFlow] Logger initialized."));
}

TEST_F(Start, LogListsTheSteps)
{
    fCore.set("core.autostart.list", "nobody");
    fCore.set("core.load.plugin.list", "one, libtwo.so");
    ASSERT_EQ(0, fCore.start());
    const char* const lines[] = {
        "D Core **************************************************",
        "D Core [startFlow] Logger initialized.",
        "D Core [startFlow] Core v3.3.32",
        "D Core [startFlow] Loading core prs: ",
        "D Core [startFlow] Parse loadPluginsList: one, libtwo.so",
        "D Core [startFlow] Add to load list pluginName: one",
        "D Core [startFlow] Add to load list pluginName: libtwo.so",
        "D Core [startFlow] Mark that core is started",
        "I Core [startFlow] Get autostart list: nobody",
        "D Core [startFlow] Process autostart plugin name: nobody",
        "I Core [initAutoStartPlugin] Init autostart iPluginName: libnobody.so",
        "D Core [startFlow] Sending event: event.core.start",
        "D Core [startFlow] Free mem: ",
        "I Core [startFlow] Proc mem Start flow end: ",
        "D Core [startFlow] Done.",
    };
    for (const char* line : lines)
    {
        EXPECT_LE(1, fCore.logCount(line)) << line;
    }
    EXPECT_EQ(1, fCore.logCount("D Core [startFlow] Loading plugins from dir: " +
                                fCore.dir.file("plugins") + ", filter: *.so"));
    EXPECT_EQ(0, errors());
}

TEST_F(Start, MissingAutostartListIsLogged)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("D Core [startFlow] No autostart property res: -504"));
}

TEST_F(Start, ArgumentOverridesThePropertyFile)
{
    fCore.set("core.prs.file", fCore.dir.write("core.prs", "custom.config.a = file\n"
                                                           "custom.config.b = file\n"));
    fCore.set("custom.config.b", "argument");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ("file", published(L"custom.config.a"));
    EXPECT_EQ("argument", published(L"custom.config.b"));
}

TEST_F(Start, BackslashesOfPathsBecomeSlashes)
{
    fCore.dir.write("sub/core.prs", "custom.config.a = read\n");
    fCore.set("core.prs.file", fCore.dir.file("sub\\core.prs"));
    fCore.set("core.log.file", fCore.dir.file("sub\\core.log"));
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ("read", published(L"custom.config.a"));
    EXPECT_TRUE(std::filesystem::exists(fCore.dir.file("sub/core.log")));
}

TEST_F(Start, BackslashesOfThePluginsDirectoryStay)
{
    const std::string plugins = fCore.dir.file("odd\\name");
    fCore.addPlugin("alpha");
    std::filesystem::rename(fCore.dir.file("plugins"), plugins);
    fCore.set("core.plugins.dir", plugins);
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(4, fCore.logCount("D Core [processPlugin] Add corePlugin: "));
}

TEST_F(Start, MissingPropertyFileIsRefused)
{
    fCore.set("core.prs.file", fCore.dir.file("nowhere.prs"));
    EXPECT_EQ(-1005, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to load core config err: -2"));
}

TEST_F(Start, BrokenPropertyFileIsRefused)
{
    fCore.set("core.prs.file", fCore.dir.write("core.prs", "no separator\n"));
    EXPECT_EQ(-1005, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to load core config err: -3001"));
}

TEST_F(Start, BrokenArgumentAfterAPropertyFileIsRefused)
{
    const std::string file = fCore.dir.write("core.prs", "custom.config.a = file\n");
    const PString arguments[] = {wide("core.prs.file=" + file), L"no separator"};
    EXPECT_EQ(-1005, ixlaStart(arguments, 2));
}

TEST_F(Start, LastFailedDefaultWriteIsRefused)
{
    // The enable flag is written last and needs no conversion: the failing one is the write before.
    fCore.set("core.plugins.log.enable", "true");
    PortFaults::int32ToStr.armOnThisThread(-75);
    EXPECT_EQ(-1005, fCore.start());
    EXPECT_EQ(4, PortFaults::int32ToStr.hits());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to load core config err: -75"));
}

TEST_F(Start, FailedDefaultWriteBeforeASuccessfulOnePasses)
{
    fCore.erase("core.plugins.log.enable");
    PortFaults::int32ToStr.armOnThisThread(-75);
    EXPECT_EQ(0, fCore.start());
    EXPECT_EQ(4, PortFaults::int32ToStr.hits());
}

TEST_F(Start, WithoutPluginsDirIsRefusedAfterTheServicesAreSetUp)
{
    fCore.erase("core.plugins.dir");
    EXPECT_EQ(-1006, fCore.start());
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log dir: "));
    EXPECT_EQ(1,
              fCore.logCount("E Core [startFlow] Failed to get from config plugins dir err: -504"));
}

TEST_F(Start, EmptyPluginsDirIsRefused)
{
    fCore.set("core.plugins.dir", "");
    EXPECT_EQ(-1006, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Plugins dir not set."));
}

TEST_F(Start, PluginsDirMayComeFromThePropertyFile)
{
    fCore.addPlugin("alpha");
    fCore.erase("core.plugins.dir");
    fCore.set("core.prs.file",
              fCore.dir.write("core.prs", "core.plugins.dir = " + fCore.dir.file("plugins")));
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.alpha"));
}

TEST_F(Start, UnreadablePluginsDirIsLoggedAndTheStartContinues)
{
    fCore.set("core.plugins.dir", fCore.dir.file("nowhere"));
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to read plugins dir: " +
                                fCore.dir.file("nowhere") + " err: -2"));
}

TEST_F(Start, LibraryWithoutFactoryIsSkipped)
{
    fCore.addPlugin("no_factory");
    fCore.addPlugin("twice");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, fCore.logCount("D Core [startFlow] Library is not a plugin ignore it: " +
                                fCore.dir.file("plugins/libno_factory.so")));
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to get plugin function from lib"));
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.twice"));
}

TEST_F(Start, FileThatIsNotALibraryEndsTheStart)
{
    fCore.dir.write("plugins/broken.so", "text");
    fCore.addPlugin("twice", "zz");
    EXPECT_EQ(-8, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to load lib err: -8"));
    EXPECT_EQ(0, PluginHooks::count("twice.factory"));
}

TEST_F(Start, ReasonOfTheLoaderIsLogged)
{
    fCore.addPlugin("missing_symbol");
    EXPECT_EQ(-8, fCore.start());
    EXPECT_EQ(1, fCore.logCount("undefined symbol: _Z25functionThatNobodyDefinesv"));
    const std::string path = fCore.dir.file("plugins/libmissing_symbol.so");
    EXPECT_EQ("",
              firstOutOfOrder(fCore.logFile(),
                              {"D Core [loadPluginLib] PLibrary::load freeLibOnDestroy: 0 return "
                               "res: -8",
                               "E Core [loadPluginLib] Cannot load library: " + path + " reason: ",
                               "E Core [startFlow] Failed to load lib err: -8"}));
}

TEST_F(Start, FilesOfOtherNamesAreNotLoaded)
{
    fCore.dir.write("plugins/readme.txt", "text");
    fCore.dir.write("plugins/old.so.bak", "text");
    EXPECT_EQ(0, fCore.start());
}

TEST_F(Start, LoadListNamesTheLibrariesToLoad)
{
    fCore.addPlugin("alpha");
    fCore.addPlugin("beta");
    fCore.dir.write("plugins/broken.so", "text");
    fCore.set("core.load.plugin.list", "beta,nobody");
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L"test.beta"));
    EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.alpha"));
    EXPECT_EQ(0, errors());
}

TEST_F(Start, WithoutLoadListEveryLibraryIsLoadedInOrderOfTheirNames)
{
    fCore.addPlugin("beta");
    fCore.addPlugin("alpha");
    fCore.addPlugin("twice", "Zwice");
    ASSERT_EQ(0, fCore.start());
    EXPECT_LT(PluginHooks::position("twice.factory"), PluginHooks::position("alpha.factory"));
    EXPECT_LT(PluginHooks::position("alpha.factory"), PluginHooks::position("beta.factory"));
}

TEST_F(Start, UnknownAutostartEntryChangesNothing)
{
    fCore.addPlugin("alpha");
    fCore.set("core.autostart.list", "nobody");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
    EXPECT_EQ(0, errors());
}

TEST_F(Start, AutostartInitialisesBeforeTheStartEvent)
{
    fCore.addPlugin("alpha");
    fCore.set("core.autostart.list", "alpha");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(1, fCore.logCount("D Core [initAutoStartPlugin] Call initPlugin() for libalpha.so"));
}

TEST_F(Start, FailingAutostartIsLoggedAndDoesNotFailTheStart)
{
    fCore.addPlugin("alpha");
    fCore.set("core.autostart.list", "alpha");
    PluginHooks::on("alpha.init", [] { return -42; });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(
        1, fCore.logCount("E Core [initAutoStartPlugin] Failed to init autostart plugin err: -42"));
}

TEST_F(Start, ConfiguredPluginLogLevelIsNotChanged)
{
    fCore.set("core.plugins.log.level", "7");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ("7", published(L"core.plugins.log.level"));
}

TEST_F(Start, MissingPluginLogSettingsTakeTheValuesOfTheCore)
{
    fCore.set("core.log.maxsize", "100000");
    fCore.set("core.log.parts", "3");
    fCore.set("core.log.maxcount", "5000");
    fCore.erase("core.plugins.log.enable");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ("2", published(L"core.plugins.log.level"));
    EXPECT_EQ("100000", published(L"core.plugins.log.maxsize"));
    EXPECT_EQ("3", published(L"core.plugins.log.parts"));
    EXPECT_EQ("5000", published(L"core.plugins.log.maxcount"));
    EXPECT_EQ("true", published(L"core.plugins.log.enable"));
}

TEST_F(Start, MutexThatCannotBeOpenedIsRefused)
{
    PortFaults::mutexInit.armOnThisThread(-12, 0, 1);
    EXPECT_EQ(-1011, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to init mutex lock err: -12"));
}

TEST_F(Start, ConditionVariableThatCannotBeOpenedIsRefused)
{
    PortFaults::condVarInit.armOnThisThread(-12, 0, 1);
    EXPECT_EQ(-1012, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to init cond var err: -12"));
}

TEST_F(Start, WithoutConfigurationManagerIsRefused)
{
    PortFaults::mutexLock.armOnThisThread(-12, 0, 1);
    EXPECT_EQ(-1003, fCore.start());
    EXPECT_EQ(
        1, fCore.logCount("E Core [startFlow] Failed to get IConfigManager instance err: -2003"));
    EXPECT_EQ(1, fCore.logCount("] Failed to init plugin err: -1013"));
}

TEST_F(Start, WithoutEventDispatcherIsRefusedThoughTheBannerWasShown)
{
    // The dispatcher is the only service that opens a mutex after the core is marked started:
    // core, configuration manager and logger plugin open theirs before.
    PortFaults::mutexInit.armOnThisThread(-12, 3);
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1004, fCore.start());
    EXPECT_EQ("\n[iXLA] Core started.\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(
        1, fCore.logCount("E Core [startFlow] Failed to get IEventDispatcher instance err: -2003"));
    EXPECT_EQ(-1002, ixlaStop());
}

TEST_F(Start, UnwritableLogDoesNotFailTheStart)
{
    fCore.set("core.log.file", "/proc/nowhere/core.log");
    EXPECT_EQ(0, fCore.start());
}

TEST_F(Start, DisabledLogCreatesNoFile)
{
    fCore.set("core.log.enable", "false");
    ASSERT_EQ(0, fCore.start());
    EXPECT_FALSE(std::filesystem::exists(fCore.logFile()));
}

/// Counts the events that it gets.
class StartListener final : public IEventListener
{
public:
    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        return --fRefCount;
    }

    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override
    {
        EXPECT_EQ(kIxlaCoreStartTopic, iTopic);
        EXPECT_EQ(nullptr, iParam1);
        EXPECT_EQ(0, iParam2);
        fThread = std::this_thread::get_id();
        return ++fEvents;
    }

    std::atomic<int> fRefCount{0};
    int fEvents = 0;
    std::thread::id fThread;
};

TEST_F(Start, SendsTheStartEventAfterAutostart)
{
    StartListener listener;
    fCore.addPlugin("alpha");
    fCore.set("core.autostart.list", "alpha");
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        IBase* dispatcher = nullptr;
                        EXPECT_EQ(0, ixlaGetInstance(kIxlaEventDispatcherId, dispatcher));
                        return static_cast<IEventDispatcher*>(dispatcher)
                            ->addListener(kIxlaCoreStartTopic, &listener);
                    });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(1, listener.fEvents);
    EXPECT_EQ(std::this_thread::get_id(), listener.fThread);
    ASSERT_EQ(0, fCore.stop());
    EXPECT_EQ(0, listener.fRefCount);
}

TEST_F(Start, StepsRunInTheirOrder)
{
    fCore.addPlugin("alpha");
    fCore.set("core.plugins.log.maxsize", "1000");
    fCore.set("core.autostart.list", "alpha");
    fCore.set("core.load.plugin.list", "alpha");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ("",
              firstOutOfOrder(
                  fCore.logFile(),
                  {"D Core **************************************************",
                   "D Core [startFlow] Logger initialized.",
                   "D Core [startFlow] Core v3.3.32",
                   "[loadInternalPlugins] Loading internal plugin IConfig.",
                   "[loadInternalPlugins] Loading internal plugin IEventDispatcher.",
                   "[loadInternalPlugins] Loading internal plugin ILogger.",
                   "[getInstanceInternal] Get instance for interface ID: com.kelvora.ixla.config",
                   "[startFlow] Loading core prs: ",
                   "[setGlobalConfig] Set plugins config dir: ",
                   "[setGlobalConfig] Set plugins log dir: ",
                   "[setGlobalConfig] Set plugins log max size: ",
                   "[setGlobalConfig] Set plugins enable key: ",
                   "[startFlow] Parse loadPluginsList: alpha",
                   "[startFlow] Loading plugins from dir: ",
                   "D Core **************************************************",
                   "[startFlow] Loading plugin: ",
                   "[startFlow] Mark that core is started",
                   ("[getInstanceInternal] Get instance for interface ID: "
                    "com.kelvora.ixla.eventdispatcher"),
                   "[startFlow] Get autostart list: alpha",
                   "D Core [initAutoStartPlugin] Call initPlugin() for libalpha.so",
                   "[startFlow] Sending event: event.core.start",
                   "[startFlow] Free mem: ",
                   "[startFlow] Proc mem Start flow end: ",
                   "[startFlow] Done.",
                   "D Core **************************************************"}));
}

TEST_F(Start, LimitOfLinesAndNumberOfPartsReachTheLog)
{
    fCore.set("core.log.maxcount", "5");
    fCore.set("core.log.parts", "2");
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(std::filesystem::exists(fCore.logFile() + ".2"));
    EXPECT_FALSE(std::filesystem::exists(fCore.logFile() + ".3"));
}

TEST_F(Start, LimitOfSizeReachesTheLog)
{
    fCore.set("core.log.maxsize", "1000");
    fCore.set("core.log.parts", "1");
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(std::filesystem::exists(fCore.logFile() + ".1"));
    EXPECT_GE(1000u, std::filesystem::file_size(fCore.logFile() + ".1"));
}
} // namespace
