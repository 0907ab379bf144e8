// SPDX-License-Identifier: MIT
// ixlal-schedules: runs schedules of the scenarios.

#include "Interrupt.h"
#include "Processor.h"
#include "Runner.h"
#include "ScratchDir.h"
#include "Search.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <sys/personality.h>
#include <unistd.h>
#include <vector>

using namespace schedules;

namespace
{
struct Options
{
    std::vector<std::string> scenarios;
    std::vector<std::string> replays;
    std::string save;
    std::string method = "pct";
    std::uint64_t seed = 1;
    unsigned depth = 3;
    unsigned preemptions = 2;
    std::optional<unsigned> processor;
    Limits limits;
    bool list = false;
    bool exhaustive = false;
    bool faults = false;
    bool noRaces = false;
    bool explain = false;
    bool selfTest = false;
    bool noCheckpoint = false;
    bool brief = false;
    bool costs = false;
};

/// Addresses have to be the same in every schedule.
void _withoutRandomAddresses(char** iArguments)
{
    const int wanted = personality(0xffffffff) | ADDR_NO_RANDOMIZE;
    if (personality(0xffffffff) == wanted)
    {
        return;
    }
    if (personality(static_cast<unsigned long>(wanted)) >= 0)
    {
        execv("/proc/self/exe", iArguments);
    }
    std::cerr << "ixlal-schedules: addresses stay random, so that a replay may differ: "
              << std::strerror(errno) << '\n';
}

const Scenario* _find(const std::string& iName)
{
    for (const Scenario* scenario = Scenario::first(); scenario; scenario = scenario->next())
    {
        if (iName == scenario->name())
        {
            return scenario;
        }
    }
    return nullptr;
}

std::vector<const Scenario*> _chosen(const Options& iOptions)
{
    std::vector<const Scenario*> chosen;
    for (const std::string& name : iOptions.scenarios)
    {
        const Scenario* scenario = _find(name);
        if (!scenario)
        {
            throw std::runtime_error("no such scenario: " + name);
        }
        chosen.push_back(scenario);
    }
    if (iOptions.scenarios.empty())
    {
        for (const Scenario* scenario = Scenario::first(); scenario; scenario = scenario->next())
        {
            if (scenario->allowed().fails == nullptr && !scenario->allowed().costs &&
                (!iOptions.exhaustive || scenario->allowed().small))
            {
                chosen.push_back(scenario);
            }
        }
    }
    return chosen;
}

void _report(Search& ioSearch, const Options& iOptions, const Searched& iSearched)
{
    const ScheduleFile shortest = ioSearch.minimised(*iSearched.failure, iSearched.outcome);
    const std::string text = ioSearch.explained(shortest);
    std::cout << shortest.decisions.size() << " of " << iSearched.failure->decisions.size()
              << " decisions are needed\n"
              << text;
    if (!iOptions.save.empty())
    {
        const std::string path = iOptions.save + "/" + shortest.scenario + ".schedule";
        shortest.write(path, text);
        std::cout << "Written to " << path << "; run it again with --replay\n";
    }
}

/// What follows the figures of a search.
std::string _kind(const Options& iOptions, const Searched& iDone)
{
    if (iOptions.exhaustive)
    {
        return iDone.complete ? ", all" : ", not all";
    }
    return ", seed " + std::to_string(iOptions.seed) +
           (iDone.exhausted ? ", hardly any new ones" : "") +
           (Interrupt::signal() != 0 ? ", interrupted" : "");
}

bool _search(Runner& ioRunner, const Scenario& iScenario, const Options& iOptions)
{
    Search search(ioRunner, iScenario);
    Plan plan;
    plan.method = iOptions.method == "walk" ? Method::eWalk : Method::ePct;
    plan.seed = iOptions.seed;
    plan.depth = iOptions.depth;
    plan.races = !iOptions.noRaces;
    plan.whole = iOptions.noCheckpoint;
    const Searched done = iOptions.exhaustive
                              ? search.exhaustive(iOptions.preemptions, iOptions.limits)
                              : search.random(plan, iOptions.limits, iOptions.faults);
    std::printf(
        "%-44s %8llu schedules, %8llu different, %6llu points each, %7.1f s, %6.0f/s%s: %s\n",
        iScenario.name(), static_cast<unsigned long long>(done.drawn),
        static_cast<unsigned long long>(done.different),
        static_cast<unsigned long long>(done.points / std::max<std::uint64_t>(done.runs, 1)),
        done.seconds, static_cast<double>(done.runs) / std::max(done.seconds, 1e-9),
        _kind(iOptions, done).c_str(), outcomeName(done.outcome));
    std::fflush(stdout);
    if (done.failure && !iOptions.brief)
    {
        _report(search, iOptions, done);
    }
    return !done.failure;
}

bool _replay(Runner& ioRunner, const std::string& iPath, const Options& iOptions)
{
    const ScheduleFile schedule = ScheduleFile::read(iPath);
    const Scenario* scenario = _find(schedule.scenario);
    if (!scenario)
    {
        throw std::runtime_error(iPath + ": no such scenario: " + schedule.scenario);
    }
    Search search(ioRunner, *scenario);
    const Outcome outcome = search.replay(schedule);
    std::cout << iPath << ": " << outcomeName(outcome) << '\n';
    if (outcome != Outcome::ePassed || iOptions.explain)
    {
        std::cout << search.explained(schedule);
    }
    return outcome == Outcome::ePassed;
}

/// Whether the checks find what is wrong on purpose, and a replay fails in the same way.
bool _isDetected(Runner& ioRunner, const Scenario& iScenario, const Options& iOptions)
{
    Search search(ioRunner, iScenario);
    Plan plan;
    plan.method = iOptions.method == "walk" ? Method::eWalk : Method::ePct;
    plan.seed = iOptions.seed;
    const Searched done = search.random(plan, iOptions.limits, false);
    bool passed = std::string(iScenario.allowed().fails) == outcomeName(done.outcome);
    std::size_t needed = 0;
    if (done.failure)
    {
        const ScheduleFile shortest = search.minimised(*done.failure, done.outcome);
        needed = shortest.decisions.size();
        for (int i = 0; i < 3; ++i)
        {
            passed = passed && search.replay(*done.failure) == done.outcome &&
                     search.replay(shortest) == done.outcome;
        }
    }
    std::printf(
        "%-44s %s after %llu schedules, %zu of %zu decisions are needed: %s\n", iScenario.name(),
        outcomeName(done.outcome), static_cast<unsigned long long>(done.drawn), needed,
        done.failure ? done.failure->decisions.size() : 0, passed ? "detected" : "NOT DETECTED");
    return passed;
}

/// Whether schedules run in the same way from the checkpoint as from the begin.
bool _isSameFromCheckpoint(Runner& ioRunner, const Scenario& iScenario, const Options& iOptions)
{
    constexpr int kSchedules = 3;
    Plan plan;
    for (plan.seed = iOptions.seed; plan.seed < iOptions.seed + kSchedules; ++plan.seed)
    {
        plan.whole = false;
        const Outcome outcome = ioRunner.run(iScenario, plan).outcome;
        const std::vector<Decision> decisions = ioRunner.decisions();
        plan.whole = true;
        if (ioRunner.run(iScenario, plan).outcome != outcome || ioRunner.decisions() != decisions)
        {
            std::printf("%s runs differently from its checkpoint, seed %llu\n", iScenario.name(),
                        static_cast<unsigned long long>(plan.seed));
            return false;
        }
    }
    return true;
}

/// Whether schedules run as a search predicts, which leaves out those that repeat others.
bool _isPredicted(Runner& ioRunner, const Scenario& iScenario, const Options& iOptions)
{
    constexpr unsigned kSchedules = 30;
    Plan plan;
    plan.seed = iOptions.seed;
    const bool passed = Search(ioRunner, iScenario).predicts(plan, kSchedules);
    if (!passed)
    {
        std::printf("%s has a schedule that differs from its prediction, seeds from %llu\n",
                    iScenario.name(), static_cast<unsigned long long>(plan.seed));
    }
    return passed;
}

bool _testSelf(Runner& ioRunner, const Options& iOptions)
{
    bool passed = true;
    for (const Scenario* scenario = Scenario::first(); scenario; scenario = scenario->next())
    {
        if (scenario->allowed().costs)
        {
            continue;
        }
        passed =
            (scenario->allowed().fails ? _isDetected(ioRunner, *scenario, iOptions)
                                       : _isSameFromCheckpoint(ioRunner, *scenario, iOptions) &&
                                             _isPredicted(ioRunner, *scenario, iOptions)) &&
            passed;
    }
    return passed;
}

/// Prints what each operation costs: its name, read-modify-writes, locks, and cache lines that all
/// threads change.
bool _printCosts(Runner& ioRunner)
{
    Plan plan;
    plan.method = Method::eReplay;
    plan.whole = true;
    bool passed = true;
    for (const Scenario* scenario = Scenario::first(); scenario; scenario = scenario->next())
    {
        if (!scenario->allowed().costs)
        {
            continue;
        }
        const Report& report = ioRunner.run(*scenario, plan);
        for (std::uint32_t i = 0; i < report.costCount; ++i)
        {
            const CostReport& costs = report.costs[i];
            std::printf("%s: %u %u %u\n", costs.operation, costs.atomic, costs.locks,
                        costs.sharedLines);
        }
        if (report.outcome != Outcome::ePassed)
        {
            std::cerr << scenario->name() << ": " << outcomeName(report.outcome) << ": "
                      << report.message << '\n';
            passed = false;
        }
    }
    return passed;
}

bool _runAll(const Options& iOptions)
{
    bool passed = true;
    const ScratchDir directory;
    Runner runner;
    if (iOptions.costs)
    {
        return _printCosts(runner);
    }
    if (iOptions.selfTest)
    {
        return _testSelf(runner, iOptions);
    }
    for (const std::string& path : iOptions.replays)
    {
        passed = _replay(runner, path, iOptions) && passed;
    }
    if (iOptions.replays.empty())
    {
        for (const Scenario* scenario : _chosen(iOptions))
        {
            if (Interrupt::signal() == 0)
            {
                passed = _search(runner, *scenario, iOptions) && passed;
            }
        }
    }
    return passed;
}

void _list()
{
    for (const Scenario* scenario = Scenario::first(); scenario; scenario = scenario->next())
    {
        if (scenario->allowed().costs)
        {
            continue;
        }
        std::cout << scenario->name() << (scenario->allowed().small ? " (small)" : "")
                  << (scenario->allowed().faults ? " (faults)" : "")
                  << (scenario->allowed().fails ? " (wrong on purpose)" : "") << '\n';
    }
}

void _describe(CLI::App& ioApp, Options& oOptions)
{
    ioApp.add_flag("--list", oOptions.list, "Print the names of the scenarios");
    ioApp.add_option("--scenario", oOptions.scenarios, "Only this scenario; may be repeated");
    ioApp.add_option("--runs", oOptions.limits.runs, "Schedules of each scenario (1000)");
    ioApp.add_option("--different", oOptions.limits.different,
                     "Random schedules until so many differ, or hardly any new ones are found");
    ioApp.add_option("--seconds", oOptions.limits.seconds, "At most so long for each scenario");
    ioApp.add_option("--seed", oOptions.seed,
                     "Seed of the first schedule (1); the next one has the next");
    ioApp.add_option("--method", oOptions.method, "pct or walk")
        ->check(CLI::IsMember({"pct", "walk"}));
    ioApp.add_option("--depth", oOptions.depth, "Depth of pct (3)")->check(CLI::Range(1, 9));
    ioApp.add_flag("--exhaustive", oOptions.exhaustive, "All schedules with few preemptions");
    ioApp.add_option("--preemptions", oOptions.preemptions, "At most so many (2)");
    ioApp.add_flag("--faults", oOptions.faults, "Let calls fail where the scenario allows it");
    ioApp.add_flag("--no-races", oOptions.noRaces, "Without the race detector, twice as fast");
    ioApp.add_flag("--no-checkpoint", oOptions.noCheckpoint,
                   "Run each schedule from the begin of its scenario");
    ioApp.add_flag("--self-test", oOptions.selfTest,
                   "Run the scenarios that are wrong on purpose, which must fail, and compare "
                   "schedules from the checkpoint with whole ones");
    ioApp.add_flag(
        "--costs", oOptions.costs,
        "Print for each operation the atomic read-modify-writes, the locks, and the cache "
        "lines that two threads change with it");
    ioApp.add_option("--replay", oOptions.replays,
                     "Run the schedule of this file; may be repeated");
    ioApp.add_flag("--explain", oOptions.explain, "Describe a replayed schedule that passes, too");
    ioApp.add_option("--processor", oOptions.processor,
                     "Use the allowed processor of this number, from 0; otherwise the current one");
    ioApp.add_flag("--brief", oOptions.brief, "Neither minimise nor describe a failure");
    ioApp.add_option("--save", oOptions.save, "Write the schedules that fail to this directory")
        ->check(CLI::ExistingDirectory);
}
} // namespace

int main(int iCount, char** iArguments)
{
    _withoutRandomAddresses(iArguments);
    // What the caller left open would have other numbers elsewhere, and cannot be restored.
    closefrom(3);
    CLI::App app("Runs schedules of the scenarios. Exits with 1 when one fails.");
    Options options;
    _describe(app, options);
    CLI11_PARSE(app, iCount, iArguments);
    try
    {
        if (options.list)
        {
            _list();
            return 0;
        }
        Interrupt::catchSignals();
        if (options.processor)
        {
            Processor::use(*options.processor);
        }
        else
        {
            Processor::useCurrent();
        }
        const bool passed = _runAll(options);
        if (const int signal = Interrupt::signal())
        {
            return 128 + signal;
        }
        return passed ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::cerr << "ixlal-schedules: " << error.what() << '\n';
        return 2;
    }
}
