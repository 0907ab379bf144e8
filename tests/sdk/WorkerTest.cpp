// SPDX-License-Identifier: MIT
#include "helpers/PWorker.h"

#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using namespace std::chrono_literals;

/// Long enough for a loaded machine; never waited for when all is well.
constexpr auto kLimit = 30s;

std::string _threadName()
{
    std::array<char, 16> name{};
    EXPECT_EQ(0, pthread_getname_np(pthread_self(), name.data(), name.size()));
    return name.data();
}

/// The result of a callable that the worker runs.
template <class TFunction>
auto _onThread(PWorker& ioWorker, TFunction iFunction)
{
    std::packaged_task<decltype(iFunction())()> task(std::move(iFunction));
    auto result = task.get_future();
    EXPECT_EQ(0, ioWorker.post(std::move(task)));
    EXPECT_EQ(std::future_status::ready, result.wait_for(kLimit));
    return result.get();
}

/// Whether other threads leave a wait soon.
bool _isSet(const std::future<void>& iFuture)
{
    return iFuture.wait_for(kLimit) == std::future_status::ready;
}

class WorkerTest : public testing::Test
{
protected:
    /// The worker's thread is inside a task until fLeave is set.
    void occupy(PWorker& ioWorker)
    {
        ASSERT_EQ(0, ioWorker.post(
                         [this]
                         {
                             fEntered.set_value();
                             fLeave.get_future().wait();
                         }));
        ASSERT_TRUE(_isSet(fEntered.get_future()));
    }

    /// A worker whose running task and whose queue are as large as iQueued.
    void queue(PWorker& ioWorker, int iQueued)
    {
        occupy(ioWorker);
        for (int i = 0; i < iQueued; ++i)
        {
            ASSERT_EQ(0, ioWorker.post([this] { ++fRun; }));
        }
        ASSERT_EQ(iQueued, static_cast<int>(ioWorker.queued()));
    }

    std::promise<void> fEntered;
    std::promise<void> fLeave;
    std::atomic<int> fRun{0};
};

TEST_F(WorkerTest, RunsTasksInTheirOrderOnItsOwnThread)
{
    PWorker worker(L"jobs");
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(0, worker.post([&order, i] { order.push_back(i); }));
    }
    EXPECT_NE(std::this_thread::get_id(),
              _onThread(worker, [] { return std::this_thread::get_id(); }));
    ASSERT_EQ(100u, order.size());
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(i, order[static_cast<std::size_t>(i)]);
    }
}

TEST_F(WorkerTest, NamesItsThread)
{
    PWorker worker(L"jobs");
    EXPECT_EQ("jobs", _onThread(worker, _threadName));
    PWorker cut(L"a name of 20 letters");
    EXPECT_EQ("a name of 20 le", _onThread(cut, _threadName));
    PWorker inside(L"fourteen byte\u00e4\u00e4");
    EXPECT_EQ("fourteen byte\xc3\xa4", _onThread(inside, _threadName));
    PWorker before(L"fourteen bytes\u00e4");
    EXPECT_EQ("fourteen bytes", _onThread(before, _threadName));
}

TEST_F(WorkerTest, StartsOnce)
{
    PWorker worker(L"jobs");
    EXPECT_EQ(0, worker.start());
    EXPECT_EQ(0, worker.start());
    EXPECT_EQ(_onThread(worker, pthread_self), _onThread(worker, pthread_self));
}

TEST_F(WorkerTest, StartsOnceFromSeveralThreads)
{
    PWorker worker(L"jobs");
    std::atomic<int> failed{0};
    std::thread starters[4];
    for (std::thread& starter : starters)
    {
        starter = std::thread([&] { failed += worker.post([this] { ++fRun; }) == 0 ? 0 : 1; });
    }
    for (std::thread& starter : starters)
    {
        starter.join();
    }
    EXPECT_EQ(0, _onThread(worker, [&] { return failed.load(); }));
    EXPECT_EQ(4, fRun);
}

TEST_F(WorkerTest, FailedStartReturnsItsCodeAndCanBeRepeated)
{
    PWorker worker(L"jobs");
    PortFaults::threadCreate.arm(-EAGAIN);
    EXPECT_EQ(-EAGAIN, worker.start());
    EXPECT_EQ(-EAGAIN, worker.post([this] { ++fRun; }));
    EXPECT_EQ(0u, worker.queued());
    PortFaults::reset();
    EXPECT_EQ(0, _onThread(worker, [this] { return fRun.load(); }));
}

TEST_F(WorkerTest, LackOfMemoryReturnsACodeAndQueuesNothing)
{
    int skipped = 0;
    for (bool struck = true; struck; ++skipped)
    {
        PWorker worker(L"jobs");
        AllocationFaults::failOnceAfter(skipped);
        const int result = worker.post([this] { ++fRun; });
        struck = AllocationFaults::struck();
        AllocationFaults::disarm();
        EXPECT_EQ(struck ? eIxlaNoMemory : eIxlaOk, result) << skipped;
        EXPECT_EQ(struck ? 0 : 1, _onThread(worker, [this] { return fRun.load(); }));
    }
    EXPECT_LT(2, skipped);
}

TEST_F(WorkerTest, EndWaitsForTheRunningTask)
{
    PWorker worker(L"jobs");
    occupy(worker);
    ASSERT_FALSE(worker.isEnding());
    std::future<void> ended = std::async(std::launch::async, [&] { worker.end(); });
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(std::future_status::timeout, ended.wait_for(0s));
    fLeave.set_value();
    EXPECT_TRUE(_isSet(ended));
}

TEST_F(WorkerTest, EndDestroysQueuedTasksWithoutRunningThem)
{
    const auto held = std::make_shared<int>(1);
    PWorker worker(L"jobs");
    queue(worker, 2);
    EXPECT_EQ(0, worker.post([this, held] { ++fRun; }));
    std::future<void> ended = std::async(std::launch::async, [&] { worker.end(); });
    while (held.use_count() > 1)
    {
        std::this_thread::yield();
    }
    fLeave.set_value();
    EXPECT_TRUE(_isSet(ended));
    EXPECT_EQ(0, fRun);
    EXPECT_EQ(0u, worker.queued());
}

TEST_F(WorkerTest, EndRunsQueuedTasksOnRequest)
{
    PWorker worker(L"jobs", PWorker::eFinish);
    queue(worker, 3);
    int posted = 0;
    EXPECT_EQ(0, worker.post([&] { posted = worker.post([] {}); }));
    std::future<void> ended = std::async(std::launch::async, [&] { worker.end(); });
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    fLeave.set_value();
    EXPECT_TRUE(_isSet(ended));
    EXPECT_EQ(3, fRun);
    EXPECT_EQ(eIxlaNoInstance, posted);
}

TEST_F(WorkerTest, NothingStartsAfterTheEnd)
{
    PWorker worker(L"jobs");
    EXPECT_EQ(0, worker.start());
    worker.end();
    worker.end();
    EXPECT_TRUE(worker.isEnding());
    EXPECT_EQ(eIxlaNoInstance, worker.start());
    EXPECT_EQ(eIxlaNoInstance, worker.post([this] { ++fRun; }));
    PWorker unused(L"jobs");
    unused.end();
    EXPECT_EQ(eIxlaNoInstance, unused.start());
    EXPECT_EQ(0, fRun);
}

TEST_F(WorkerTest, EndInATaskDoesNotWaitAndStopsTheQueue)
{
    PWorker worker(L"jobs");
    queue(worker, 0);
    EXPECT_EQ(0, worker.post([&] { worker.end(); }));
    EXPECT_EQ(0, worker.post([this] { ++fRun; }));
    fLeave.set_value();
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    worker.end();
    EXPECT_EQ(0, fRun);
}

TEST_F(WorkerTest, TaskMayDestroyItsWorker)
{
    auto* worker = new PWorker(L"jobs");
    const auto posted = std::make_shared<std::promise<void>>();
    const auto done = std::make_shared<std::promise<void>>();
    ASSERT_EQ(0, worker->post(
                     [worker, posted, done]
                     {
                         posted->get_future().wait();
                         delete worker;
                         done->set_value();
                     }));
    posted->set_value();
    EXPECT_TRUE(_isSet(done->get_future()));
}

TEST_F(WorkerTest, SeveralThreadsMayEndIt)
{
    PWorker worker(L"jobs");
    occupy(worker);
    std::thread enders[3];
    for (std::thread& ender : enders)
    {
        ender = std::thread(
            [&]
            {
                worker.end();
                EXPECT_EQ(1, fRun);
            });
    }
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    fRun = 1;
    fLeave.set_value();
    for (std::thread& ender : enders)
    {
        ender.join();
    }
}

TEST_F(WorkerTest, SleepOfATaskEndsWithTheWorker)
{
    PWorker worker(L"loop");
    std::promise<int> rounds;
    EXPECT_EQ(0, worker.post(
                     [&]
                     {
                         int count = 0;
                         while (worker.sleep(count < 3 ? 1ms : 1h))
                         {
                             if (++count == 3)
                             {
                                 fEntered.set_value();
                             }
                         }
                         rounds.set_value(count);
                     }));
    EXPECT_TRUE(_isSet(fEntered.get_future()));
    worker.end();
    EXPECT_EQ(3, rounds.get_future().get());
}

TEST_F(WorkerTest, TasksMayOnlyMoveAndAreDestroyedOnTheThreadThatRanThem)
{
    struct Witness
    {
        ~Witness()
        {
            destroyed.set_value(std::this_thread::get_id());
        }
        std::promise<std::thread::id>& destroyed;
    };
    std::promise<std::thread::id> destroyed;
    PWorker worker(L"jobs");
    std::unique_ptr<Witness> witness(new Witness{destroyed});
    EXPECT_EQ(0, worker.post([held = std::move(witness)] {}));
    EXPECT_EQ(_onThread(worker, [] { return std::this_thread::get_id(); }),
              destroyed.get_future().get());
}

TEST_F(WorkerTest, TaskThatEndsItsThreadEndsTheWorker)
{
    PWorker worker(L"jobs", PWorker::eFinish);
    queue(worker, 0);
    EXPECT_EQ(0, worker.post([] { pthread_exit(nullptr); }));
    EXPECT_EQ(0, worker.post([this] { ++fRun; }));
    fLeave.set_value();
    while (!worker.isEnding())
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(eIxlaNoInstance, worker.post([] {}));
    worker.end();
    EXPECT_EQ(0, fRun);
}

TEST_F(WorkerTest, ForkedChildCannotUseItAndEndsWithoutAWait)
{
    auto worker = std::make_unique<PWorker>(L"jobs");
    occupy(*worker);
    const pid_t child = fork();
    if (child == 0)
    {
        const bool refused = worker->start() == -EOWNERDEAD && worker->post([] {}) == -EOWNERDEAD;
        worker->end();
        worker.reset();
        _exit(refused ? 0 : 1);
    }
    int status = 1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    fLeave.set_value();
}

TEST_F(WorkerTest, ExceptionsAreErrorsOfTheNamedWorkerAndTheNextTaskRuns)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    PWorker worker(L"jobs");
    EXPECT_EQ(0, worker.post([] { throw std::runtime_error("no disk"); }));
    EXPECT_EQ(0, worker.post([] { throw 1; }));
    EXPECT_EQ(0, worker.post([] { throw std::bad_alloc(); }));
    EXPECT_EQ(0, _onThread(worker, [this] { return fRun.load(); }));
    const std::string log = core.pluginLogFile();
    EXPECT_EQ(1, countLines(log, "E pgs [jobs] Exception: no disk"));
    EXPECT_EQ(1, countLines(log, "E pgs [jobs] Exception: not a std::exception"));
    EXPECT_EQ(1, countLines(log, "E pgs [jobs] Exception: std::bad_alloc"));
}

TEST_F(WorkerTest, LogsTheNumberOfTasksThatHaveNotRun)
{
    CoreRun core;
    ASSERT_EQ(0, core.start());
    PWorker worker(L"jobs");
    queue(worker, 2);
    std::future<void> ended = std::async(std::launch::async, [&] { worker.end(); });
    while (worker.queued() > 0)
    {
        std::this_thread::yield();
    }
    fLeave.set_value();
    EXPECT_TRUE(_isSet(ended));
    PWorker idle(L"idle");
    EXPECT_EQ(0, idle.start());
    idle.end();
    EXPECT_EQ(1,
              countLines(core.pluginLogFile(), "I pgs [jobs] Ended; tasks that have not run: 2"));
    EXPECT_EQ(0, countLines(core.pluginLogFile(), "[idle]"));
}

TEST_F(WorkerTest, PostsBesideItsEndRunOrAreRefused)
{
    for (int round = 0; round < 20; ++round)
    {
        std::atomic<int> accepted{0};
        std::atomic<int> done{0};
        PWorker worker(L"jobs", PWorker::eFinish);
        std::thread posters[2];
        for (std::thread& poster : posters)
        {
            poster = std::thread(
                [&]
                {
                    for (int i = 0; i < 1000 && worker.post([&done] { ++done; }) == 0; ++i)
                    {
                        ++accepted;
                    }
                });
        }
        while (accepted == 0)
        {
            std::this_thread::yield();
        }
        worker.end();
        const int ran = done;
        for (std::thread& poster : posters)
        {
            poster.join();
        }
        EXPECT_EQ(accepted, ran);
        EXPECT_EQ(ran, done);
    }
}
} // namespace
