// SPDX-License-Identifier: MIT
// Runs the benchmarks, or the turns whose instructions callgrind counts:
//   ixlal-bench [Google Benchmark's options]
//   ixlal-bench --count [PATTERN OF NAMES]
// or prints the nanoseconds of a change of a cache line that two processors change:
//   ixlal-bench --shared-line

#include "config/LoadCase.h"
#include "config/ReadCase.h"
#include "config/SetCase.h"
#include "config/StoreCase.h"
#include "events/SendCase.h"
#include "events/SubscriptionCase.h"
#include "logging/FilteredCase.h"
#include "logging/LogCase.h"
#include "lookup/LookupCase.h"
#include "start/FirstRequestCase.h"
#include "start/StartCase.h"
#include "support/CoreHost.h"
#include "support/SecondThread.h"
#include "support/SharedLine.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <regex>
#include <string>

int main(int iCount, char** iArguments)
{
    const std::string action = iCount > 1 ? iArguments[1] : "";
    if (action == "--shared-line")
    {
        std::printf("%.1f\n", SharedLine::nanoseconds());
        return 0;
    }
    const Sleeper sleeper;
    Contest contest;
    enterLookup(contest);
    enterSend(contest);
    enterSubscriptions(contest);
    enterLog(contest);
    enterFiltered(contest);
    enterRead(contest);
    enterSet(contest);
    enterLoad(contest);
    enterStore(contest);
    enterStart(contest);
    enterFirstRequest(contest);

    if (action == "--count")
    {
        const bool right = contest.runForCounting(std::regex(iCount > 2 ? iArguments[2] : ""));
        CoreHost::stop();
        return right ? 0 : 1;
    }
    benchmark::Initialize(&iCount, iArguments);
    if (benchmark::ReportUnrecognizedArguments(iCount, iArguments))
    {
        return 2;
    }
    contest.registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    CoreHost::stop();
    return 0;
}
