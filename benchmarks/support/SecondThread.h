// SPDX-License-Identifier: MIT
// Second threads: one that sleeps, and one that does the same work at the same time.
#ifndef IXLAL_BENCHMARKS_SECONDTHREAD_H
#define IXLAL_BENCHMARKS_SECONDTHREAD_H

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <unistd.h>

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

    /// Its number, as in /proc.
    pid_t id() const
    {
        return fId;
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
        fId = gettid();
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
    std::atomic<pid_t> fId{0};
    std::thread fThread;
};

/// What the two threads did between construction and stop().
class Together
{
public:
    explicit Together(Rival& ioRival)
        : fRival(ioRival), fWaited(waited()), fTurns(ioRival.turns()), fTime(_now())
    {
    }

    void stop()
    {
        fTime = _now() - fTime;
        fTurns = fRival.turns() - fTurns;
        fWaited = waited() - fWaited;
    }

    std::chrono::nanoseconds time() const
    {
        return fTime;
    }

    /// Whether each of them had a processor nearly whenever it could run, and did something.
    bool bothRan() const
    {
        return fTurns > 0 && fWaited < fTime / 20;
    }

    unsigned int rivalTurns() const
    {
        return fTurns;
    }

private:
    static std::chrono::nanoseconds _now()
    {
        return std::chrono::steady_clock::now().time_since_epoch();
    }

    /// How long both could run, but had no processor.
    std::chrono::nanoseconds waited() const
    {
        return _waited(gettid()) + _waited(fRival.id());
    }

    static std::chrono::nanoseconds _waited(pid_t iThread)
    {
        std::ifstream file("/proc/self/task/" + std::to_string(iThread) + "/schedstat");
        long long ran = 0;
        long long waited = 0;
        file >> ran >> waited;
        return std::chrono::nanoseconds(waited);
    }

    Rival& fRival;
    std::chrono::nanoseconds fWaited;
    unsigned int fTurns;
    std::chrono::nanoseconds fTime;
};

#endif
