// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "support/CoreRun.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
/// Starts a core with configuration files that are missing or broken, and finds the line of the
/// core log with path, line number and code.
class ConfigFileLines : public testing::Test
{
protected:
    ConfigFileLines() : fManagerFile(fCore.dir.file("config/ixlap.configmanager.prs"))
    {
    }

    int logged(const std::string& iText) const
    {
        return fCore.logCount(" E Core " + iText);
    }

    int managerLines(const std::string& iLineAndCode) const
    {
        return logged("[nl_loadManagerConfig] Failed to load config manager file(" + fManagerFile +
                      ") " + iLineAndCode);
    }

    std::string storeLine(const std::string& iLineAndCode) const
    {
        return "[nl_loadStore] Failed to load store file: (" + fCore.storeFile() + ") " +
               iLineAndCode;
    }

    /// The result of a store operation.
    int storeValue()
    {
        const PBaseptr<IConfigManager> manager(fCore.get<IConfigManager>(kIxlaConfigManagerId));
        PBaseptr<IConfig> config;
        EXPECT_EQ(0, manager->loadByID(L"net", config));
        return manager->storeString(L"net", L"k", L"v");
    }

    /// Starts the core and looks up the logging service, which reads all files.
    void startWithLogger()
    {
        static_cast<void>(fCore.start());
        static_cast<void>(fCore.get<ILogger>(kIxlaLoggerId));
    }

    CoreRun fCore;
    const std::string fManagerFile;
};
} // namespace

TEST_F(ConfigFileLines, MissingManagerConfigurationIsNamed)
{
    std::filesystem::remove(fManagerFile);
    startWithLogger();

    EXPECT_LE(1, managerLines("line: 0 err: -2"));
    EXPECT_LE(1, fCore.logCount("Failed to init plugin err: -2"));
}

TEST_F(ConfigFileLines, WithoutManagerConfigurationNothingIsLoadedByIdOrLogged)
{
    std::filesystem::remove(fManagerFile);
    ASSERT_EQ(0, fCore.start());
    const PBaseptr<IConfigManager> manager(fCore.get<IConfigManager>(kIxlaConfigManagerId));
    PBaseptr<IConfig> config;

    EXPECT_EQ(-2, manager->loadByID(L"net", config));
    EXPECT_EQ(nullptr, fCore.get<ILogger>(kIxlaLoggerId));
    EXPECT_FALSE(std::filesystem::exists(fCore.pluginLogFile()));
}

TEST_F(ConfigFileLines, HeldManagerLogsAMissingManagerConfiguration)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, storeValue());
    const PBaseptr<IConfigManager> kept(fCore.get<IConfigManager>(kIxlaConfigManagerId));
    ASSERT_EQ(0, fCore.stop());
    std::filesystem::remove(fManagerFile);
    PBaseptr<IConfig> config;
    EXPECT_EQ(-2, kept->loadByID(L"net", config));

    EXPECT_EQ(1, countLines(fCore.pluginLogFile(),
                            " E pgs [nl_loadManagerConfig] Failed to load config manager file(" +
                                fManagerFile + ") err: -2"));
}

TEST_F(ConfigFileLines, BrokenManagerConfigurationIsNamedWithItsLine)
{
    fCore.writeManagerConfig("# the files\n\nnet = net.prs\nbroken");
    startWithLogger();

    EXPECT_LE(1, managerLines("line: 4 err: -3001"));
}

TEST_F(ConfigFileLines, UnreadableManagerConfigurationIsNamed)
{
    std::filesystem::remove(fManagerFile);
    std::filesystem::create_directory(fManagerFile);
    startWithLogger();

    EXPECT_LE(1, managerLines("line: 0 err: -21"));
}

TEST_F(ConfigFileLines, EmptyManagerConfigurationIsEnough)
{
    fCore.writeConfig("ixlap.configmanager.prs", "");
    ASSERT_EQ(0, fCore.start());

    EXPECT_NE(nullptr, fCore.get<ILogger>(kIxlaLoggerId));
    EXPECT_EQ(0, logged(""));
}

TEST_F(ConfigFileLines, BrokenPropertyFileIsNamedWithItsLine)
{
    const std::string file = fCore.dir.write("core.prs", "core.autostart.list =\n = nothing\n");
    fCore.set("core.prs.file", file);
    fCore.set("core.log.level", "-1");
    ASSERT_EQ(-1005, fCore.start());

    EXPECT_EQ(1, logged("[startFlow] Failed to load core prs: " + file + " line: 2 err: -3001"));
}

TEST_F(ConfigFileLines, MissingPropertyFileIsNamed)
{
    const std::string file = fCore.dir.file("core.prs");
    fCore.set("core.prs.file", file);
    ASSERT_EQ(-1005, fCore.start());

    EXPECT_EQ(1, logged("[startFlow] Failed to load core prs: " + file + " line: 0 err: -2"));
}

TEST_F(ConfigFileLines, BrokenStoreIsInTheCoreLogUntilThereIsAPluginLog)
{
    fCore.writeConfig("store.txt", "net|k = 1\nbroken\n");
    ASSERT_EQ(0, fCore.start());
    ASSERT_NE(nullptr, fCore.get<ILogger>(kIxlaLoggerId));

    EXPECT_LE(1, logged(storeLine("line: 2 err: -3001")));
}

TEST_F(ConfigFileLines, BrokenStoreIsNamedAtEachReadByIdAndHidesNothingElse)
{
    fCore.writeManagerConfig("net = net.prs");
    fCore.writeConfig("net.prs", "own = 1");
    fCore.writeConfig("store.txt", "net|k = 1\nbroken\n");
    ASSERT_EQ(0, fCore.start());
    const PBaseptr<IConfigManager> manager(fCore.get<IConfigManager>(kIxlaConfigManagerId));
    PBaseptr<IConfig> config;
    ASSERT_EQ(0, manager->loadByID(L"net", config));
    int own = 0;

    EXPECT_EQ(0, config->getInt32(L"own", own));
    EXPECT_EQ(-504, config->getInt32(L"k", own));
    EXPECT_EQ(2, countLines(fCore.pluginLogFile(), " E pgs " + storeLine("line: 2 err: -3001")));
}

TEST_F(ConfigFileLines, BrokenStoreIsInThePluginLogAtEachAttempt)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_EQ(0, storeValue());
    fCore.writeConfig("store.txt", "# by hand\n\nnet|k = 1\nbroken\n");
    EXPECT_EQ(-3001, storeValue());
    EXPECT_EQ(-3001, storeValue());

    EXPECT_EQ(2, countLines(fCore.pluginLogFile(), " E pgs " + storeLine("line: 4 err: -3001")));
    EXPECT_EQ(0, logged(""));
}

TEST_F(ConfigFileLines, UnreadableStoreIsNamed)
{
    std::filesystem::create_directory(fCore.storeFile());
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(-21, storeValue());

    EXPECT_EQ(1, countLines(fCore.pluginLogFile(), " E pgs " + storeLine("line: 0 err: -21")));
}

TEST_F(ConfigFileLines, MissingStoreIsNotAnError)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, storeValue());

    EXPECT_EQ(0, logged(""));
    EXPECT_EQ(0, countLines(fCore.pluginLogFile(), " E pgs "));
}

TEST_F(ConfigFileLines, ConfigurationWithoutAStoreIsNotAnError)
{
    fCore.writeConfig("ixlap.configmanager.prs", "net = net.prs\n");
    fCore.writeConfig("net.prs", "");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(-3003, storeValue());

    EXPECT_EQ(0, logged(""));
    EXPECT_EQ(0, countLines(fCore.pluginLogFile(), " E pgs "));
}

TEST_F(ConfigFileLines, BrokenFileOfAnIdIsNamedWithItsLine)
{
    fCore.writeManagerConfig("net = net.prs");
    fCore.writeConfig("net.prs", "a = 1\n=\n");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, storeValue());

    const std::string file = fCore.dir.file("config/net.prs");
    EXPECT_EQ(1,
              countLines(fCore.pluginLogFile(), " E pgs [appendByID] Stopped reading file path(" +
                                                    file + ") line: 2 err: -3001"));
}

TEST_F(ConfigFileLines, MissingFileOfTheGlobalIdIsInTheCoreLog)
{
    fCore.writeManagerConfig("ixlap.global = global.prs");
    ASSERT_EQ(0, fCore.start());
    ASSERT_NE(nullptr, fCore.get<ILogger>(kIxlaLoggerId));

    EXPECT_LE(1, logged("[appendByID] Failed to append file path(" +
                        fCore.dir.file("config/global.prs") + ") err: -2"));
}
