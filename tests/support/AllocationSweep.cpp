// SPDX-License-Identifier: MIT
#include "support/AllocationSweep.h"

#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <pthread.h>
#include <sstream>

namespace
{
/// A limit above the allocations of any operation; an operation that reaches it never succeeds.
constexpr int kMostPoints = 20000;

typedef void Arm(int, AllocationFaults::EReach);

std::string _property(std::string iOperation)
{
    std::replace_if(
        iOperation.begin(), iOperation.end(), [](unsigned char c) { return std::isalnum(c) == 0; },
        '_');
    return "swept_" + iOperation;
}

/// One sweep in progress.
class Run
{
public:
    Run(const AllocationSweep& iSweep, AllocationSweepResult& ioResult)
        : fSweep(iSweep), fResult(ioResult)
    {
    }

    /// The first runs allocate what lives on afterwards: caches, streams, the loader's tables.
    bool warmUp()
    {
        for (int i = 0; i < 2; ++i)
        {
            fSweep.before();
            succeed("with memory");
            fSweep.undo();
        }
        return ok();
    }

    /// Returns the number of allocations that failed.
    int sweep(const char* iMode, Arm* iArm)
    {
        int points = 0;
        while (ok() && points < kMostPoints && runOnce(iMode, iArm, points))
        {
            ++points;
        }
        if (points == kMostPoints)
        {
            report("never runs through");
        }
        return points;
    }

private:
    /// Whether the allocation at iPoint was reached.
    bool runOnce(const char* iMode, Arm* iArm, int iPoint)
    {
        fWhere = std::string(iMode) + " allocation " + std::to_string(iPoint + 1) + ": ";
        SCOPED_TRACE(fSweep.operation + ", " + fWhere);
        const long long live = AllocationFaults::live();
        fSweep.before();
        const int result = runWithFault(iArm, iPoint);
        const bool struck = AllocationFaults::struck();
        if (result == 0)
        {
            fSweep.done();
        }
        judge(result, struck);
        if (result != 0)
        {
            fSweep.unchanged();
            fSweep.recover();
            succeed("with memory back");
        }
        fSweep.undo();
        const long long left = AllocationFaults::live() - live;
        if (left != 0 && ok())
        {
            report("leaks " + std::to_string(left) + " blocks");
        }
        return struck;
    }

    int runWithFault(Arm* iArm, int iPoint)
    {
        fThrew = false;
        iArm(iPoint, AllocationFaults::eAll);
        int result = -1;
        try
        {
            result = fSweep.run();
        }
        catch (...)
        {
            fThrew = true;
        }
        AllocationFaults::disarm();
        return result;
    }

    void judge(int iResult, bool iStruck)
    {
        const std::vector<int>& codes = fSweep.codes;
        if (fThrew)
        {
            report("lets an exception out");
        }
        else if (iResult == 0 && iStruck && fSweep.spares.empty())
        {
            report("swallows the failure");
        }
        else if (iResult != 0 && !iStruck)
        {
            report("fails with memory: " + std::to_string(iResult));
        }
        else if (iResult != 0 && std::find(codes.begin(), codes.end(), iResult) == codes.end())
        {
            report("returns " + std::to_string(iResult));
        }
    }

    void succeed(const char* iWhen)
    {
        const int result = fSweep.run();
        if (result != 0)
        {
            report("fails " + std::string(iWhen) + ": " + std::to_string(result));
            return;
        }
        fSweep.done();
    }

    void report(const std::string& iProblem)
    {
        fResult.problems.push_back(fWhere + iProblem);
    }

    bool ok() const
    {
        return fResult.problems.empty() && !testing::Test::HasFailure();
    }

    const AllocationSweep& fSweep;
    AllocationSweepResult& fResult;
    std::string fWhere;
    bool fThrew = false;
};
} // namespace

AllocationSweepResult trySweep(const AllocationSweep& iSweep)
{
    AllocationSweepResult result;
    Run run(iSweep, result);
    if (run.warmUp())
    {
        result.points = run.sweep("without", &AllocationFaults::failOnceAfter);
        run.sweep("from", &AllocationFaults::failAfter);
    }
    return result;
}

void keepNoThreadMemory()
{
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, std::size_t(64) << 20));
    ASSERT_EQ(0, pthread_setattr_default_np(&attributes));
    ASSERT_EQ(0, pthread_attr_destroy(&attributes));
}

void sweepAllocations(const AllocationSweep& iSweep)
{
    const AllocationSweepResult result = trySweep(iSweep);
    for (const std::string& problem : result.problems)
    {
        ADD_FAILURE() << iSweep.operation << ' ' << problem;
    }
    std::printf("swept %d allocation points: %s\n", result.points, iSweep.operation.c_str());
    testing::Test::RecordProperty(_property(iSweep.operation), result.points);
}

void sweepReferences(IBase& ioObject, const std::string& iIncRef, const std::string& iDecRef)
{
    sweepAllocations({
        .operation = iIncRef,
        .run = [&] { return ioObject.incRef() > 1 ? 0 : -1; },
        .undo = [&] { ioObject.decRef(); },
    });
    sweepAllocations({
        .operation = iDecRef,
        .before = [&] { ioObject.incRef(); },
        .run = [&] { return ioObject.decRef() > 0 ? 0 : -1; },
    });
}
