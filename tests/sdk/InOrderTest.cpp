// SPDX-License-Identifier: MIT
#include "helpers/InOrder.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PSubscription.h"
#include "helpers/Text.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace
{
class InOrderTest : public testing::Test
{
protected:
    void start()
    {
        ASSERT_EQ(0, fCore.start());
    }

    /// The code and the name of a result.
    static std::string shown(const PNamedResult& iResult)
    {
        return std::to_string(iResult.code()) + " " + ixlaNarrow(iResult.name());
    }

    CoreRun fCore;
    PBaseptr<IBase> fService;
    PBaseptr<ILogger> fLogger;
};

TEST_F(InOrderTest, FindsTheServicesOfTheCoreByTheirInterfaces)
{
    start();
    PBaseptr<IConfigManager> manager;
    PBaseptr<IEventDispatcher> dispatcher;
    EXPECT_EQ("0 ", shown(ixlaInOrder(manager, dispatcher, fLogger)));
    EXPECT_EQ(fCore.get<IConfigManager>(kIxlaConfigManagerId), manager.get());
    EXPECT_EQ(fCore.get<IEventDispatcher>(kIxlaEventDispatcherId), dispatcher.get());
    EXPECT_EQ(fCore.get<ILogger>(kIxlaLoggerId), fLogger.get());
}

TEST_F(InOrderTest, FindsOtherServicesByTheirIds)
{
    fCore.addPlugin("helpers");
    start();
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaNeed(L"test.helpers.first", fService))));
    EXPECT_TRUE(fService);
}

TEST_F(InOrderTest, ReturnsTheFirstFailureWithItsName)
{
    start();
    PBaseptr<IBase> second;
    bool reached = false;
    const PNamedResult result =
        ixlaInOrder(fLogger, ixlaNeed(L"test.nobody", fService), ixlaNeed(L"test.others", second),
                    ixlaStep(L"last",
                             [&]
                             {
                                 reached = true;
                                 return 0;
                             }));
    EXPECT_EQ("-2001 test.nobody", shown(result));
    EXPECT_TRUE(fLogger);
    EXPECT_FALSE(fService);
    EXPECT_FALSE(reached);
}

TEST_F(InOrderTest, WithoutACoreItNamesTheFirstService)
{
    EXPECT_EQ("-1002 com.kelvora.ixla.logger", shown(ixlaInOrder(fLogger)));
}

TEST_F(InOrderTest, AServiceThatMayBeMissingIsNoFailure)
{
    start();
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaMayUse(L"test.nobody", fService), fLogger)));
    EXPECT_FALSE(fService);
    EXPECT_TRUE(fLogger);
}

TEST_F(InOrderTest, AFailedServiceIsAFailureAlsoIfItMayBeMissing)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.init", [] { return -42; });
    start();
    EXPECT_EQ("-2003 test.alpha", shown(ixlaInOrder(ixlaMayUse(L"test.alpha", fService))));
}

TEST_F(InOrderTest, StepsRunFromLeftToRight)
{
    std::string order;
    const auto step = [&](char iName)
    {
        return [&order, iName]
        {
            order += iName;
            return 0;
        };
    };
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaStep(L"a", step('a')), ixlaStep(L"b", step('b')),
                                      ixlaStep(L"c", step('c')))));
    EXPECT_EQ("abc", order);
}

TEST_F(InOrderTest, AStepMayBeACallableWithItsOwnNames)
{
    const auto inner = []
    {
        return PNamedResult(-7, L"inner");
    };
    EXPECT_EQ("-7 inner", shown(ixlaInOrder(inner)));
}

TEST_F(InOrderTest, ExceptionsOfAStepAreLoggedAfterItsName)
{
    start();
    const auto refuse = []() -> int
    {
        throw std::runtime_error("no such engine");
    };
    const auto exhaust = []() -> int
    {
        throw std::bad_alloc();
    };
    EXPECT_EQ("-2003 engine", shown(ixlaInOrder(ixlaStep(L"engine", refuse))));
    EXPECT_EQ("-501 memory", shown(ixlaInOrder(ixlaStep(L"memory", exhaust))));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, countLines(fCore.pluginLogFile(), "E pgs [engine] Exception: no such engine"));
}

TEST_F(InOrderTest, AThreadMayEndInAStep)
{
    bool returned = false;
    std::thread(
        [&]
        {
            (void)ixlaInOrder(ixlaStep(L"end", []() -> int { pthread_exit(nullptr); }));
            returned = true;
        })
        .join();
    EXPECT_FALSE(returned);
}

/// A configuration that loads with a code.
struct CodeConfig
{
    static const wchar_t* id()
    {
        return L"test.id";
    }

    int load() const
    {
        return code;
    }

    int code;
};

TEST_F(InOrderTest, NamesTheIdOfAConfigurationThatDoesNotLoad)
{
    CodeConfig good{0};
    CodeConfig bad{-2};
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaLoad(good))));
    EXPECT_EQ("-2 test.id", shown(ixlaInOrder(ixlaLoad(bad))));
}

TEST_F(InOrderTest, OpensANamedLog)
{
    start();
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaNamedLog(L"own.log", fLogger))));
    fLogger->info(0, L"in its own file");
    fLogger.clear();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, countLines(fCore.pluginLogFile("own.log"), "I pgs in its own file"));
}

TEST_F(InOrderTest, ANamedLogIsNeverEmptyWhileLoggingIsDisabled)
{
    fCore.set("core.plugins.log.enable", "false");
    start();
    EXPECT_EQ("0 ", shown(ixlaInOrder(ixlaNamedLog(L"own.log", fLogger))));
    ASSERT_TRUE(fLogger);
    fLogger->info(0, L"dropped");
    fLogger.clear();
    EXPECT_EQ(0, fCore.stop());
    EXPECT_FALSE(std::filesystem::exists(fCore.pluginLogFile("own.log")));
}

TEST_F(InOrderTest, NamesTheLogThatCannotBeOpened)
{
    EXPECT_EQ("-1002 own.log", shown(ixlaInOrder(ixlaNamedLog(L"own.log", fLogger))));
    start();
    AllocationFaults::failAfter(0);
    const PNamedResult result = ixlaInOrder(ixlaNamedLog(L"own.log", fLogger));
    AllocationFaults::disarm();
    EXPECT_EQ(eIxlaNoMemory, result.code());
    EXPECT_FALSE(fLogger);
}

TEST_F(InOrderTest, SubscribesToTopicsAndConfigurations)
{
    start();
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<IConfigManager> manager;
    int events = 0;
    int changes = 0;
    PSubscription subscription;
    PConfigSubscription configuration;
    const PNamedResult result = ixlaInOrder(
        dispatcher, manager,
        ixlaSubscribe(subscription, L"test.topic", [&](const PLiteral&, IBase*, int) { ++events; }),
        ixlaSubscribe(configuration, L"test.id", [&](const IConfigChanged&) { ++changes; }));
    EXPECT_EQ("0 ", shown(result));
    EXPECT_EQ(0, dispatcher->send(L"test.topic", nullptr, 0));
    EXPECT_EQ(0, manager->setInt32(L"test.id", L"key", 1));
    EXPECT_EQ(1, events);
    EXPECT_EQ(1, changes);
}

TEST_F(InOrderTest, NamesTheTopicOfAFailedSubscription)
{
    PSubscription subscription;
    EXPECT_EQ("-1002 test.topic",
              shown(ixlaInOrder(ixlaSubscribe(subscription, L"test.topic",
                                              [](const PLiteral&, IBase*, int) {}))));
}
} // namespace
