// SPDX-License-Identifier: MIT
#include "IEventDispatcher.h"
#include "PBaseptr.h"
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace
{
/// Three plugins listen to the exit event; alpha subscribes last and so is called first.
class HostileListener : public HostileTest
{
protected:
    void SetUp() override
    {
        for (const char* name : {"alpha", "beta", "twice"})
        {
            fCore.addPlugin(name);
        }
    }

    void startListening(const wchar_t* iTopic = kIxlaCoreExitTopic)
    {
        ASSERT_EQ(0, fCore.start());
        fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        fTwice = fCore.get<ITestService>(L"test.twice");
        fBeta = fCore.get<ITestService>(L"test.beta");
        fAlpha = fCore.get<ITestService>(L"test.alpha");
        for (ITestService* service : {fTwice, fBeta, fAlpha})
        {
            ASSERT_EQ(0, fDispatcher->addListener(iTopic, service));
        }
    }

    static std::vector<int> events()
    {
        return {PluginHooks::count("alpha.event"), PluginHooks::count("beta.event"),
                PluginHooks::count("twice.event")};
    }

    int pluginLogCount(const std::string& iText) const
    {
        return countLines(fCore.pluginLogFile(), iText);
    }

    IEventDispatcher* fDispatcher = nullptr;
    ITestService* fAlpha = nullptr;
    ITestService* fBeta = nullptr;
    ITestService* fTwice = nullptr;
};

const std::vector<int> kEachOnce{1, 1, 1};

TEST_F(HostileListener, ThrowingAtTheExitDoesNotEndTheDelivery)
{
    startListening();
    PluginHooks::on("alpha.event", []() -> int { throw std::runtime_error("exit"); });
    PluginHooks::on("beta.event", []() -> int { throw 42; });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(kEachOnce, events());
    EXPECT_EQ(2, pluginLogCount("E pgs [EventDispatcher][send] Listener threw an exception: 0x"));
}

TEST_F(HostileListener, UnsubscribingItselfAtTheExitIsServed)
{
    startListening();
    int removed = -1;
    int again = 0;
    PluginHooks::on("alpha.event",
                    [&]
                    {
                        removed = fDispatcher->removeListener(kIxlaCoreExitTopic, fAlpha);
                        again = fDispatcher->removeListener(kIxlaCoreExitTopic, fAlpha);
                    });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(0, removed);
    EXPECT_EQ(eIxlaNoListener, again);
    EXPECT_EQ(kEachOnce, events());
    EXPECT_EQ(2, pluginLogCount("[EventDispatcher][destructor] Not removed listener: "));
}

TEST_F(HostileListener, UnsubscribingAllOthersAtTheExitDoesNotEndTheDelivery)
{
    startListening();
    int results = -1;
    PluginHooks::on("alpha.event",
                    [&]
                    {
                        results = 0;
                        for (ITestService* service : {fTwice, fBeta, fAlpha})
                        {
                            results += fDispatcher->removeListener(kIxlaCoreExitTopic, service);
                        }
                    });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(0, results);
    EXPECT_EQ(kEachOnce, events());
    EXPECT_EQ(0, pluginLogCount("[EventDispatcher][destructor] Not removed listener: "));
}

TEST_F(HostileListener, SubscribingOthersDuringTheEventReachesLaterEventsOnly)
{
    ASSERT_EQ(0, fCore.start());
    fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
    fAlpha = fCore.get<ITestService>(L"test.alpha");
    fBeta = fCore.get<ITestService>(L"test.beta");
    ASSERT_EQ(0, fDispatcher->addListener(L"topic", fAlpha));
    std::vector<int> results;
    PluginHooks::on("alpha.event",
                    [&]
                    {
                        results.push_back(fDispatcher->addListener(L"topic", fBeta));
                        results.push_back(fDispatcher->addListener(kIxlaCoreExitTopic, fBeta));
                    });
    EXPECT_EQ(0, fDispatcher->send(L"topic", nullptr, 0));
    EXPECT_EQ(0, PluginHooks::count("beta.event"));
    EXPECT_EQ(0, fDispatcher->send(L"topic", nullptr, 0));
    EXPECT_EQ(1, PluginHooks::count("beta.event"));
    EXPECT_EQ((std::vector<int>{0, 0, eIxlaListenerExists, eIxlaListenerExists}), results);
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(2, PluginHooks::count("beta.event"));
}

TEST_F(HostileListener, SubscribingAtTheExitIsTooLateAndReportedAtTheEnd)
{
    ASSERT_EQ(0, fCore.start());
    fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
    fAlpha = fCore.get<ITestService>(L"test.alpha");
    fBeta = fCore.get<ITestService>(L"test.beta");
    ASSERT_EQ(0, fDispatcher->addListener(kIxlaCoreExitTopic, fAlpha));
    PluginHooks::on("alpha.event",
                    [&] { return fDispatcher->addListener(kIxlaCoreExitTopic, fBeta); });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(0, PluginHooks::count("beta.event"));
    EXPECT_EQ(1, PluginHooks::count("beta.service destroyed"));
    EXPECT_EQ(
        1, pluginLogCount("[EventDispatcher][destructor] Not removed listeners for topic: event."));
    EXPECT_EQ(2, pluginLogCount("[EventDispatcher][destructor] Not removed listener: "));
}

TEST_F(HostileListener, SendingOnItsOwnTopicAHundredDeepEnds)
{
    startListening(L"deep");
    int depth = 0;
    int failures = 0;
    PluginHooks::on("alpha.event",
                    [&]
                    {
                        if (++depth < 100)
                        {
                            failures += fDispatcher->send(L"deep", nullptr, depth) != 0;
                        }
                    });
    EXPECT_EQ(0, fDispatcher->send(L"deep", nullptr, 0));
    EXPECT_EQ(0, failures);
    EXPECT_EQ((std::vector<int>{100, 100, 100}), events());
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileListener, SendingTheExitEventAHundredDeepDoesNotDelayTheStop)
{
    startListening();
    int depth = 0;
    PluginHooks::on(
        "alpha.event",
        [&] { return ++depth < 100 ? fDispatcher->send(kIxlaCoreExitTopic, nullptr, 0) : 0; });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ((std::vector<int>{100, 100, 100}), events());
}

TEST_F(HostileListener, ReleasingTheDispatcherDuringItsEventIsHarmless)
{
    startListening();
    PBaseptr<IEventDispatcher> own(fDispatcher);
    fDispatcher = nullptr;
    PluginHooks::on("alpha.event",
                    [&]
                    {
                        own.clear();
                        // Already empty: a holder drops its reference only once.
                        own.clear();
                    });
    PluginHooks::on("beta.event",
                    []
                    {
                        // Many holders, all released during the event.
                        IBase* instance = nullptr;
                        const int result = request("com.kelvora.ixla.eventdispatcher", instance);
                        for (int i = 0; i < 100; ++i)
                        {
                            PBaseptr<IEventDispatcher> holder(
                                static_cast<IEventDispatcher*>(instance));
                            const PBaseptr<IEventDispatcher> copy(holder);
                        }
                        return result;
                    });
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(kEachOnce, events());
    EXPECT_EQ(1, pluginLogCount("[EventDispatcher][destructor] Destroy instance: 0x"));
}

TEST_F(HostileListener, StopIsNotCleanWithoutItsLogLines)
{
    fCore.set("core.log.level", "-1");
    startListening();
    EXPECT_FALSE(stopsCleanly());
}
} // namespace
