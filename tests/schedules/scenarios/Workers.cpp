// SPDX-License-Identifier: MIT
// Workers of the helpers beside their end.

#include "Scenario.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"
#include "scenarios/support/Used.h"

#include "Ixla.h"
#include "helpers/PPlugin.h"
#include "helpers/PWorker.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

using schedules::require;
using schedules::requireEqual;

namespace
{
bool _isAcceptedOrLate(int iResult)
{
    return iResult == eIxlaOk || iResult == eIxlaNoInstance;
}
} // namespace

SCENARIO(EndOfAWorkerBesideItsTask, .jumps = false, .small = true)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"jobs");
    requireEqual(0, worker.post([&] { used->run(); }), "the post");
    worker.end();
    require(used->runs <= 1, "tasks");
    used.reset();
    requireEqual(eIxlaNoInstance, worker.post([&] { used->run(); }), "a post after the end");
}

SCENARIO(EndOfAWorkerThatFinishesItsTasks, .jumps = false, .small = true)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"jobs", PWorker::eFinish);
    requireEqual(0, worker.post([&] { used->run(); }), "the first post");
    requireEqual(0, worker.post([&] { used->run(); }), "the second post");
    worker.end();
    requireEqual(2, used->runs, "tasks");
    used.reset();
}

SCENARIO(EndOfAWorkerBesidePosts, .jumps = false)
{
    auto used = std::make_unique<Used>();
    PWorker worker(L"jobs");
    int accepted = 0;
    runTogether(
        [&]
        {
            worker.end();
            used.reset();
        },
        [&]
        {
            for (int i = 0; i < 2; ++i)
            {
                const int result = worker.post([&] { used->run(); });
                require(_isAcceptedOrLate(result), "the post");
                accepted += result == eIxlaOk ? 1 : 0;
            }
        });
    require(worker.isEnding(), "the worker has ended");
    require(worker.queued() == 0, "no task is left");
}

SCENARIO(FirstTasksOfAWorkerFromTwoThreads, .jumps = false)
{
    Used used;
    PWorker worker(L"jobs", PWorker::eFinish);
    const auto post = [&]
    {
        requireEqual(0, worker.post([&] { used.run(); }), "the post");
    };
    runTogether(post, post);
    worker.end();
    requireEqual(2, used.runs, "tasks");
}

SCENARIO(EndOfAWorkerFromTwoThreads, .jumps = false)
{
    Used used;
    PWorker worker(L"jobs", PWorker::eFinish);
    requireEqual(0, worker.post([&] { used.run(); }), "the post");
    const auto end = [&]
    {
        worker.end();
        requireEqual(1, used.runs, "tasks when the worker has ended");
    };
    runTogether(end, end);
}

SCENARIO(EndOfAWorkerInItsTaskBesideItsEnd, .jumps = false, .small = true)
{
    Used used;
    PWorker worker(L"jobs");
    requireEqual(0,
                 worker.post(
                     [&]
                     {
                         used.run();
                         worker.end();
                         used.run();
                     }),
                 "the post");
    worker.end();
    require(used.runs == 0 || used.runs == 2, "the task runs as a whole or not at all");
}

SCENARIO(DestructionOfAWorkerInItsTask, .jumps = false, .small = true)
{
    std::atomic<bool> posted{false};
    std::atomic<bool> done{false};
    auto worker = std::make_unique<PWorker>(L"jobs");
    requireEqual(0,
                 worker->post(
                     [&]
                     {
                         while (!posted)
                         {
                             std::this_thread::sleep_for(std::chrono::milliseconds(1));
                         }
                         worker.reset();
                         done = true;
                     }),
                 "the post");
    posted = true;
    while (!done)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

SCENARIO(SleepOfATaskBesideTheEndOfItsWorker, .milliseconds = 1000, .jumps = false, .small = true)
{
    Used used;
    PWorker worker(L"loop");
    requireEqual(0,
                 worker.post(
                     [&]
                     {
                         while (worker.sleep(std::chrono::hours(1)))
                         {
                             used.run();
                         }
                     }),
                 "the post");
    worker.end();
    requireEqual(0, used.runs, "rounds of the loop");
}

// It must not be lost between the look at the queue and the wait.
SCENARIO(TaskThatIsPostedBesideTheWaitOfItsWorker, .milliseconds = 1000, .jumps = false,
         .small = true)
{
    std::atomic<bool> done{false};
    PWorker worker(L"jobs");
    requireEqual(0, worker.start(), "the worker starts");
    requireEqual(0, worker.post([&] { done = true; }), "the post");
    while (!done)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

SCENARIO(StartOfAWorkerThatFails, .faults = true)
{
    Used used;
    const auto worker = []
    {
        const schedules::Reliable reliable;
        return std::make_unique<PWorker>(L"jobs");
    }();
    const int result = worker->post([&] { used.run(); });
    worker->end();
    require(result == eIxlaOk || used.runs == 0, "no task runs that was refused");
}

namespace
{
/// Its worker sends an event in each task.
class Sending final : public PService<IBase>
{
public:
    explicit Sending(Used& ioUsed) : fUsed(ioUsed)
    {
    }

    int onInit() override
    {
        return fWorker.post(
            [this]
            {
                fUsed.run();
                const auto dispatcher = ixlaService<IEventDispatcher>();
                (void)dispatcher->send(L"topic", nullptr, 0);
            });
    }

    void onExit() override
    {
        fTasks = fUsed.runs;
        requireEqual(eIxlaNoInstance, fWorker.post([this] { fUsed.run(); }), "a post in onExit");
    }

    ~Sending() override
    {
        requireEqual(fTasks, fUsed.runs, "tasks after onExit");
    }

private:
    Used& fUsed;
    int fTasks = 0;
    PWorker fWorker{*this, L"sending"};
};

/// Its worker stops the core once the plugin is initialised.
class Stopping final : public PService<IBase>
{
public:
    struct State
    {
        std::atomic<bool> isInitialised{false};
        std::atomic<bool> isStopped{false};
    };

    explicit Stopping(State& ioState) : fState(ioState)
    {
    }

    int onInit() override
    {
        return fWorker.post(
            [this]
            {
                while (!fState.isInitialised)
                {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
                requireEqual(0, ixlaStop(), "the core stops");
                fState.isStopped = true;
            });
    }

private:
    State& fState;
    PWorker fWorker{*this, L"stopping"};
};

template <class TService, class TArgument>
class PluginOf final : public PPlugin
{
public:
    explicit PluginOf(TArgument& ioArgument)
    {
        offer<TService>(L"service", [&ioArgument] { return new TService(ioArgument); });
    }
};
} // namespace

SCENARIO(StopOfTheCoreBesideATask, .milliseconds = 3000, .jumps = false)
{
    const HeldServices services;
    Used used;
    auto plugin = PBaseptr<IPlugin>::adopt(new PluginOf<Sending, Used>(used));
    requireEqual(0, plugin->init(), "the plugin is initialised");
    requireEqual(0, ixlaStop(), "the core stops");
    const int tasks = used.runs;
    plugin.clear();
    requireEqual(tasks, used.runs, "tasks after the stop");
}

// The exit waits for the task until the limit of the exit event, and is then abandoned.
SCENARIO(StopOfTheCoreInATask, .milliseconds = 20000, .jumps = false)
{
    const HeldServices services;
    Stopping::State state;
    auto plugin = PBaseptr<IPlugin>::adopt(new PluginOf<Stopping, Stopping::State>(state));
    requireEqual(0, plugin->init(), "the plugin is initialised");
    state.isInitialised = true;
    while (!state.isStopped)
    {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    plugin.clear();
}
