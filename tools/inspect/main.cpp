// SPDX-License-Identifier: MIT
// ixla-probe: loads one plugin library for ixla-inspect, in a process that may die, and writes the
// result to a descriptor.

#include "inspect/PProbe.h"

#include <charconv>
#include <csignal>
#include <cstring>
#include <exception>
#include <iostream>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace
{
constexpr int kFailed = 1;
constexpr int kUsage = 2;

/// Disables core files, and ends this process with its parent.
void _standAlone()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);    // on failure there are core files
    prctl(PR_SET_PDEATHSIG, SIGKILL); // on failure the probe ends later
}
} // namespace

int main(int iCount, char** iArguments)
{
    int descriptor = -1;
    const char* const text = iCount == 3 ? iArguments[1] : "";
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), descriptor);
    if (iCount != 3 || error != std::errc() || *end)
    {
        std::cerr << "usage: ixla-probe DESCRIPTOR LIBRARY\n";
        return kUsage;
    }
    _standAlone();
    try
    {
        PProbe(descriptor).run(iArguments[2]);
        return 0;
    }
    catch (const std::exception& problem)
    {
        std::cerr << "ixla-probe: " << problem.what() << '\n';
        return kFailed;
    }
}
