#include "logging/LoggingTest.h"
#include "support/AllocationFaults.h"
#include "support/PortFaults.h"

#include <cerrno>

using testing::ElementsAre;

namespace
{
class LoggerFailure : public LoggingTest
{
protected:
    ~LoggerFailure() override
    {
        PortFaults::reset();
    }

    /// Calls iAction with one allocation failing, the first at first, then the next, until it
    /// meets none that fails. Whatever it returned meanwhile is in oResults.
    template <class TAction>
    static void starve(const TAction& iAction, std::vector<int>& oResults)
    {
        for (int skip = 0; skip < 200; ++skip)
        {
            AllocationFaults::failOnceAfter(skip);
            const int result = iAction();
            AllocationFaults::disarm();
            if (!AllocationFaults::struck())
            {
                return;
            }
            oResults.push_back(result);
        }
        FAIL() << "no end of allocations";
    }
};
} // namespace

TEST_F(LoggerFailure, LockThatFailsIsTold)
{
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexLock.arm(-77);

    EXPECT_EQ(-77, plugin->getLogger(L"a", logger));

    EXPECT_FALSE(logger);
    EXPECT_FALSE(isOpen("a"));
}

TEST_F(LoggerFailure, UnlockThatFailsIsToldWithTheLoggerFilled)
{
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexUnlock.arm(-78, 0, 1);

    EXPECT_EQ(-78, plugin->getLogger(L"a", logger));

    EXPECT_TRUE(logger);
}

TEST_F(LoggerFailure, DisabledLoggingTakesNoLock)
{
    FakeConfig::values["core.plugins.log.enable"] = "false";
    plugin->init();
    PBaseptr<ILogger> logger;
    PortFaults::mutexLock.arm(-77);

    EXPECT_EQ(0, plugin->getLogger(L"a", logger));
    EXPECT_EQ(0, defaultLogger()->getLogger(L"a", logger));
}

TEST_F(LoggerFailure, MutexThatCannotBeOpenedIsToldByGetLogger)
{
    PortFaults::mutexInit.arm(-ENOMEM, 0, 1);
    PBaseptr<PLoggerPlugin> other = PBaseptr<PLoggerPlugin>::adopt(new PLoggerPlugin);
    EXPECT_EQ(0, other->init());
    PBaseptr<ILogger> logger;

    EXPECT_EQ(-EINVAL, other->getLogger(L"a", logger));
}

TEST_F(LoggerFailure, InitWithoutMemoryIsToldAndCanBeRepeated)
{
    std::vector<int> results;

    starve([this] { return plugin->init(); }, results);

    ASSERT_FALSE(results.empty());
    EXPECT_THAT(results, testing::Contains(eIxlaNoMemory));
    EXPECT_EQ(0, defaultLogger()->info(0, L"a"));
    EXPECT_THAT(texts(), ElementsAre("a"));
}

TEST_F(LoggerFailure, LoggerWithoutMemoryIsNeitherHandedOutNorCached)
{
    plugin->init();
    const PBaseptr<ILogger> kept = get("kept");
    std::vector<int> results;

    starve(
        [&]
        {
            PBaseptr<ILogger> logger(kept);
            const int result = plugin->getLogger(L"a name too long to be kept inside", logger);
            EXPECT_EQ(result == 0, logger.get() != kept.get());
            logger.clear();
            PBaseptr<ILogger> again;
            EXPECT_EQ(0, plugin->getLogger(L"kept", again));
            return result;
        },
        results);

    EXPECT_THAT(results, testing::Contains(eIxlaNoMemory));
}

TEST_F(LoggerFailure, CachedLoggerNeedsNoMemory)
{
    plugin->init();
    PBaseptr<ILogger> logger = get("a");
    AllocationFaults::startCounting();

    EXPECT_EQ(0, plugin->getLogger(L"a", logger));

    EXPECT_EQ(0, AllocationFaults::counted());
}

TEST_F(LoggerFailure, InterfacesWithoutMemoryAreNone)
{
    for (int skip = 0; skip < 2; ++skip)
    {
        unsigned int count = 7;
        AllocationFaults::failOnceAfter(skip);
        const PString* const interfaces = plugin->getInterfaces(count);
        AllocationFaults::disarm();

        EXPECT_EQ(nullptr, interfaces);
        EXPECT_EQ(7u, count);
    }
}
