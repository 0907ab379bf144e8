// SPDX-License-Identifier: MIT
#include "control/ProcessFacts.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/// A file of /proc; empty when it cannot be read.
std::string _read(const fs::path& iPath)
{
    std::ifstream file(iPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The fields after the name in parentheses, which may contain blanks.
std::istringstream _fieldsAfterName(const std::string& iStat)
{
    const std::size_t end = iStat.rfind(')');
    return std::istringstream(end == std::string::npos ? "" : iStat.substr(end + 1));
}

/// The bytes of a line "NAME: 12 kB"; -1 without it.
long long _bytesOf(const std::string& iText, const std::string& iName)
{
    constexpr long long kKilo = 1024;
    const std::size_t place = ("\n" + iText).find("\n" + iName + ":");
    if (place == std::string::npos)
    {
        return -1;
    }
    std::istringstream fields(iText.substr(place + iName.size() + 1));
    long long kilobytes = -1;
    fields >> kilobytes;
    return fields ? kilobytes * kKilo : -1;
}
} // namespace

std::vector<ThreadFacts> threadsOfProcess()
{
    std::vector<ThreadFacts> threads;
    std::error_code failure; // without /proc there is no list
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/task", failure))
    {
        ThreadFacts thread;
        const std::string number = entry.path().filename();
        std::from_chars(number.data(), number.data() + number.size(), thread.number);
        thread.name = _read(entry.path() / "comm");
        thread.name.erase(std::remove(thread.name.begin(), thread.name.end(), '\n'),
                          thread.name.end());
        _fieldsAfterName(_read(entry.path() / "stat")) >> thread.state;
        threads.push_back(thread);
    }
    std::sort(threads.begin(), threads.end(),
              [](const ThreadFacts& iLeft, const ThreadFacts& iRight)
              { return iLeft.number < iRight.number; });
    return threads;
}

MemoryFacts memoryOfProcess()
{
    const std::string status = _read("/proc/self/status");
    const std::string maps = _read("/proc/self/smaps_rollup");
    MemoryFacts memory;
    memory.resident = _bytesOf(status, "VmRSS");
    memory.peak = _bytesOf(status, "VmHWM");
    memory.address = _bytesOf(status, "VmSize");
    const long long dirty = _bytesOf(maps, "Private_Dirty");
    const long long clean = _bytesOf(maps, "Private_Clean");
    memory.privateBytes = dirty < 0 || clean < 0 ? -1 : dirty + clean;
    return memory;
}

long long uptimeOfProcess()
{
    constexpr int kFieldsBeforeStart = 19;
    constexpr long long kMilliseconds = 1000;
    constexpr long long kNanoseconds = 1000000;
    std::istringstream fields = _fieldsAfterName(_read("/proc/self/stat"));
    std::string ignored;
    for (int i = 0; i < kFieldsBeforeStart; ++i)
    {
        fields >> ignored;
    }
    long long ticks = 0;
    fields >> ticks;
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const long long started = ticks * kMilliseconds / sysconf(_SC_CLK_TCK);
    const long long present = now.tv_sec * kMilliseconds + now.tv_nsec / kNanoseconds;
    return std::max(0LL, present - started);
}

std::vector<std::string> argumentsOfProcess()
{
    std::vector<std::string> arguments;
    std::istringstream line(_read("/proc/self/cmdline"));
    for (std::string argument; std::getline(line, argument, '\0');)
    {
        arguments.push_back(argument);
    }
    return arguments;
}
