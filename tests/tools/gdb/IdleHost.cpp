// SPDX-License-Identifier: MIT
// A process that links the core and then waits: IdleHost never|stopped|forked ARGUMENT...
// The arguments are those of the start. It prints "idle" and the number of the process that waits.

#include "Ixla.h"
#include "support/Texts.h"

#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

int main(int iCount, char** iArguments)
{
    const std::string mode = iArguments[1];
    std::vector<PString> arguments;
    for (int i = 2; i < iCount; ++i)
    {
        arguments.push_back(wide(iArguments[i]));
    }
    const auto count = static_cast<unsigned int>(arguments.size());
    if (mode != "never" && ixlaStart(arguments.data(), count) != eIxlaOk)
    {
        return 1;
    }
    if (mode == "stopped" && ixlaStop() != eIxlaOk)
    {
        return 2;
    }
    if (mode == "forked" && ::fork() != 0)
    {
        ::pause();
    }
    std::printf("idle %d\n", static_cast<int>(::getpid()));
    std::fflush(stdout);
    ::alarm(600);
    ::pause();
}
