// SPDX-License-Identifier: MIT
// A host that runs until SIGINT or SIGTERM arrives. Arguments: key=value pairs for the core.

#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "helpers/Text.h"
#include "minimal/IHello.h"

#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <vector>

// Blocks the signals that stop the host, so that they stay pending until sigwait.
static sigset_t blockSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

static bool isFine(const char* iWhat, int iResult)
{
    if (iResult != eIxlaOk)
    {
        std::fprintf(stderr, "%s: %s\n", iWhat, ixlaResultText(iResult).c_str());
    }
    return iResult == eIxlaOk;
}

// A function of its own, so that all references to services are released before the core stops.
static bool serve(const sigset_t& iSignals)
{
    int result = eIxlaOk;
    const PBaseptr<IHello> hello = ixlaService<IHello>(kHelloId, result); // initialises the plugin
    if (!isFine("hello", result))
    {
        return false;
    }
    std::printf("The plugin says: %ls\n", hello->greet(1));
    std::fflush(stdout);
    int signal = 0;
    sigwait(&iSignals, &signal);
    std::printf("Stops on signal %d\n", signal);
    return true;
}

int main(int iCount, char** iArguments)
{
    const sigset_t signals = blockSignals(); // before any thread starts: threads inherit the mask
    std::vector<PString> arguments;
    for (int i = 1; i < iCount; ++i)
    {
        arguments.push_back(ixlaWide(iArguments[i]));
    }
    const unsigned int count = static_cast<unsigned int>(arguments.size());
    if (!isFine("start", ixlaStart(arguments.data(), count)))
    {
        return 1;
    }
    const bool served = serve(signals);
    return isFine("stop", ixlaStop()) && served ? 0 : 1;
}
