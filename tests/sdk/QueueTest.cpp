// SPDX-License-Identifier: MIT
#include "queue/IQueue.h"

#include "helpers/PCounted.h"
#include "helpers/Replace.h"
#include "testkit/GTest.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace
{
/// Runs a function of the test.
class Job : public PCounted<IJob>
{
public:
    explicit Job(std::function<int()> iWork) : fWork(std::move(iWork))
    {
    }

    int run() override
    {
        return fWork();
    }

private:
    const std::function<int()> fWork;
};

class QueueTest : public IxlaTest
{
protected:
    QueueTest()
    {
        fCore.addPlugin(QUEUE_LIBRARY); // its path, defined in CMakeLists.txt
    }

    int add(std::function<int()> iWork)
    {
        const auto job = PBaseptr<IJob>::adopt(new Job(std::move(iWork)));
        return fCore.service<IQueue>(kQueueId)->add(job.get());
    }

    /// Adds a job that runs until release(), and waits until it has begun.
    void occupy()
    {
        EXPECT_THAT(add(
                        [this]
                        {
                            fBegun.set_value();
                            fReleased.get_future().wait();
                            return 0;
                        }),
                    IsOk());
        fBegun.get_future().wait();
    }

    void release()
    {
        fReleased.set_value();
    }

private:
    std::promise<void> fBegun;
    std::promise<void> fReleased;
};

TEST_F(QueueTest, RunsJobsInTheirOrderAndReportsTheirResults)
{
    fCore.start();
    PEventRecorder& done = fCore.record(kJobDoneTopic);
    for (const int result : {0, -7, -8})
    {
        EXPECT_THAT(add([result] { return result; }), IsOk());
    }
    EXPECT_EQ(0, done.waitFor(1).number);
    EXPECT_EQ(-7, done.waitFor(2).number);
    EXPECT_EQ(-8, done.waitFor(3).number);
    fCore.log("queue.log").waitFor("job 2: -7");
}

TEST_F(QueueTest, RefusesJobsWhenItIsFull)
{
    fCore.configure("com.example.queue", "limit = 1\n");
    fCore.start();
    occupy();
    EXPECT_THAT(add([] { return 0; }), IsOk());
    EXPECT_THAT(add([] { return 0; }), IsResult(-ENOBUFS));
    EXPECT_THAT(add([] { return 0; }), IsResult(-ENOBUFS));
    release();
    EXPECT_EQ(1u, fCore.log("queue.log").find("E pgs full").size());
}

TEST_F(QueueTest, FollowsALimitThatIsSetAtRunTime)
{
    fCore.configure("com.example.queue", "limit = 1\n");
    fCore.start();
    occupy();
    EXPECT_THAT(add([] { return 0; }), IsOk());
    EXPECT_THAT(ixlaReplace(*fCore.service<IConfigManager>(), kQueueId, L"limit", 2), IsOk());
    EXPECT_THAT(add([] { return 0; }), IsOk());
    release();
    fCore.log("queue.log").waitFor("up to 2 jobs may wait");
}

TEST_F(QueueTest, FinishesTheRunningJobAtTheExitAndDropsTheOthers)
{
    fCore.start();
    std::promise<void> begun;
    std::atomic<bool> finished{false};
    std::atomic<int> others{0};
    const auto addUntilTheExit = [&, queue = fCore.service<IQueue>(kQueueId)]
    {
        begun.set_value();
        const auto other = PBaseptr<IJob>::adopt(new Job([&] { return ++others; }));
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (queue->add(other.get()) != eIxlaNoInstance)
        {
            if (std::chrono::steady_clock::now() > limit)
            {
                return -1;
            }
            std::this_thread::yield();
        }
        finished = true;
        return 0;
    };
    EXPECT_THAT(add(addUntilTheExit), IsOk());
    begun.get_future().wait();
    fCore.stop();
    EXPECT_TRUE(finished);
    EXPECT_EQ(0, others);
}

TEST_F(QueueTest, RefusesANullJob)
{
    fCore.start();
    EXPECT_THAT(fCore.service<IQueue>(kQueueId)->add(nullptr), IsResult(eIxlaInvalidArgument));
}

TEST_F(QueueTest, TheClientIsNotifiedOfItsJob)
{
    fCore.addPlugin(QUEUE_CLIENT_LIBRARY);
    fCore.start();
    fCore.service<IBase>(L"com.example.queue.client");
    fCore.log().waitFor("job done: 0", std::chrono::seconds(30));
}
} // namespace
