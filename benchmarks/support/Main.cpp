// SPDX-License-Identifier: MIT
// Runs the benchmarks, or the turns whose instructions callgrind counts:
//   ixlal-bench [Google Benchmark's options]
//   ixlal-bench --count [PATTERN OF NAMES]

#include "config/LoadCase.h"
#include "config/ReadCase.h"
#include "config/SetCase.h"
#include "config/StoreCase.h"
#include "events/SendCase.h"
#include "logging/FilteredCase.h"
#include "logging/LogCase.h"
#include "lookup/LookupCase.h"
#include "start/FirstRequestCase.h"
#include "start/StartCase.h"
#include "support/CoreHost.h"
#include "support/SecondThread.h"

#include <benchmark/benchmark.h>
#include <regex>
#include <string>

int main(int iCount, char** iArguments)
{
    const Sleeper sleeper;
    Contest contest;
    enterLookup(contest);
    enterSend(contest);
    enterLog(contest);
    enterFiltered(contest);
    enterRead(contest);
    enterSet(contest);
    enterLoad(contest);
    enterStore(contest);
    enterStart(contest);
    enterFirstRequest(contest);

    if (iCount > 1 && std::string(iArguments[1]) == "--count")
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
