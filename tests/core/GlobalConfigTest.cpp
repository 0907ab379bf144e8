// SPDX-License-Identifier: MIT
#include "IConfig.h"
#include "IConfigManager.h"
#include "Ixla.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

namespace
{
class GlobalConfig : public testing::Test
{
protected:
    /// Starts the core and loads the published settings.
    void startAndLoad()
    {
        fCore.writeManagerConfig("plugin.a = a.prs");
        ASSERT_EQ(0, fCore.start());
        ASSERT_EQ(0, manager()->loadByID(kIxlaGlobalConfigId, fConfig));
    }

    IConfigManager* manager()
    {
        return fCore.get<IConfigManager>(kIxlaConfigManagerId);
    }

    std::string value(const wchar_t* iKey)
    {
        PString text;
        return fConfig->getString(iKey, text) == 0 ? narrow(text) : "(none)";
    }

    std::string pin(const wchar_t* iKey)
    {
        PString text;
        return fConfig->getAttrString(iKey, L"const", text) == 0 ? narrow(text) : "(none)";
    }

    CoreRun fCore;
    PBaseptr<IConfig> fConfig;
};

TEST_F(GlobalConfig, MissingLogDirIsRefusedAfterTheConfigDirWasPublished)
{
    fCore.erase("core.plugins.log.dir");
    EXPECT_EQ(-1010, fCore.start());
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins config dir: "));
    EXPECT_EQ(1, fCore.logCount("E Core [setGlobalConfig] No plugins log dir err: -504"));
    EXPECT_EQ(1, fCore.logCount("E Core [startFlow] Failed to fill central config err: -1010"));
}

TEST_F(GlobalConfig, MissingConfigDirIsRefused)
{
    fCore.erase("core.plugins.config.dir");
    EXPECT_EQ(-1010, fCore.start());
    EXPECT_EQ(1, fCore.logCount("E Core [setGlobalConfig] No plugins config dir err: -504"));
    EXPECT_EQ(0, fCore.logCount("[setGlobalConfig] Set plugins log dir: "));
}

TEST_F(GlobalConfig, InvalidNumberIsSkippedSilently)
{
    fCore.set("core.plugins.log.maxsize", "large");
    fCore.set("core.plugins.log.parts", "4");
    startAndLoad();
    EXPECT_EQ("4", value(L"core.plugins.log.parts"));
    EXPECT_EQ(0, fCore.logCount("[setGlobalConfig] Set plugins log max size"));
    EXPECT_EQ(0, fCore.logCount(" E Core "));
}

TEST_F(GlobalConfig, CustomKeyRedirectsAFile)
{
    const std::string other = fCore.dir.write("elsewhere/other.prs", "k = redirected\n");
    fCore.writeConfig("a.prs", "k = plain\n");
    fCore.set("custom.config.a.prs", other);
    startAndLoad();
    ASSERT_EQ(0, manager()->loadByID(L"plugin.a", fConfig));
    EXPECT_EQ("redirected", value(L"k"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set custom.config.a.prs = " + other));
}

TEST_F(GlobalConfig, TruthValuesArePublishedInOneForm)
{
    fCore.set("core.plugins.log.enable", "YES");
    startAndLoad();
    EXPECT_EQ("true", value(L"core.plugins.log.enable"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins enable key: 1"));
}

TEST_F(GlobalConfig, KeysThatOnlyContainThePrefixAreNotPublished)
{
    fCore.set("my.custom.config.a", "x");
    fCore.set("Custom.config.a", "x");
    startAndLoad();
    EXPECT_EQ("(none)", value(L"my.custom.config.a"));
    EXPECT_EQ("(none)", value(L"Custom.config.a"));
}

TEST_F(GlobalConfig, SettingsArePublishedPinnedAndLogged)
{
    fCore.set("core.plugins.log.maxsize", "11");
    fCore.set("core.plugins.log.parts", "12");
    fCore.set("core.plugins.log.level", "13");
    fCore.set("core.plugins.log.maxcount", "14");
    fCore.set("custom.config.b", "a\\b");
    startAndLoad();
    EXPECT_EQ("11", value(L"core.plugins.log.maxsize"));
    EXPECT_EQ("12", value(L"core.plugins.log.parts"));
    EXPECT_EQ("13", value(L"core.plugins.log.level"));
    EXPECT_EQ("14", value(L"core.plugins.log.maxcount"));
    for (const wchar_t* key :
         {L"core.plugins.config.dir", L"core.plugins.log.dir", L"core.plugins.log.maxsize",
          L"core.plugins.log.parts", L"core.plugins.log.level", L"core.plugins.log.maxcount",
          L"core.plugins.log.enable", L"custom.config.b"})
    {
        EXPECT_EQ("true", pin(key)) << narrow(key);
    }
    EXPECT_EQ("a\\b", value(L"custom.config.b"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log max size: 11"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log parts size: 12"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log level: 13"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log max count: 14"));
}

TEST_F(GlobalConfig, BackslashesOfDirectoriesBecomeSlashes)
{
    fCore.set("core.plugins.log.dir", fCore.dir.file("log") + "\\deep");
    startAndLoad();
    EXPECT_EQ(fCore.dir.file("log") + "/deep", value(L"core.plugins.log.dir"));
    EXPECT_EQ(1, fCore.logCount("D Core [setGlobalConfig] Set plugins log dir: " +
                                fCore.dir.file("log") + "/deep"));
}

TEST_F(GlobalConfig, CustomKeyThatCannotBeReadIsLoggedAndTheOthersArePublished)
{
    fCore.set("core.prs.file", fCore.dir.write("core.prs", "custom.config.a|b = x\n"));
    fCore.set("custom.config.c", "y");
    startAndLoad();
    EXPECT_EQ("y", value(L"custom.config.c"));
    EXPECT_EQ(1, fCore.logCount(
                     "E Core [setGlobalConfig] Failed to get key: custom.config.a|b err: -3004"));
}
} // namespace
