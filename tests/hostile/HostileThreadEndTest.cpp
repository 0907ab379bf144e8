// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"
#include "support/Counted.h"
#include "support/Texts.h"

#include <atomic>
#include <ctime>
#include <functional>
#include <future>
#include <pthread.h>
#include <string>
#include <unistd.h>

namespace
{
/// A thread that may be cancelled and may end at any point of its work.
class EndingThread
{
public:
    explicit EndingThread(std::function<void()> iWork) : fWork(std::move(iWork))
    {
        EXPECT_EQ(0, pthread_create(&fHandle, nullptr, &EndingThread::run, this));
    }

    EndingThread(const EndingThread&) = delete;
    EndingThread& operator=(const EndingThread&) = delete;

    void cancel() const
    {
        EXPECT_EQ(0, pthread_cancel(fHandle));
    }

    /// Waits until the thread ends. True if it ended before its work was done.
    bool endedEarly()
    {
        timespec limit = {};
        clock_gettime(CLOCK_REALTIME, &limit);
        limit.tv_sec += 10;
        EXPECT_EQ(0, pthread_timedjoin_np(fHandle, nullptr, &limit));
        return !fDone;
    }

private:
    static void* run(void* iThread)
    {
        auto* const self = static_cast<EndingThread*>(iThread);
        self->fWork();
        self->fDone = true;
        return nullptr;
    }

    const std::function<void()> fWork;
    std::atomic<bool> fDone{false};
    pthread_t fHandle = 0;
};

int endThread()
{
    pthread_exit(nullptr);
}

class CountingListener final : public Counted<IEventListener>
{
public:
    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return ++events;
    }

    std::atomic<int> events{0};
};

/// Threads that plugin code ends, or that others cancel.
class HostileThreadEnd : public HostileTest
{
protected:
    /// Waits in a plugin's step until the thread is cancelled there.
    static int awaitCancelling()
    {
        for (;;)
        {
            pause();
        }
    }

    /// Starts with alpha, whose service subscribes to iTopic before the counting listener, and so
    /// is called after it.
    void startListening(const wchar_t* iTopic)
    {
        startWith("alpha");
        fDispatcher = fCore.get<IEventDispatcher>(kIxlaEventDispatcherId);
        fManager = fCore.get<IConfigManager>(kIxlaConfigManagerId);
        fService = fCore.get<ITestService>(L"test.alpha");
        ASSERT_TRUE(fDispatcher && fManager && fService);
        ASSERT_EQ(0, fDispatcher->addListener(iTopic, fCounter.get()));
        ASSERT_EQ(0, fDispatcher->addListener(iTopic, fService.get()));
    }

    /// Checks that an interrupted delivery has no effect on later calls and removals of listeners.
    void expectWholeDispatcher(const wchar_t* iTopic)
    {
        EXPECT_EQ(0, fCounter->events);
        PluginHooks::on("alpha.event", [] {});
        EXPECT_EQ(0, fDispatcher->send(iTopic, nullptr, 0));
        EXPECT_EQ(1, fCounter->events);
        EXPECT_EQ(0, fDispatcher->removeListener(iTopic, fCounter.get()));
        EXPECT_EQ(0, fDispatcher->removeListener(iTopic, fService.get()));
        EXPECT_EQ(1, countLines(fCore.pluginLogFile(), "Listener ended its thread: "));
    }

    bool stopsAtOnce()
    {
        fDispatcher.clear();
        fManager.clear();
        fService.clear();
        const int result = fCore.stop();
        return result == 0 && fCore.logCount("keep plugins and libraries") == 0 &&
               PluginHooks::count("alpha.destroyed") == PluginHooks::count("alpha.factory");
    }

    PBaseptr<CountingListener> fCounter{new CountingListener};
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<ITestService> fService;
};

TEST_F(HostileThreadEnd, InInitCountsAsAFailureAndWakesTheWaiters)
{
    startWith("alpha");
    std::promise<void> waited;
    PluginHooks::on("alpha.init",
                    [&]
                    {
                        waited.get_future().wait();
                        return endThread();
                    });
    EndingThread initialising([] { request("test.alpha"); });
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::future<int> waiting = std::async(std::launch::async, [] { return request("test.alpha"); });
    EXPECT_TRUE(waitUntil(
        [this] { return fCore.logCount("] Waiting other thread to init plugin...") == 1; }));
    waited.set_value();
    EXPECT_TRUE(initialising.endedEarly());
    EXPECT_EQ(eIxlaInitFailed, waiting.get());
    EXPECT_EQ(1, fCore.logCount("] Plugin ended its thread in init"));
    EXPECT_EQ(eIxlaInitFailed, request("test.alpha"));
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, InACancelledInitCountsAsAFailure)
{
    startWith("alpha");
    PluginHooks::on("alpha.init", &HostileThreadEnd::awaitCancelling);
    EndingThread initialising([] { request("test.alpha"); });
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    initialising.cancel();
    EXPECT_TRUE(initialising.endedEarly());
    EXPECT_EQ(eIxlaInitFailed, request("test.alpha"));
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, IsDeferredWhileTheThreadWaitsForAnInit)
{
    startWith("alpha");
    std::promise<void> cancelled;
    PluginHooks::on("alpha.init", [&] { cancelled.get_future().wait(); });
    std::future<int> initialising =
        std::async(std::launch::async, [] { return request("test.alpha"); });
    ASSERT_TRUE(PluginHooks::waitFor("alpha.init"));
    std::atomic<int> result{1};
    EndingThread waiting(
        [&]
        {
            result = request("test.alpha");
            pthread_testcancel();
        });
    EXPECT_TRUE(waitUntil(
        [this] { return fCore.logCount("] Waiting other thread to init plugin...") == 1; }));
    waiting.cancel();
    cancelled.set_value();
    EXPECT_TRUE(waiting.endedEarly());
    EXPECT_EQ(0, result);
    EXPECT_EQ(0, initialising.get());
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, InGetInstanceEndsTheLookup)
{
    startWith("alpha");
    PluginHooks::on("alpha.getInstance", &endThread);
    EndingThread asking([] { request("test.alpha"); });
    EXPECT_TRUE(asking.endedEarly());
    EXPECT_EQ(1, fCore.logCount("] Plugin ended its thread in getInstance"));
    PluginHooks::on("alpha.getInstance", [] {});
    EXPECT_EQ(0, request("test.alpha"));
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, InAListenerEndsTheDelivery)
{
    startListening(L"topic");
    PluginHooks::on("alpha.event", &endThread);
    EndingThread sending([this] { fDispatcher->send(L"topic", nullptr, 0); });
    EXPECT_TRUE(sending.endedEarly());
    expectWholeDispatcher(L"topic");
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, InACancelledListenerEndsTheOperationThatAnnounced)
{
    startListening(L"changed");
    ASSERT_EQ(0, fManager->addListener(L"id", L"changed"));
    PluginHooks::on("alpha.event", &HostileThreadEnd::awaitCancelling);
    EndingThread setting([this] { fManager->setInt32(L"id", L"key", 1); });
    ASSERT_TRUE(PluginHooks::waitFor("alpha.event"));
    setting.cancel();
    EXPECT_TRUE(setting.endedEarly());
    expectWholeDispatcher(L"changed");
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, OfTheNotifierDoesNotDelayTheStop)
{
    startListening(kIxlaCoreExitTopic);
    PluginHooks::on("alpha.event", &endThread);
    std::future<bool> stopped = std::async(std::launch::async, [this] { return stopsAtOnce(); });
    ASSERT_EQ(std::future_status::ready, stopped.wait_for(std::chrono::seconds(4)));
    EXPECT_TRUE(stopped.get());
    EXPECT_EQ(1, fCore.logCount("E Core [notifyCoreExit] Listener ended the notify thread"));
    EXPECT_EQ(1, fCore.logCount("D Core [stopFlow] Waiting finished fNotifyExit: 0"));
}

TEST_F(HostileThreadEnd, DuringTheStartUndoesTheStart)
{
    fCore.set("core.autostart.list", "alpha");
    fCore.addPlugin("alpha");
    const char* const steps[] = {"alpha.factory", "alpha.getInterfaces", "alpha.init"};
    for (const char* step : steps)
    {
        PluginHooks::on(step, &endThread);
        EndingThread starting([this] { fCore.start(); });
        EXPECT_TRUE(starting.endedEarly()) << step;
        EXPECT_EQ(eIxlaCoreNotStarted, request("test.alpha")) << step;
        EXPECT_EQ(eIxlaCoreNotStarted, ixlaStop()) << step;
        PluginHooks::on(step, [] {});
    }
    EXPECT_EQ(3, fCore.logCount("E Core [PCore] Plugin ended the thread that starts the core"));
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(0, request("test.alpha"));
    EXPECT_EQ(0, fCore.stop());
}

TEST_F(HostileThreadEnd, IsDeferredByEveryCallIntoTheCore)
{
    fCore.writeManagerConfig("id = id.prs");
    fCore.writeConfig("id.prs", "key = value");
    startListening(L"topic");
    std::atomic<int> done{0};
    EndingThread calling(
        [&]
        {
            pthread_cancel(pthread_self());
            const PBaseptr<ILogger> logger(fCore.get<ILogger>(kIxlaLoggerId));
            PBaseptr<ILogger> named;
            PBaseptr<IConfig> config;
            done += request("test.alpha") == 0;
            done += logger->info(0, L"line") == 0;
            done += logger->getLogger(L"named.log", named) == 0;
            done += fManager->loadByID(L"id", config) == 0;
            done += fManager->loadByFile(fCore.dir.wideFile("config/id.prs"), config) == 0;
            done += fManager->storeInt32(L"id", L"key", 1) == 0;
            done += fDispatcher->send(L"topic", nullptr, 0) == 0;
            done += fDispatcher->removeListener(L"topic", fCounter.get()) == 0;
            pthread_testcancel();
        });
    EXPECT_TRUE(calling.endedEarly());
    EXPECT_EQ(8, done);
    EXPECT_TRUE(stopsAtOnce());
}

TEST_F(HostileThreadEnd, IsDeferredWhileListenersAndPluginsAreReleased)
{
    startListening(L"topic");
    IPlugin* const plugin = fService->getPlugin();
    fService.clear();
    for (const char* step : {"alpha.service destroyed", "alpha.destroyed"})
    {
        PluginHooks::on(step, [] { pthread_testcancel(); });
    }
    int unloaded = 1;
    EndingThread releasing(
        [&]
        {
            pthread_cancel(pthread_self());
            unloaded = ixlaUnloadPlugin(plugin);
            fDispatcher->removeListener(L"topic", fCounter.get());
            pthread_testcancel();
        });
    EXPECT_TRUE(releasing.endedEarly());
    EXPECT_EQ(0, unloaded);
    EXPECT_EQ(1, PluginHooks::count("alpha.destroyed"));
}

TEST_F(HostileThreadEnd, IsDeferredDuringTheWholeStop)
{
    fCore.set("core.free.plugins.lib", "true");
    startWith("alpha");
    int stopped = 1;
    PluginHooks::on("alpha.destroyed", [] { pthread_testcancel(); });
    EndingThread stopping(
        [&]
        {
            pthread_cancel(pthread_self());
            stopped = fCore.stop();
            pthread_testcancel();
        });
    EXPECT_TRUE(stopping.endedEarly());
    EXPECT_EQ(0, stopped);
    EXPECT_EQ(1, PluginHooks::count("alpha.unmapped"));
}
} // namespace
