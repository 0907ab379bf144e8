// SPDX-License-Identifier: MIT
// The behaviour of PPlugin between the core and the services of a plugin.

#include "support/CoreRun.h"
#include "support/PluginHooks.h"

#include "helpers/PPlugin.h"
#include "helpers/ServiceLookup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <new>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace
{
constexpr wchar_t kFirstId[] = L"test.helpers.first";
constexpr wchar_t kSecondId[] = L"test.helpers.second";

int _references(IBase* iObject)
{
    iObject->incRef();
    return iObject->decRef();
}

/// Whether a thread has ended before its work was done.
bool _endsEarly(const std::function<void()>& iWork)
{
    std::atomic<bool> done{false};
    std::thread(
        [&]
        {
            iWork();
            done = true;
        })
        .join();
    return !done;
}

class PluginTest : public testing::Test
{
protected:
    PluginTest()
    {
        fCore.addPlugin("helpers");
    }

    /// The steps of the plugin so far, without its name.
    static std::vector<std::string> steps()
    {
        std::vector<std::string> steps;
        for (const std::string& step : PluginHooks::journal())
        {
            steps.push_back(step.substr(std::string("helpers.").size()));
        }
        return steps;
    }

    static int request(const wchar_t* iId)
    {
        int result = eIxlaOk;
        ixlaService<IBase>(iId, result);
        return result;
    }

    /// Makes the second service fail with iAction; init of the plugin must return iCode.
    void expectInitFails(int iCode, std::function<int()> iAction)
    {
        PluginHooks::on("helpers.second init", std::move(iAction));
        ASSERT_EQ(0, fCore.start());
        EXPECT_EQ(eIxlaInitFailed, request(kSecondId));
        // Logged by the initialisation and by the lookup.
        EXPECT_EQ(2, fCore.logCount("] Failed to init plugin err: " + std::to_string(iCode)));
    }

    CoreRun fCore;
};

TEST_F(PluginTest, ServicesStartInOrderAndEndInReverse)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request(kSecondId));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ((std::vector<std::string>{"constructor", "first made", "first init", "second made",
                                        "second init", "second exit", "first exit", "destroyed",
                                        "second destroyed", "first destroyed"}),
              steps());
}

TEST_F(PluginTest, ReturnsEachServiceByItsId)
{
    ASSERT_EQ(0, fCore.start());
    {
        int result = 1;
        const auto first = ixlaService<IBase>(kFirstId, result);
        EXPECT_EQ(0, result);
        const auto second = ixlaService<IBase>(kSecondId, result);
        EXPECT_EQ(0, result);
        EXPECT_NE(first.get(), second.get());
        EXPECT_EQ(first.get(), ixlaService<IBase>(kFirstId).get());
    }
    EXPECT_EQ(1, PluginHooks::count("helpers.first made"));
}

TEST_F(PluginTest, ServicesExitBeforeThePluginIsDestroyed)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request(kFirstId));
    int found = 1;
    PluginHooks::on("helpers.first exit", [&] { return found = request(kSecondId); });
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(0, found);
    EXPECT_EQ(1, PluginHooks::count("helpers.first exit"));
}

TEST_F(PluginTest, WithoutInitNoServiceStarts)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ((std::vector<std::string>{"constructor", "destroyed"}), steps());
}

TEST_F(PluginTest, FailedInitReleasesEverythingAndReturnsItsCode)
{
    expectInitFails(-42, [] { return -42; });
    EXPECT_EQ((std::vector<std::string>{"constructor", "first made", "first init", "second made",
                                        "second init", "second exit", "first exit",
                                        "second destroyed", "first destroyed"}),
              steps());
}

TEST_F(PluginTest, LackOfMemoryInInitReturnsItsCode)
{
    expectInitFails(eIxlaNoMemory, []() -> int { throw std::bad_alloc(); });
    EXPECT_EQ(1, PluginHooks::count("helpers.first destroyed"));
}

TEST_F(PluginTest, ExceptionInInitIsInThePluginsLog)
{
    expectInitFails(eIxlaInitFailed, []() -> int { throw std::runtime_error("no such engine"); });
    EXPECT_EQ(1, PluginHooks::count("helpers.second destroyed"));
    EXPECT_EQ(0, fCore.logCount("Plugin threw an exception in init"));
    EXPECT_EQ(1, countLines(fCore.pluginLogFile(), "E pgs [init] Exception: no such engine"));
}

TEST_F(PluginTest, ExceptionInExitIsLoggedAndTheOthersExit)
{
    PluginHooks::on("helpers.second exit", []() -> int { throw 1; });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request(kFirstId));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(1, PluginHooks::count("helpers.first exit"));
    EXPECT_EQ(1, countLines(fCore.pluginLogFile(),
                            "E pgs [test.helpers.second] Exception: not a std::exception"));
}

TEST_F(PluginTest, ExceptionInTheConstructorReturnsNoPlugin)
{
    PluginHooks::on("helpers.constructor", [] { return -1; });
    EXPECT_EQ(eIxlaNullPlugin, fCore.start());
}

/// Plugins in the test itself, without a core.
class Unused : public PService<IBase>
{
};

/// Its onExit reports its start and blocks until the test releases it.
class Slow : public PService<IBase>
{
public:
    ~Slow() override
    {
        sDestroyed = true;
    }

    void onExit() override
    {
        sEntered.set_value();
        sLeave.get_future().wait();
    }

    static std::promise<void> sEntered;
    static std::promise<void> sLeave;
    static std::atomic<bool> sDestroyed;
};

std::promise<void> Slow::sEntered;
std::promise<void> Slow::sLeave;
std::atomic<bool> Slow::sDestroyed{false};

class SlowPlugin : public PPlugin
{
public:
    SlowPlugin()
    {
        offer<Slow>(L"test.slow");
    }
};

class OwnPlugin : public PPlugin
{
public:
    OwnPlugin()
    {
        offer<Unused>(L"test.own");
    }
};

class EmptyPlugin : public PPlugin
{
};

TEST(PluginAloneTest, ReturnsANewInterfaceListEachTime)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<OwnPlugin>());
    unsigned int count = 0;
    const std::unique_ptr<PString[]> first(plugin->getInterfaces(count));
    ASSERT_EQ(1u, count);
    const std::unique_ptr<PString[]> second(plugin->getInterfaces(count));
    ASSERT_EQ(1u, count);
    EXPECT_TRUE(first[0] == L"test.own");
    EXPECT_TRUE(second[0] == L"test.own");
    EXPECT_FALSE(first == second);
}

TEST(PluginAloneTest, OffersNothingByDefault)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<EmptyPlugin>());
    unsigned int count = 7;
    const std::unique_ptr<PString[]> ids(plugin->getInterfaces(count));
    EXPECT_EQ(0u, count);
}

TEST(PluginAloneTest, UnknownIdReturnsNull)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<OwnPlugin>());
    IBase* instance = plugin.get();
    EXPECT_EQ(eIxlaUnknownInterface, plugin->getInstance(L"test.owner", instance));
    EXPECT_EQ(nullptr, instance);
}

TEST(PluginAloneTest, NoServiceBeforeInitNorAfterAFailedOne)
{
    const auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<OwnPlugin>());
    IBase* instance = plugin.get();
    EXPECT_EQ(eIxlaNoInstance, plugin->getInstance(L"test.own", instance));
    EXPECT_EQ(nullptr, instance);
    // Without a core there is no dispatcher and no exit event.
    EXPECT_EQ(eIxlaCoreNotStarted, plugin->init());
    EXPECT_EQ(eIxlaNoInstance, plugin->getInstance(L"test.own", instance));
}

// As when the core stops although a listener of its exit event has not returned.
TEST(PluginAloneTest, ExitThatOutlivesThePluginKeepsItsServices)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<SlowPlugin>());
    ASSERT_EQ(0, plugin->init());
    const auto dispatcher = ixlaService<IEventDispatcher>();
    std::future<int> sent = std::async(
        std::launch::async, [&] { return dispatcher->send(kIxlaCoreExitTopic, nullptr, 0); });
    Slow::sEntered.get_future().wait();
    plugin.clear();
    EXPECT_FALSE(Slow::sDestroyed);
    Slow::sLeave.set_value();
    EXPECT_EQ(0, sent.get());
    EXPECT_TRUE(Slow::sDestroyed);
}

TEST_F(PluginTest, HoldsTheServicesOfTheCoreFromItsInitOn)
{
    ASSERT_EQ(0, fCore.start());
    IBase* const services[] = {fCore.get<IBase>(kIxlaConfigManagerId),
                               fCore.get<IBase>(kIxlaEventDispatcherId),
                               fCore.get<IBase>(kIxlaLoggerId)};
    std::vector<int> before;
    PluginHooks::on("helpers.first init",
                    [&]
                    {
                        for (IBase* service : services)
                        {
                            before.push_back(_references(service));
                        }
                    });
    std::vector<int> idle;
    for (IBase* service : services)
    {
        idle.push_back(_references(service));
    }
    EXPECT_EQ(0, request(kFirstId));
    for (std::size_t i = 0; i < idle.size(); ++i)
    {
        EXPECT_EQ(idle[i] + 1, before[i]) << i;
        EXPECT_LE(idle[i] + 1, _references(services[i])) << i;
    }
}

TEST_F(PluginTest, ThreadThatEndsInOnInitEndsTheStartedServices)
{
    PluginHooks::on("helpers.second init", []() -> int { pthread_exit(nullptr); });
    ASSERT_EQ(0, fCore.start());
    EXPECT_TRUE(_endsEarly([] { request(kSecondId); }));
    EXPECT_EQ(eIxlaInitFailed, request(kSecondId));
    EXPECT_EQ((std::vector<std::string>{"constructor", "first made", "first init", "second made",
                                        "second init", "second exit", "first exit",
                                        "second destroyed", "first destroyed"}),
              steps());
}

TEST_F(PluginTest, ThreadThatEndsInOnExitDoesNotDelayTheStop)
{
    PluginHooks::on("helpers.second exit", []() -> int { pthread_exit(nullptr); });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request(kSecondId));
    EXPECT_EQ(0, fCore.stop());
    EXPECT_EQ(0, PluginHooks::count("helpers.first exit"));
    EXPECT_EQ(1, PluginHooks::count("helpers.first destroyed"));
}
} // namespace
