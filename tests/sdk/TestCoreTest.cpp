// SPDX-License-Identifier: MIT
#include "testkit/PTestCore.h"

#include "IConfigManager.h"
#include "sdk/Thrown.h"
#include "support/PluginHooks.h"
#include "support/PortFaults.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <stdexcept>

namespace fs = std::filesystem;

namespace
{
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string _library(const std::string& iName)
{
    return std::string(IXLAL_TEST_PLUGINS) + "/" + iName + "/lib" + iName + ".so";
}

/// The value of a key, read as a plugin does.
std::string _read(const PTestCore& iCore, const wchar_t* iId, const wchar_t* iKey)
{
    PBaseptr<IConfig> config;
    PString value;
    if (iCore.service<IConfigManager>()->loadByID(iId, config) != 0 ||
        config->getString(iKey, value) != 0)
    {
        return "none";
    }
    return ixlaNarrow(value);
}

TEST(TestCoreTest, RunsTheGivenPlugins)
{
    PTestCore core;
    core.addPlugin(_library("alpha"));
    core.addPlugin(_library("beta"));
    core.start();
    EXPECT_TRUE(core.isStarted());
    EXPECT_TRUE(core.service<IBase>(L"test.alpha"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(0, PluginHooks::count("beta.init"));
    core.stop();
    EXPECT_FALSE(core.isStarted());
    EXPECT_EQ(1, PluginHooks::count("beta.destroyed"));
}

TEST(TestCoreTest, StopsAndCleansUpWhenATestThrows)
{
    fs::path directory;
    EXPECT_THROW(
        {
            PTestCore core;
            core.addPlugin(_library("alpha"));
            core.start();
            directory = core.directory();
            EXPECT_TRUE(fs::exists(directory / "plugins" / "libalpha.so"));
            throw std::runtime_error("a test");
        },
        std::runtime_error);
    EXPECT_FALSE(fs::exists(directory));
    EXPECT_EQ(eIxlaCoreNotStarted, ixlaStop());
}

TEST(TestCoreTest, KeepsTheDirectoryOnRequest)
{
    setenv("IXLAL_TESTKIT_KEEP", "1", 1);
    fs::path directory;
    {
        const PTestCore core;
        directory = core.directory();
    }
    EXPECT_TRUE(fs::exists(directory));
    fs::remove_all(directory);
}

TEST(TestCoreTest, RunsOneCoreAfterAnother)
{
    for (int i = 0; i < 3; ++i)
    {
        PTestCore core;
        core.start();
        EXPECT_EQ(1u, core.coreLog().find("[startFlow] Done.").size());
    }
}

TEST(TestCoreTest, ReportsASecondCoreInTheProcess)
{
    PTestCore first;
    first.start();
    PTestCore second;
    EXPECT_THAT(textThrown([&] { second.start(); }),
                AllOf(HasSubstr("this process runs a core already"), HasSubstr("stop the other")));
    EXPECT_TRUE(first.service<IConfigManager>());
}

TEST(TestCoreTest, ConfiguresById)
{
    PTestCore core;
    core.configure("test.some", "key = first");
    core.configure("test.some", "key = second");
    core.configure("test.other", "key = third");
    core.start();
    EXPECT_EQ("second", _read(core, L"test.some", L"key"));
    EXPECT_EQ("third", _read(core, L"test.other", L"key"));
}

TEST(TestCoreTest, CopiesConfigurationFilesAndUsesAPrivateStore)
{
    const TempDir source;
    source.write("ixlap.configmanager.prs", "test.some = some.prs\n"
                                            "ixlap.configmanager.store.file = " +
                                                source.file("real-store.txt") + "\n");
    PTestCore core;
    core.addConfigFile(source.file("ixlap.configmanager.prs"));
    core.addConfigFile(source.write("some.prs", "key = value\n"));
    core.start();
    EXPECT_EQ("value", _read(core, L"test.some", L"key"));
    EXPECT_EQ(0, core.service<IConfigManager>()->storeString(L"test.some", L"key", L"stored"));
    EXPECT_FALSE(fs::exists(source.file("real-store.txt")));
    EXPECT_TRUE(fs::exists(core.directory() / "config" / "store.txt"));
}

TEST(TestCoreTest, PassesArgumentsOn)
{
    PTestCore core;
    core.addPlugin(_library("alpha"));
    core.set("core.autostart.list", "alpha");
    core.start();
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
}

TEST(TestCoreTest, UsesPrivateFilesAndDirectories)
{
    PTestCore core;
    EXPECT_THAT(textThrown([&] { core.set("core.log.file", "/tmp/x"); }),
                HasSubstr("core.log.file belongs to the test kit"));
}

TEST(TestCoreTest, ReportsAMissingPluginWithAFix)
{
    PTestCore core;
    EXPECT_THAT(textThrown([&] { core.addPlugin("/nowhere/libx.so"); }),
                AllOf(HasSubstr("/nowhere/libx.so: No such file"), HasSubstr("build it first")));
    EXPECT_THAT(textThrown([&] { core.addPlugin("/nowhere/libx.so.1"); }),
                HasSubstr("does not end with .so"));
    EXPECT_THAT(textThrown([&] { core.addConfigFile("/nowhere/x.prs"); }),
                HasSubstr("/nowhere/x.prs: No such file"));
}

TEST(TestCoreTest, RefusesSettingsAfterTheStart)
{
    PTestCore core;
    core.start();
    EXPECT_THAT(textThrown([&] { core.addPlugin(_library("alpha")); }), StartsWith("addPlugin()"));
    EXPECT_THAT(textThrown([&] { core.configure("a", "b = c"); }), StartsWith("configure()"));
    EXPECT_THAT(textThrown([&] { core.addConfigFile("x"); }), StartsWith("addConfigFile()"));
    EXPECT_THAT(textThrown([&] { core.set("a", "b"); }), StartsWith("set()"));
    EXPECT_THAT(textThrown([&] { core.start(); }), StartsWith("start()"));
}

TEST(TestCoreTest, ShowsTheCoreLogWhenTheStartFails)
{
    PTestCore core;
    core.addPlugin(_library("missing_symbol"));
    EXPECT_THAT(textThrown([&] { core.start(); }),
                AllOf(HasSubstr("the core does not start: -8"),
                      HasSubstr("undefined symbol: _Z25functionThatNobodyDefinesv")));
    EXPECT_EQ(-8, core.tryStart());
}

TEST(TestCoreTest, ShowsTheErrorsWhenAServiceIsMissing)
{
    PTestCore core;
    core.addPlugin(_library("alpha"));
    core.start();
    EXPECT_THAT(textThrown([&] { core.service<IBase>(L"test.alfa"); }),
                AllOf(HasSubstr("no service \"test.alfa\": -2001"),
                      HasSubstr("E Core [getInstanceInternal] Unknown interface ID: test.alfa")));
}

TEST(TestCoreTest, StopReportsABlockingListener)
{
    PTestCore core;
    core.set("core.notify.exit.timeout", "0");
    core.addPlugin(_library("alpha"));
    core.start();
    std::promise<void> leave;
    const auto dispatcher = core.service<IEventDispatcher>();
    const auto listener =
        ixlaListener([&](const PLiteral&, IBase*, int) { leave.get_future().wait(); });
    ASSERT_EQ(0, dispatcher->addListener(kIxlaCoreExitTopic, listener.get()));
    PortFaults::condVarWait.armOnThisThread(-733);
    EXPECT_THAT(textThrown([&] { core.stop(); }),
                HasSubstr("a listener of event.core.exit did not return in time"));
    PortFaults::reset();
    leave.set_value();
}

TEST(TestCoreTest, StopReportsThreadsInsidePlugins)
{
    PTestCore core;
    core.addPlugin(_library("alpha"));
    core.start();
    std::string text;
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        // The stop then keeps the core without a wait for the calls inside.
                        PortFaults::mutexInit.armOnThisThread(-11);
                        text = textThrown([&] { core.stop(); });
                        PortFaults::reset();
                    });
    core.service<IBase>(L"test.alpha");
    EXPECT_THAT(text, HasSubstr("threads were still inside the core"));
}
} // namespace
