// SPDX-License-Identifier: MIT
#include "sampler/PMachine.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <string>

namespace
{
/// Reads the number after a name such as "MemTotal:".
bool _readMemoryLine(std::ifstream& ioLines, const char* iName, double& oKibibytes)
{
    for (std::string name; ioLines >> name;)
    {
        if (name == iName)
        {
            return static_cast<bool>(ioLines >> oKibibytes);
        }
        ioLines.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return false;
}
} // namespace

bool PMachine::readLoad(int& oHundredths)
{
    double load = 0;
    if (!(std::ifstream("/proc/loadavg") >> load))
    {
        return false;
    }
    oHundredths = static_cast<int>(std::lround(load * 100));
    return true;
}

bool PMachine::readMemory(int& oPercent)
{
    double total = 0;
    double available = 0;
    // The kernel writes the lines in this order.
    std::ifstream lines("/proc/meminfo");
    if (!_readMemoryLine(lines, "MemTotal:", total) ||
        !_readMemoryLine(lines, "MemAvailable:", available) || total <= 0)
    {
        return false;
    }
    oPercent = static_cast<int>(std::lround((total - available) * 100 / total));
    return true;
}
