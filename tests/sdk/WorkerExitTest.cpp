// SPDX-License-Identifier: MIT
// The end of workers with the service whose members they are.

#include "support/CoreRun.h"
#include "support/PortFaults.h"

#include "helpers/PPlugin.h"
#include "helpers/PWorker.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <pthread.h>

namespace
{
using namespace std::chrono_literals;

/// Occupies a worker until it ends; returns when the task has begun.
int _loop(PWorker& ioWorker, const std::function<void()>& iAtTheEnd)
{
    const auto begun = std::make_shared<std::promise<void>>();
    const int result = ioWorker.post(
        [&ioWorker, iAtTheEnd, begun]
        {
            begun->set_value();
            while (ioWorker.sleep(1h))
            {
            }
            iAtTheEnd();
        });
    if (result == eIxlaOk)
    {
        EXPECT_EQ(std::future_status::ready, begun->get_future().wait_for(30s));
    }
    return result;
}

/// Its worker runs until it ends.
class Counting : public PService<IBase>
{
public:
    explicit Counting(std::vector<std::string>& ioSteps) : fSteps(ioSteps)
    {
    }

    int onInit() override
    {
        return _loop(fWorker, [this] { fSteps.emplace_back("task ends"); });
    }

    void onExit() override
    {
        EXPECT_EQ(eIxlaNoInstance, fWorker.post([] {}));
        fSteps.emplace_back("exit");
    }

private:
    std::vector<std::string>& fSteps;
    PWorker fWorker{*this, L"counting"};
};

class CountingPlugin : public PPlugin
{
public:
    explicit CountingPlugin(std::vector<std::string>& ioSteps)
    {
        offer<Counting>(L"test.counting", [&ioSteps] { return new Counting(ioSteps); });
    }
};

TEST(WorkerExitTest, WorkerOfAServiceEndsBeforeItsOnExit)
{
    std::vector<std::string> steps; // not synchronised: the end of the worker orders the steps
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(new CountingPlugin(steps));
    ASSERT_EQ(0, plugin->init());
    EXPECT_EQ(0, core.stop());
    EXPECT_EQ((std::vector<std::string>{"task ends", "exit"}), steps);
}

TEST(WorkerExitTest, WorkerOfAServiceEndsWhenItsPluginIsDestroyed)
{
    std::vector<std::string> steps;
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(new CountingPlugin(steps));
    ASSERT_EQ(0, plugin->init());
    plugin.clear();
    EXPECT_EQ((std::vector<std::string>{"task ends", "exit"}), steps);
}

TEST(WorkerExitTest, FailedThreadStartFailsTheInitialisation)
{
    std::vector<std::string> steps;
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(new CountingPlugin(steps));
    PortFaults::threadCreate.armOnThisThread(-EAGAIN);
    EXPECT_EQ(-EAGAIN, plugin->init());
    PortFaults::reset();
    EXPECT_EQ((std::vector<std::string>{"exit"}), steps);
}

/// Its members end in reverse order.
class TwoWorkers : public PService<IBase>
{
public:
    int onInit() override
    {
        const int result = _loop(fFirst, [] { sEnded.push_back(1); });
        return result == eIxlaOk ? _loop(fSecond, [] { sEnded.push_back(2); }) : result;
    }

    static std::vector<int> sEnded;

private:
    PWorker fFirst{*this, L"first"};
    PWorker fSecond{*this, L"second"};
};

std::vector<int> TwoWorkers::sEnded;

class TwoWorkersPlugin : public PPlugin
{
public:
    TwoWorkersPlugin()
    {
        offer<TwoWorkers>(L"test.two");
    }
};

TEST(WorkerExitTest, WorkersOfAServiceEndInReverseOrder)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<TwoWorkersPlugin>());
    ASSERT_EQ(0, plugin->init());
    EXPECT_EQ(0, core.stop());
    EXPECT_EQ((std::vector<int>{2, 1}), TwoWorkers::sEnded);
}

/// The thread ends in the onExit of the later service.
class Leaving : public PService<IBase>
{
public:
    void onExit() override
    {
        pthread_exit(nullptr);
    }
};

class LeavingPlugin : public PPlugin
{
public:
    LeavingPlugin()
    {
        offer<TwoWorkers>(L"test.two");
        offer<Leaving>(L"test.leaving");
    }
};

TEST(WorkerExitTest, ThreadThatEndsInAnotherOnExitEndsTheWorkers)
{
    TwoWorkers::sEnded.clear();
    CoreRun core;
    ASSERT_EQ(0, core.start());
    auto plugin = PBaseptr<IPlugin>::adopt(ixlaNewPlugin<LeavingPlugin>());
    ASSERT_EQ(0, plugin->init());
    EXPECT_EQ(0, core.stop());
    EXPECT_EQ((std::vector<int>{2, 1}), TwoWorkers::sEnded);
}
} // namespace
