// SPDX-License-Identifier: MIT
#include "support/SleepingThread.h"

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace
{
/// The letter after the name, which is in parentheses.
char _state(pid_t iThread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(iThread) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(") ");
    return nameEnd == std::string::npos ? '?' : line[nameEnd + 2];
}
} // namespace

bool waitUntilAsleep(pid_t iThread)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (_state(iThread) != 'S')
    {
        if (std::chrono::steady_clock::now() > limit)
        {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}
