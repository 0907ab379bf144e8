// SPDX-License-Identifier: MIT
// Second threads: one that sleeps, and one that does the same work at the same time.
#ifndef IXLAL_BENCHMARKS_SECONDTHREAD_H
#define IXLAL_BENCHMARKS_SECONDTHREAD_H

#include <atomic>
#include <functional>
#include <future>
#include <thread>

/// A thread that sleeps. With one thread the C and C++ libraries use cheaper locks and counts,
/// which a host of plugins does not get.
class Sleeper
{
public:
    Sleeper() : fThread([this] { fEnd.get_future().wait(); })
    {
    }

    ~Sleeper()
    {
        fEnd.set_value();
        fThread.join();
    }

    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

private:
    std::promise<void> fEnd;
    std::thread fThread;
};

/// A thread that works without a pause until end().
class Rival
{
public:
    static constexpr unsigned int kTurns = 64;

    /// iWork gets the number of its first turn, runs kTurns turns and returns whether all results
    /// were right.
    explicit Rival(std::function<bool(unsigned int)> iWork)
        : fWork(std::move(iWork)), fThread([this] { work(); })
    {
        fStarted.wait(false);
    }

    ~Rival()
    {
        end();
    }

    Rival(const Rival&) = delete;
    Rival& operator=(const Rival&) = delete;

    /// Stops the thread. Returns whether all its results were right.
    bool end()
    {
        fEnd = true;
        if (fThread.joinable())
        {
            fThread.join();
        }
        return fRight;
    }

private:
    void work()
    {
        for (unsigned int first = 0; !fEnd; first += kTurns)
        {
            fRight = fWork(first) && fRight;
            fStarted = true;
            fStarted.notify_one();
        }
    }

    std::function<bool(unsigned int)> fWork;
    std::atomic<bool> fStarted{false};
    std::atomic<bool> fEnd{false};
    std::atomic<bool> fRight{true};
    std::thread fThread;
};

#endif
