// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/ThreadCount.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr int kThreads = 8;
constexpr int kStops = 300;

class CoreStress : public testing::Test
{
protected:
    /// Runs iWork on kThreads threads that start at once.
    template <class TWork>
    static void together(const TWork& iWork)
    {
        std::barrier<> begin(kThreads);
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back(
                [&, i]
                {
                    begin.arrive_and_wait();
                    iWork(i);
                });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }

    CoreRun fCore;
};

/// The resources of the process that could leak: handles, threads and mapped regions.
struct Holdings
{
    static Holdings now()
    {
        return {entries("/proc/self/fd"), countThreads(), residentPages()};
    }

    static int entries(const char* iDir)
    {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(iDir))
        {
            count += entry.path().empty() ? 0 : 1;
        }
        return count;
    }

    static long residentPages()
    {
        std::ifstream statm("/proc/self/statm");
        long size = 0;
        long resident = 0;
        statm >> size >> resident;
        return resident;
    }

    int handles;
    int threads;
    long pages;
};

TEST_F(CoreStress, FirstRequestsOfOnePluginInitialiseItOnce)
{
    fCore.addPlugin("alpha");
    ASSERT_EQ(0, fCore.start());
    std::atomic<int> failures{0};
    std::atomic<int> inits{0};
    PluginHooks::on("alpha.init", [&] { return inits++; });
    together(
        [&](int)
        {
            IBase* instance = nullptr;
            failures += ixlaGetInstance(L"test.alpha", instance) != 0 || !instance;
        });
    EXPECT_EQ(1, inits);
    EXPECT_EQ(0, failures);
}

TEST_F(CoreStress, RequestsOfManyPluginsFindTheirOwn)
{
    for (const char* name : {"alpha", "beta", "twice"})
    {
        fCore.addPlugin(name);
    }
    ASSERT_EQ(0, fCore.start());
    const wchar_t* const ids[] = {L"test.alpha",         L"test.beta",  L"test.beta.second",
                                  L"test.twice",         kIxlaLoggerId, kIxlaConfigManagerId,
                                  kIxlaEventDispatcherId};
    std::atomic<int> failures{0};
    together(
        [&](int iThread)
        {
            for (int i = 0; i < 300; ++i)
            {
                IBase* instance = nullptr;
                const wchar_t* id = ids[static_cast<std::size_t>(i + iThread) % std::size(ids)];
                failures += ixlaGetInstance(id, instance) != 0 || !instance;
                failures += !ixlaIsInterfaceAvailable(id);
            }
        });
    EXPECT_EQ(0, failures);
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(1, PluginHooks::count("beta.init"));
    EXPECT_EQ(1, PluginHooks::count("twice.init"));
}

TEST_F(CoreStress, OtherInterfacesAreFoundWhileAPluginIsUnloaded)
{
    // Without log lines and with relaxed counters the threads are not synchronised.
    fCore.set("core.log.level", "-1");
    for (const char* name : {"alpha", "beta", "twice"})
    {
        fCore.addPlugin(name);
    }
    ASSERT_EQ(0, fCore.start());
    ITestService* const beta = fCore.get<ITestService>(L"test.beta");
    ASSERT_NE(nullptr, beta);
    std::atomic<int> failures{0};
    std::atomic<int> lookups{0};
    std::atomic<int> unload{1};
    together(
        [&](int iThread)
        {
            while (iThread == 0 && lookups.load(std::memory_order_relaxed) < 1000)
            {
                std::this_thread::yield();
            }
            if (iThread == 0)
            {
                unload.store(ixlaUnloadPlugin(beta->getPlugin()), std::memory_order_relaxed);
            }
            while (unload.load(std::memory_order_relaxed) == 1)
            {
                const bool found = ixlaIsInterfaceAvailable(L"test.twice");
                failures.fetch_add(found ? 0 : 1, std::memory_order_relaxed);
                lookups.fetch_add(1, std::memory_order_relaxed);
            }
        });
    EXPECT_EQ(0, failures);
    EXPECT_EQ(0, unload);
    EXPECT_FALSE(ixlaIsInterfaceAvailable(L"test.beta.second"));
}

TEST_F(CoreStress, AThousandStartsAndStopsLeakNothing)
{
    fCore.set("core.log.level", "-1");
    fCore.addPlugin("alpha");
    Holdings before{};
    for (int round = 0; round < 1000; ++round)
    {
        if (round == 100)
        {
            before = Holdings::now();
        }
        ASSERT_EQ(0, fCore.start()) << round;
        ASSERT_NE(nullptr, fCore.get<IBase>(L"test.alpha"));
        ASSERT_NE(nullptr, fCore.get<IBase>(kIxlaLoggerId));
        ASSERT_EQ(0, fCore.stop()) << round;
    }
    const Holdings after = Holdings::now();
    EXPECT_EQ(before.handles, after.handles);
    EXPECT_EQ(before.threads, after.threads);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // 900 rounds must cost less than a kilobyte each.
    EXPECT_GE(before.pages + 200, after.pages);
#endif
}

TEST_F(CoreStress, SettersAnnounceThroughoutStops)
{
    fCore.erase("core.log.file");
    for (int round = 0; round < kStops; ++round)
    {
        ASSERT_EQ(0, fCore.start());
        const PBaseptr<IConfigManager> manager(fCore.get<IConfigManager>(kIxlaConfigManagerId));
        ASSERT_EQ(0, manager->addListener(L"id", L"changed"));
        std::atomic<bool> stopped{false};
        std::barrier<> begin(3);
        const auto set = [&]
        {
            begin.arrive_and_wait();
            while (!stopped)
            {
                ASSERT_EQ(0, manager->setString(L"id", L"key", L"value"));
            }
        };
        std::thread first(set);
        std::thread second(set);
        begin.arrive_and_wait();
        EXPECT_EQ(0, fCore.stop());
        stopped = true;
        first.join();
        second.join();
    }
}
} // namespace
