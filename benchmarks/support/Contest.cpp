// SPDX-License-Identifier: MIT
#include "support/Contest.h"

#include "support/Allocations.h"
#include "support/SecondThread.h"
#include "support/Stopwatch.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <optional>
#include <valgrind/callgrind.h>

namespace
{
constexpr unsigned int kWarmUpTurns = 64;

/// The limit exists because counting takes about fifty times as long as measuring, and larger sizes
/// give no more information.
constexpr int kLargestCounted = 10000;

std::string _name(const Contest::Entry& iEntry, int iSize, int iThreads)
{
    return iEntry.of.name + '/' + iEntry.contestant + '/' + std::to_string(iSize) + '/' +
           std::to_string(iThreads);
}

void _measureTurns(benchmark::State& ioState, Body& ioBody)
{
    unsigned int wrong = ioBody.repeat(0, kWarmUpTurns);
    unsigned int first = kWarmUpTurns;
    const auto turns = static_cast<unsigned int>(ioState.max_iterations);
    const unsigned long before = Allocations::count();
    while (ioState.KeepRunningBatch(turns))
    {
        wrong += ioBody.repeat(first, turns);
        first += turns;
    }
    const unsigned long allocations = Allocations::count() - before;
    ioState.counters["allocations"] = static_cast<double>(allocations) / turns;
    if (wrong > 0)
    {
        ioState.SkipWithError("wrong result");
    }
}

/// Reports the turns of the second thread for each of the first, and whether both ran.
void _measureTurnsTogether(benchmark::State& ioState, Body& ioBody, Rival& ioRival)
{
    Together together(ioRival);
    _measureTurns(ioState, ioBody);
    together.stop();
    const double turns = static_cast<double>(ioState.max_iterations) + kWarmUpTurns;
    ioState.counters["rival"] = together.rivalTurns() / turns;
    ioState.counters["both"] = together.bothRan() ? 1 : 0;
}

void _measureTimedTurns(benchmark::State& ioState, Body& ioBody, unsigned int iOperations)
{
    const unsigned long before = Stopwatch::allocations();
    for (auto _ : ioState)
    {
        const double seconds = ioBody.timedTurn();
        if (seconds < 0)
        {
            ioState.SkipWithError("wrong result");
            return;
        }
        ioState.SetIterationTime(seconds / iOperations);
    }
    const unsigned long allocations = Stopwatch::allocations() - before;
    ioState.counters["allocations"] =
        static_cast<double>(allocations) / static_cast<double>(ioState.iterations()) / iOperations;
}

void _measure(benchmark::State& ioState, const Contest::Entry& iEntry, int iSize, int iThreads)
{
    const std::unique_ptr<Body> body = iEntry.make(iSize);
    std::optional<Rival> rival;
    if (iThreads == 2)
    {
        rival.emplace([&body](unsigned int iFirst)
                      { return body->repeat(iFirst, Rival::kTurns) == 0; });
    }
    if (iEntry.timesItself)
    {
        _measureTimedTurns(ioState, *body, iEntry.of.operations);
    }
    else if (rival)
    {
        _measureTurnsTogether(ioState, *body, *rival);
    }
    else
    {
        _measureTurns(ioState, *body);
    }
    if (rival && !rival->end())
    {
        ioState.SkipWithError("wrong result in the second thread");
    }
    if (const double bytes = body->heldBytes(); bytes > 0)
    {
        ioState.counters["bytes"] = bytes;
    }
}

/// Only instructions inside the turns' stopwatches are counted.
unsigned int _repeatTimed(Body& ioBody, unsigned int iTurns)
{
    unsigned int wrong = 0;
    CALLGRIND_TOGGLE_COLLECT;
    for (unsigned int turn = 0; turn < iTurns; ++turn)
    {
        wrong += ioBody.timedTurn() < 0;
    }
    CALLGRIND_TOGGLE_COLLECT;
    return wrong;
}

/// The instructions between the marks are those of the turns and of one call of repeat.
bool _count(const Contest::Entry& iEntry, int iSize)
{
    const std::unique_ptr<Body> body = iEntry.make(iSize);
    unsigned int wrong = body->repeat(0, kWarmUpTurns);
    const std::string name = _name(iEntry, iSize, 1);
    const unsigned int turns = iEntry.of.countTurns;
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    wrong += iEntry.timesItself ? _repeatTimed(*body, turns) : body->repeat(kWarmUpTurns, turns);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    std::printf("%s %u\n", name.c_str(), turns * iEntry.of.operations);
    return wrong == 0;
}
} // namespace

void Contest::registerAll()
{
    for (const Entry& entry : fEntries)
    {
        for (const int size : entry.of.sizes)
        {
            for (int threads = 1; threads <= (entry.of.twoThreads ? 2 : 1); ++threads)
            {
                auto* const measured = benchmark::RegisterBenchmark(
                    _name(entry, size, threads).c_str(), [&entry, size, threads](auto& ioState)
                    { _measure(ioState, entry, size, threads); });
                measured->Iterations(static_cast<benchmark::IterationCount>(entry.of.turns));
                if (entry.timesItself)
                {
                    measured->UseManualTime();
                }
                else
                {
                    measured->UseRealTime();
                }
            }
        }
    }
}

bool Contest::runForCounting(const std::regex& iPattern) const
{
    bool right = true;
    for (const Entry& entry : fEntries)
    {
        for (const int size : entry.of.sizes)
        {
            if (entry.of.countTurns > 0 && size <= kLargestCounted &&
                std::regex_search(_name(entry, size, 1), iPattern))
            {
                right = _count(entry, size) && right;
            }
        }
    }
    return right;
}
