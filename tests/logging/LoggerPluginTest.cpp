// SPDX-License-Identifier: MIT
#include "logging/LoggingTest.h"

#include <filesystem>

using testing::ElementsAre;

namespace fs = std::filesystem;

namespace
{
class LoggerPlugin : public LoggingTest
{
protected:
    static void setting(const std::string& iKey, const std::string& iValue)
    {
        FakeConfig::values["core.plugins.log." + iKey] = iValue;
    }

    /// Releases the last reference to the plugin.
    void end()
    {
        plugin.clear();
    }
};
} // namespace

TEST_F(LoggerPlugin, OffersTheLoggerInterface)
{
    unsigned int count = 0;
    const PPtr<PString> interfaces(plugin->getInterfaces(count), ePtrArray);

    ASSERT_EQ(1u, count);
    EXPECT_EQ(PString(L"com.kelvora.ixla.logger"), *interfaces);
}

TEST_F(LoggerPlugin, UnknownInterfaceIsRefused)
{
    plugin->init();
    IBase* instance = plugin.get();

    EXPECT_EQ(eIxlaUnknownInterface, plugin->getInstance(L"com.kelvora.ixla.other", instance));

    EXPECT_EQ(nullptr, instance);
}

TEST_F(LoggerPlugin, HasNoInstanceBeforeInit)
{
    IBase* instance = plugin.get();

    EXPECT_EQ(0, plugin->getInstance(kIxlaLoggerId, instance));

    EXPECT_EQ(nullptr, instance);
}

TEST_F(LoggerPlugin, InstanceIsBorrowed)
{
    plugin->init();

    ILogger* const logger = defaultLogger();

    ASSERT_NE(nullptr, logger);
    EXPECT_EQ(2, logger->incRef());
    EXPECT_EQ(1, logger->decRef());
}

TEST_F(LoggerPlugin, DefaultLogIsInTheLogDirectory)
{
    EXPECT_EQ(0, plugin->init());

    EXPECT_EQ(0, defaultLogger()->info(0, L"a"));

    EXPECT_THAT(texts("ixlaplugins.log"), ElementsAre("a"));
}

TEST_F(LoggerPlugin, InitHoldsNeitherManagerNorConfiguration)
{
    plugin->init();

    EXPECT_EQ(0, FakeConfig::references());
}

TEST_F(LoggerPlugin, DirectoryMayEndWithASlash)
{
    FakeConfig::values["core.plugins.log.dir"] = dir.file("logs") + "/";
    plugin->init();

    get("a.log");

    EXPECT_TRUE(fs::exists(dir.file("logs/ixlaplugins.log")));
    EXPECT_TRUE(fs::exists(dir.file("logs/a.log")));
}

TEST_F(LoggerPlugin, DirectoryMayEndWithoutASlash)
{
    FakeConfig::values["core.plugins.log.dir"] = dir.file("logs");
    plugin->init();

    get("a.log");

    EXPECT_TRUE(fs::exists(dir.file("logs/ixlaplugins.log")));
    EXPECT_TRUE(fs::exists(dir.file("logs/a.log")));
}

TEST_F(LoggerPlugin, InitReportsAMissingManager)
{
    FakeConfig::instanceResult = -77;

    EXPECT_EQ(-77, plugin->init());

    EXPECT_EQ(nullptr, defaultLogger());
}

TEST_F(LoggerPlugin, InitReportsANullManager)
{
    FakeConfig::noInstance = true;

    EXPECT_EQ(eIxlaNoInstance, plugin->init());
}

TEST_F(LoggerPlugin, InitReportsAFailedLoad)
{
    FakeConfig::loadResult = -78;

    EXPECT_EQ(-78, plugin->init());

    EXPECT_EQ(nullptr, defaultLogger());
    EXPECT_EQ(0, FakeConfig::references());
}

TEST_F(LoggerPlugin, InitReportsAMissingDirectory)
{
    FakeConfig::values.erase("core.plugins.log.dir");

    EXPECT_EQ(eIxlaNotFound, plugin->init());

    EXPECT_EQ(nullptr, defaultLogger());
    EXPECT_EQ(0, FakeConfig::references());
}

TEST_F(LoggerPlugin, LevelIsThatOfTheConfiguration)
{
    setting("level", "3");
    plugin->init();

    defaultLogger()->debug(3, L"default");
    get("a.log")->debug(3, L"named");
    get("a.log")->debug(4, L"hidden");

    EXPECT_THAT(texts(), ElementsAre("default"));
    EXPECT_THAT(texts("a.log"), ElementsAre("named"));
}

TEST_F(LoggerPlugin, NegativeLevelCountsAsZero)
{
    setting("level", "-1");
    plugin->init();

    defaultLogger()->info(0, L"zero");
    defaultLogger()->info(1, L"one");

    EXPECT_THAT(texts(), ElementsAre("zero"));
}

TEST_F(LoggerPlugin, InvalidLevelCountsAsZero)
{
    setting("level", "high");
    plugin->init();

    defaultLogger()->info(1, L"one");
    defaultLogger()->info(0, L"zero");

    EXPECT_THAT(texts(), ElementsAre("zero"));
}

TEST_F(LoggerPlugin, SizeAndPartsAreThoseOfTheConfiguration)
{
    setting("maxsize", "1");
    setting("parts", "1");
    plugin->init();
    const PBaseptr<ILogger> logger = get("a.log");

    for (const wchar_t* text : {L"1", L"2", L"3"})
    {
        logger->info(0, text);
    }

    EXPECT_THAT(texts("a.log"), ElementsAre("3"));
    EXPECT_THAT(texts("a.log.1"), ElementsAre("2"));
    EXPECT_FALSE(fs::exists(dir.file("a.log.2")));
}

TEST_F(LoggerPlugin, CountIsThatOfTheConfiguration)
{
    setting("maxcount", "2");
    plugin->init();

    for (const wchar_t* text : {L"1", L"2", L"3"})
    {
        defaultLogger()->info(0, text);
    }

    EXPECT_THAT(texts(), ElementsAre("3"));
}

TEST_F(LoggerPlugin, ZerosOfAFurtherInitReplaceEarlierSettings)
{
    setting("level", "1");
    plugin->init();
    setting("level", "0");
    plugin->init();

    defaultLogger()->info(1, L"one");
    defaultLogger()->info(0, L"zero");

    EXPECT_THAT(texts(), ElementsAre("zero"));
}

TEST_F(LoggerPlugin, NegativeLimitsAreNone)
{
    setting("maxsize", "-1");
    setting("maxcount", "-1");
    setting("parts", "-1");
    plugin->init();

    defaultLogger()->info(0, L"1");
    defaultLogger()->info(0, L"2");

    EXPECT_THAT(texts(), ElementsAre("1", "2"));
}

TEST_F(LoggerPlugin, DisabledLoggingReturnsNoLogger)
{
    setting("enable", "false");
    plugin->init();
    PBaseptr<ILogger> logger;

    EXPECT_EQ(0, plugin->getLogger(L"a.log", logger));
    EXPECT_EQ(0, defaultLogger()->getLogger(L"a.log", logger));

    EXPECT_FALSE(logger);
}

TEST_F(LoggerPlugin, DisabledLoggingDoesNotChangeAHolder)
{
    setting("enable", "no");
    plugin->init();
    PBaseptr<ILogger> logger(defaultLogger());

    plugin->getLogger(L"a.log", logger);

    EXPECT_EQ(defaultLogger(), logger.get());
}

TEST_F(LoggerPlugin, DisabledLoggingWritesNoFile)
{
    setting("enable", "false");
    EXPECT_EQ(0, plugin->init());

    ASSERT_NE(nullptr, defaultLogger());
    EXPECT_EQ(0, defaultLogger()->error(0, L"a"));

    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST_F(LoggerPlugin, LoggingIsDisabledWithoutTheKey)
{
    FakeConfig::values.erase("core.plugins.log.enable");
    plugin->init();

    EXPECT_FALSE(get("a.log"));
    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST_F(LoggerPlugin, NoLoggerIsReturnedBeforeInit)
{
    EXPECT_FALSE(get("a.log"));
}

TEST_F(LoggerPlugin, FileNameIsTheLoggersName)
{
    plugin->init();

    get("no-extension")->info(0, L"a");
    get("sub/dir.log")->info(0, L"b");

    EXPECT_THAT(texts("no-extension"), ElementsAre("a"));
    EXPECT_THAT(texts("sub/dir.log"), ElementsAre("b"));
}

TEST_F(LoggerPlugin, NamesAreCaseSensitive)
{
    plugin->init();
    const PBaseptr<ILogger> lower = get("a.log");

    EXPECT_NE(lower.get(), get("A.log").get());
}

TEST_F(LoggerPlugin, SameNameReturnsTheSameLoggerWhileHeld)
{
    plugin->init();
    const PBaseptr<ILogger> first = get("a");

    const PBaseptr<ILogger> second = get("a");

    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(3u, second.holders());
}

TEST_F(LoggerPlugin, LoggerWithoutHolderIsEvictedByTheNextRequest)
{
    plugin->init();
    get("a")->info(0, L"first");
    EXPECT_TRUE(isOpen("a"));

    const PBaseptr<ILogger> other = get("b");
    EXPECT_FALSE(isOpen("a"));

    get("a")->info(0, L"second");
    EXPECT_THAT(texts("a"), ElementsAre("first", "second"));
}

TEST_F(LoggerPlugin, LoggerWithoutHolderIsReturnedAgainByItsName)
{
    plugin->init();
    const ILogger* const first = get("a").get();

    EXPECT_EQ(first, get("a").get());
}

TEST_F(LoggerPlugin, CopyOfTheHolderHoldsTheLogger)
{
    plugin->init();
    PBaseptr<ILogger> first = get("a");
    const PBaseptr<ILogger> copy(first);
    first.clear();

    get("b");

    EXPECT_EQ(copy.get(), get("a").get());
}

TEST_F(LoggerPlugin, WrappedPointerHoldsTheLoggerButNotItsCacheEntry)
{
    plugin->init();
    const PBaseptr<ILogger> wrapped(get("a").get());

    get("b");

    EXPECT_NE(wrapped.get(), get("a").get());
    EXPECT_EQ(0, wrapped->info(0, L"still written"));
    EXPECT_THAT(texts("a"), ElementsAre("still written"));
}

TEST_F(LoggerPlugin, SeveralLoggersAreEvictedAtOnce)
{
    plugin->init();
    std::vector<PBaseptr<ILogger>> kept = {get("a"), get("b"), get("c"), get("d")};
    kept.erase(kept.begin() + 2);
    kept.erase(kept.begin());

    get("e");

    EXPECT_FALSE(isOpen("a"));
    EXPECT_TRUE(isOpen("b"));
    EXPECT_FALSE(isOpen("c"));
    EXPECT_TRUE(isOpen("d"));
}

TEST_F(LoggerPlugin, RefillingAHolderEvictsItsFormerLogger)
{
    plugin->init();
    PBaseptr<ILogger> logger = get("a");

    EXPECT_EQ(0, plugin->getLogger(L"b", logger));

    EXPECT_FALSE(isOpen("a"));
    EXPECT_TRUE(isOpen("b"));
}

TEST_F(LoggerPlugin, RefillingAHolderByItsOwnNameChangesNothing)
{
    plugin->init();
    PBaseptr<ILogger> logger = get("a");
    const ILogger* const before = logger.get();

    EXPECT_EQ(0, plugin->getLogger(L"a", logger));

    EXPECT_EQ(before, logger.get());
    EXPECT_EQ(2u, logger.holders());
}

TEST_F(LoggerPlugin, LoggerMayReplaceItself)
{
    plugin->init();
    PBaseptr<ILogger> logger = get("a");

    EXPECT_EQ(0, logger->getLogger(L"b", logger));

    EXPECT_FALSE(isOpen("a"));
    logger->info(0, L"b");
    EXPECT_THAT(texts("b"), ElementsAre("b"));
}

TEST_F(LoggerPlugin, EveryLoggerReturnsTheSameOtherLoggers)
{
    plugin->init();
    const PBaseptr<ILogger> fromPlugin = get("a");
    PBaseptr<ILogger> fromDefault;
    PBaseptr<ILogger> fromItself;

    EXPECT_EQ(0, defaultLogger()->getLogger(L"a", fromDefault));
    EXPECT_EQ(0, fromPlugin->getLogger(L"a", fromItself));

    EXPECT_EQ(fromPlugin.get(), fromDefault.get());
    EXPECT_EQ(fromPlugin.get(), fromItself.get());
}

TEST_F(LoggerPlugin, DestructionReleasesAllLoggers)
{
    plugin->init();
    get("a");

    end();

    EXPECT_FALSE(isOpen("a"));
    EXPECT_FALSE(isOpen("ixlaplugins.log"));
}

TEST_F(LoggerPlugin, LoggersOutliveIt)
{
    plugin->init();
    const PBaseptr<ILogger> named = get("a");
    const PBaseptr<ILogger> shared(defaultLogger());

    end();

    EXPECT_EQ(0, named->info(0, L"a"));
    EXPECT_EQ(0, shared->info(0, L"b"));
    EXPECT_THAT(texts("a"), ElementsAre("a"));
    EXPECT_THAT(texts(), ElementsAre("b"));
}

TEST_F(LoggerPlugin, LivesUntilItsLastHolderReleasesIt)
{
    plugin->init();
    {
        const PBaseptr<IPlugin> other(plugin.get());
    }

    const PBaseptr<ILogger> named = get("a");
    EXPECT_EQ(0, named->info(0, L"a"));
    EXPECT_THAT(texts("a"), ElementsAre("a"));
}

TEST_F(LoggerPlugin, LoggersOfAnEarlierInitReturnNoMoreLoggers)
{
    plugin->init();
    const PBaseptr<ILogger> named = get("a");
    PBaseptr<ILogger> other;
    EXPECT_EQ(0, plugin->init());

    end();

    EXPECT_EQ(eIxlaNoInstance, named->getLogger(L"b", other));
    EXPECT_FALSE(other);
}

TEST_F(LoggerPlugin, LoggersThatOutliveItReturnNoMoreLoggers)
{
    plugin->init();
    const PBaseptr<ILogger> named = get("a");
    PBaseptr<ILogger> other(named);

    end();

    EXPECT_EQ(eIxlaNoInstance, named->getLogger(L"b", other));
    EXPECT_EQ(named.get(), other.get());
    EXPECT_FALSE(fs::exists(dir.file("b")));
}
