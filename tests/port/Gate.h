// SPDX-License-Identifier: MIT
// Gate: lets threads of a test wait for each other, with a time limit.
#ifndef IXLAL_TESTS_GATE_H
#define IXLAL_TESTS_GATE_H

#include <chrono>
#include <condition_variable>
#include <mutex>

class Gate
{
public:
    void open()
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fOpen = true;
        fChanged.notify_all();
    }

    /// False if no thread has opened the gate in time.
    bool pass()
    {
        std::unique_lock<std::mutex> lock(fMutex);
        return fChanged.wait_for(lock, std::chrono::seconds(60), [this] { return fOpen; });
    }

private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    bool fOpen = false;
};

#endif
