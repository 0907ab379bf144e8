// SPDX-License-Identifier: MIT
// ixla-probe: loads one plugin library for ixla-inspect and writes what comes of it to a
// descriptor, in a process that the library may end.

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

/// The library's death is nobody's business but ours, and nobody waits for us when our parent died.
void _standAlone()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);    // a core file is all that comes of a failure
    prctl(PR_SET_PDEATHSIG, SIGKILL); // without it the probe ends a little later
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
