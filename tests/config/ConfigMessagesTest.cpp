// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"

#include "config/PConfigManager.h"
#include "support/Texts.h"

namespace
{
class ConfigMessages : public ConfigEventsTest
{
protected:
    /// A manager that has not read any file, in the directory of the core's configuration.
    ConfigMessages() : own(new PConfigManager)
    {
        EXPECT_EQ(own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir",
                                 core.dir.wideFile("config")),
                  0);
    }

    ~ConfigMessages() override
    {
        static_cast<PConfigManager&>(*own).cleanup();
    }

    int load(const std::string& iID)
    {
        PBaseptr<IConfig> config;
        return own->loadByID(wide(iID), config);
    }

    int logged(const std::string& iText) const
    {
        return countLines(core.pluginLogFile(), iText);
    }

    std::string path(const std::string& iName) const
    {
        return core.dir.file("config/" + iName);
    }

    PBaseptr<IConfigManager> own;
};
} // namespace

TEST_F(ConfigMessages, ListAndPathOfEveryFileAreLogged)
{
    core.writeManagerConfig("net = a.prs, b.prs");
    core.writeConfig("a.prs", "k = 1");
    core.writeConfig("b.prs", "k = 1");
    ASSERT_EQ(load("net"), 0);

    EXPECT_EQ(logged(" D pgs [appendByID] Parse for iID: net files: a.prs, b.prs"), 1);
    EXPECT_EQ(logged(" D pgs [appendByID] Parse file: a.prs"), 1);
    EXPECT_EQ(logged(" D pgs [appendByID] Append file path: " + path("a.prs")), 1);
    EXPECT_EQ(logged(" D pgs [appendByID] Parse file: b.prs"), 1);
    EXPECT_EQ(logged(" D pgs [appendByID] Append file path: " + path("b.prs")), 1);
    EXPECT_EQ(logged("Failed"), 0);
}

TEST_F(ConfigMessages, FileThatCannotBeAppendedIsLoggedAsAnError)
{
    core.writeManagerConfig("net = a.prs");
    ASSERT_EQ(load("net"), 0);

    EXPECT_EQ(
        logged(" E pgs [appendByID] Failed to append file path(" + path("a.prs") + ") err: -2"), 1);
}

TEST_F(ConfigMessages, DirectoryThatEndsWithASlashGetsNoSecondOne)
{
    core.writeManagerConfig("net = a.prs");
    ASSERT_EQ(own->removeSetKey(kIxlaGlobalConfigId, L"core.plugins.config.dir"), 0);
    ASSERT_EQ(own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir", wide(path(""))), 0);
    ASSERT_EQ(load("net"), 0);

    EXPECT_EQ(logged(" D pgs [appendByID] Append file path: " + path("a.prs")), 1);
}

TEST_F(ConfigMessages, EmptyTargetIsLoggedForEveryFile)
{
    core.writeManagerConfig("net = a.prs");
    core.writeConfig("a.prs", "k = 1");
    ASSERT_EQ(own->appendByID(L"net", PBaseptr<IConfig>()), 0);

    EXPECT_EQ(
        logged(" E pgs [appendByID] Failed to append file path(" + path("a.prs") + ") err: -502"),
        1);
}

TEST_F(ConfigMessages, UnlistedIdIsLogged)
{
    ASSERT_EQ(load("unlisted"), 0);

    EXPECT_EQ(logged(" D pgs [appendByID] No config for iID(unlisted)"), 1);
}

TEST_F(ConfigMessages, MissingManagerConfigurationIsLoggedAtEveryAttempt)
{
    std::filesystem::remove(path("ixlap.configmanager.prs"));
    EXPECT_EQ(load("net"), -2);
    EXPECT_EQ(load("net"), -2);

    EXPECT_EQ(logged(" E pgs [nl_loadManagerConfig] Failed to load config manager file(" +
                     path("ixlap.configmanager.prs") + ") err: -2"),
              2);
}

TEST_F(ConfigMessages, GlobalIdNeverFetchesTheLogger)
{
    ASSERT_EQ(load("ixlap.global"), 0);
    EXPECT_EQ(logged("ixlap.global"), 0);

    ASSERT_EQ(load("other"), 0);
    ASSERT_EQ(load("ixlap.global"), 0);
    EXPECT_EQ(logged(" D pgs [appendByID] No config for iID(ixlap.global)"), 1);
}

TEST_F(ConfigMessages, SilentLoggerChangesNothing)
{
    core.writeManagerConfig("net = a.prs");
    core.writeConfig("a.prs", "k = 1");
    PBaseptr<ILogger> logger(core.get<ILogger>(kIxlaLoggerId));
    ASSERT_EQ(logger->setLevel(-1), 0);
    ASSERT_EQ(load("net"), 0);

    EXPECT_EQ(logged("[appendByID] Parse"), 0);
}

TEST_F(ConfigMessages, DebugLinesHaveTheLevelZero)
{
    core.writeManagerConfig("net = a.prs");
    core.writeConfig("a.prs", "k = 1");
    PBaseptr<ILogger> logger(core.get<ILogger>(kIxlaLoggerId));
    ASSERT_EQ(logger->setLevel(0), 0);
    ASSERT_EQ(load("net"), 0);
    ASSERT_EQ(load("unlisted"), 0);

    EXPECT_EQ(logged("[appendByID] "), 4);
}
