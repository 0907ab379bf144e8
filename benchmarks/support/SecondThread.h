// SPDX-License-Identifier: MIT
// Second threads: one that sleeps, and one that does the same work at the same time.
#ifndef IXLAL_BENCHMARKS_SECONDTHREAD_H
#define IXLAL_BENCHMARKS_SECONDTHREAD_H

#include <atomic>
#include <functional>
#include <future>
#include <pthread.h>
#include <thread>
#include <time.h>

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

    /// The turns that it has done.
    unsigned int turns() const
    {
        return fTurns.load(std::memory_order_relaxed);
    }

    /// The clock of the processor time that it has used.
    clockid_t clock()
    {
        clockid_t clock = CLOCK_THREAD_CPUTIME_ID;
        pthread_getcpuclockid(fThread.native_handle(), &clock);
        return clock;
    }

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
            fTurns.store(first + kTurns, std::memory_order_relaxed);
            fStarted = true;
            fStarted.notify_one();
        }
    }

    std::function<bool(unsigned int)> fWork;
    std::atomic<bool> fStarted{false};
    std::atomic<bool> fEnd{false};
    std::atomic<bool> fRight{true};
    std::atomic<unsigned int> fTurns{0};
    std::thread fThread;
};

/// What the two threads did between construction and stop(). The time of the clock begins first and
/// ends last, so that a pause in between does not count as running.
class Together
{
public:
    explicit Together(Rival& ioRival)
        : fRival(ioRival),
          fClock(ioRival.clock()),
          fTime(_seconds(CLOCK_MONOTONIC)),
          fOwnTime(_seconds(CLOCK_THREAD_CPUTIME_ID)),
          fRivalTime(_seconds(fClock)),
          fTurns(ioRival.turns())
    {
    }

    void stop()
    {
        fTurns = fRival.turns() - fTurns;
        fRivalTime = _seconds(fClock) - fRivalTime;
        fOwnTime = _seconds(CLOCK_THREAD_CPUTIME_ID) - fOwnTime;
        fTime = _seconds(CLOCK_MONOTONIC) - fTime;
    }

    double seconds() const
    {
        return fTime;
    }

    /// Whether each of them ran on a processor nearly all of the time.
    bool bothRan() const
    {
        return fOwnTime > fTime * kShare && fRivalTime > fTime * kShare;
    }

    unsigned int rivalTurns() const
    {
        return fTurns;
    }

private:
    static constexpr double kShare = 0.95;

    static double _seconds(clockid_t iClock)
    {
        timespec time{};
        clock_gettime(iClock, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }

    Rival& fRival;
    const clockid_t fClock;
    double fTime;
    double fOwnTime;
    double fRivalTime;
    unsigned int fTurns;
};

#endif
