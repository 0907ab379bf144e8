// SPDX-License-Identifier: MIT
// A host: starts the core, starts the sampler, raises thresholds at run time, and stops.

#include "IConfigManager.h"
#include "Ixla.h"
#include "helpers/ResultText.h"
#include "helpers/ServiceLookup.h"
#include "host/PHostOptions.h"
#include "host/PStopSignal.h"
#include "shared/IAlarm.h"
#include "shared/ISample.h"

#include <chrono>
#include <cstdio>
#include <exception>

namespace
{
enum EExitCode
{
    eExitOk = 0,
    eExitFailed = 1,
    eExitUsage = 2
};

/// Reports a failure; returns iResult.
int _report(const char* iWhat, int iResult)
{
    if (iResult != eIxlaOk)
    {
        std::fprintf(stderr, "[host] %s, result: %s\n", iWhat, ixlaResultText(iResult).c_str());
    }
    return iResult;
}

int _startCore(const PHostOptions& iOptions)
{
    return _report("start failed",
                   ixlaStart(iOptions.coreArguments.data(),
                             static_cast<unsigned int>(iOptions.coreArguments.size())));
}

/// Looks up the sampler's service, so that the core initialises its plugin.
int _startSampler()
{
    if (!ixlaIsInterfaceAvailable(kSamplerId))
    {
        std::printf("[host] no sampler among the plugins\n");
        return eIxlaOk;
    }
    int result = eIxlaOk;
    ixlaService<IBase>(kSamplerId, result);
    return _report("no sampler", result);
}

int _raiseThresholds(const PHostOptions& iOptions)
{
    int result = eIxlaOk;
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
    for (const auto& [key, value] : iOptions.raised)
    {
        if (result == eIxlaOk)
        {
            result = manager->setInt32(kAlarmId, key, value);
        }
    }
    return _report("thresholds not raised", result);
}

/// Waits until the time has passed or a signal arrives.
int _run(const PHostOptions& iOptions, const PStopSignal& iSignal)
{
    if (const int result = _startSampler())
    {
        return result;
    }
    const std::chrono::milliseconds half(iOptions.seconds > 0 ? iOptions.seconds * 500LL : 1000);
    if (iSignal.waitFor(half))
    {
        return eIxlaOk;
    }
    if (const int result = _raiseThresholds(iOptions))
    {
        return result;
    }
    if (iOptions.seconds > 0)
    {
        iSignal.waitFor(half);
    }
    else
    {
        iSignal.wait();
    }
    return eIxlaOk;
}

int _host(const PHostOptions& iOptions)
{
    const PStopSignal signal;
    if (_startCore(iOptions) != eIxlaOk)
    {
        return eExitFailed;
    }
    const int ran = _run(iOptions, signal);
    const int stopped = _report("stop failed", ixlaStop());
    return ran == eIxlaOk && stopped == eIxlaOk ? eExitOk : eExitFailed;
}
} // namespace

int main(int iCount, char** iArguments)
{
    try
    {
        PHostOptions options;
        std::string problem;
        if (!options.parse({iArguments + 1, iArguments + iCount}, problem))
        {
            std::fprintf(stderr, "[host] bad argument: %s\n%s", problem.c_str(),
                         PHostOptions::usage());
            return eExitUsage;
        }
        if (options.help)
        {
            std::fputs(PHostOptions::usage(), stdout);
            return eExitOk;
        }
        return _host(options);
    }
    catch (const std::exception& problem)
    {
        std::fprintf(stderr, "[host] %s\n", problem.what());
        return eExitFailed;
    }
}
