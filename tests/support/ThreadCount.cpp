// SPDX-License-Identifier: MIT
#include "support/ThreadCount.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace
{
constexpr int kTries = 50;

int _listed()
{
    const std::filesystem::directory_iterator entries("/proc/self/task");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}
} // namespace

int countThreads()
{
    int least = _listed();
    for (int i = 0; i < kTries && least > 1; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        least = std::min(least, _listed());
    }
    return least;
}
