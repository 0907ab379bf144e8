// SPDX-License-Identifier: MIT
#include "soak/Soak.h"

#include "Ixla.h"
#include "soak/EventWorker.h"
#include "soak/LogWorker.h"
#include "soak/LookupWorker.h"
#include "soak/ReadWorker.h"
#include "soak/SetWorker.h"
#include "soak/SoakListener.h"
#include "soak/SoakPlugins.h"
#include "soak/StoreWorker.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <thread>

namespace
{
using namespace std::chrono_literals;

constexpr int kMegabyte = 1024 * 1024;

/// One cycle of each period closes the plugins' libraries. Only the holdings after the last cycle
/// of a period are compared. The first period does not count, because the system fills tables and
/// pools.
constexpr std::size_t kPeriod = 4;
constexpr std::size_t kLeast = 2 * kPeriod;

void _printHoldings(const char* iWhen, const Holdings& iHoldings)
{
    std::cout << std::left << std::setw(10) << iWhen << std::right << std::setw(12)
              << iHoldings.resident / 1024 << std::setw(12) << iHoldings.owned / 1024
              << std::setw(14) << iHoldings.allocated << std::setw(10) << iHoldings.handles
              << std::setw(10) << iHoldings.threads << std::setw(10) << iHoldings.mappings << '\n';
}
} // namespace

Soak::Soak(const SoakOptions& iOptions)
    : fOptions(iOptions), fBegin(Clock::now()), fNextProgress(fBegin + 1min)
{
    // Reserved, so that its own records do not look like growth of the core.
    fHoldings.reserve(static_cast<std::size_t>(fOptions.time.count()) + 2 * kLeast);
    addPlugins();
    fCore.writeManagerConfig("soak.shared = first.prs, second.prs");
    fCore.writeConfig("first.prs", "free = own\npinned = here\npinned:const = true\n");
    fCore.writeConfig("second.prs", "number = -80\nbytes = 0102ff\n");
    fCore.set("core.log.maxsize", std::to_string(kMegabyte));
    fCore.set("core.log.parts", "1");
    fCore.set("core.plugins.log.maxsize", std::to_string(LogWorker::kMaxSize));
    fCore.set("core.plugins.log.parts", "2");
    fWorkers.push_back(std::make_unique<LookupWorker>(1));
    fWorkers.push_back(std::make_unique<EventWorker>(2));
    fWorkers.push_back(std::make_unique<EventWorker>(3));
    fWorkers.push_back(std::make_unique<ReadWorker>(4));
    fWorkers.push_back(std::make_unique<SetWorker>(5));
    fWorkers.push_back(std::make_unique<StoreWorker>(6));
    fWorkers.push_back(std::make_unique<LogWorker>(7));
    fWorkers.push_back(std::make_unique<LogWorker>(8));
}

bool Soak::run()
{
    while (Clock::now() < fBegin + fOptions.time || fHoldings.size() < kLeast ||
           fHoldings.size() % kPeriod != 0)
    {
        // On its own thread, because malloc frees the blocks it caches for a thread when that ends.
        std::async(std::launch::async, [this] { cycle(); }).get();
        fHoldings.push_back(Holdings::now());
        progress();
    }
    return report();
}

/// Copies to two directories, because a library that stays open is not closed by a later stop.
void Soak::addPlugins()
{
    for (const char* plugin : kSoakPlugins)
    {
        fCore.addPlugin(plugin);
    }
    std::filesystem::copy(fCore.dir.path() / "plugins", fCore.dir.path() / "closed");
}

void Soak::cycle()
{
    const bool closes = fHoldings.size() % kPeriod == 0;
    if (!start(closes))
    {
        throw std::runtime_error("the core did not start");
    }
    work();
    stop(closes);
    leak();
}

bool Soak::start(bool iCloses)
{
    fCore.set("core.plugins.dir", fCore.dir.file(iCloses ? "closed" : "plugins"));
    fCore.set("core.free.plugins.lib", iCloses ? "true" : "false");
    // Without lines of the core log the threads are less synchronised.
    fCore.set("core.log.level", iCloses ? "0" : "-1");
    const int result = fCore.start();
    fOwnTally.expect("start", 0, result);
    return result == 0;
}

void Soak::work()
{
    std::atomic<bool> stop{false};
    for (const auto& worker : fWorkers)
    {
        worker->prepare(fCore);
    }
    {
        std::vector<std::jthread> threads;
        for (const auto& worker : fWorkers)
        {
            threads.emplace_back([&worker, &stop] { worker->run(stop); });
        }
        std::this_thread::sleep_for(cycleTime());
        stop = true;
    }
    for (const auto& worker : fWorkers)
    {
        worker->verify(fCore);
    }
}

void Soak::stop(bool iCloses)
{
    {
        const PBaseptr<IEventDispatcher> dispatcher(
            fCore.get<IEventDispatcher>(kIxlaEventDispatcherId));
        const PBaseptr<SoakListener> listener = SoakListener::make();
        fOwnTally.expect("subscribe", 0,
                         dispatcher->addListener(kIxlaCoreExitTopic, listener.get()));
    }
    fOwnTally.expect("stop", 0, fCore.stop());
    fOwnTally.count("listeners let go", SoakListener::alive() == 0,
                    std::to_string(SoakListener::alive()) + " listeners are left");
    checkSteps(iCloses);
}

/// Checks that every plugin was created and destroyed once, and initialised once.
void Soak::checkSteps(bool iCloses)
{
    const auto check = [this](const char* iStep, unsigned int iExpected, std::atomic<unsigned>& oIs)
    {
        const unsigned int is = oIs.exchange(0);
        fOwnTally.count("plugin steps", is == iExpected,
                        std::string(iStep) + " " + std::to_string(is) + " times instead of " +
                            std::to_string(iExpected));
    };
    const unsigned int plugins = std::size(kSoakPlugins);
    check("made", plugins, SoakSteps::made);
    check("initialised", plugins, SoakSteps::inits);
    check("destroyed", plugins, SoakSteps::destroyed);
    check("unmapped", iCloses ? plugins : 0, SoakSteps::unmapped);
}

void Soak::leak()
{
    if (fOptions.leak == "memory")
    {
        fLeaked.push_back(std::malloc(65536));
    }
    else if (fOptions.leak == "handle" && open("/dev/null", O_RDONLY | O_CLOEXEC) < 0)
    {
        throw std::runtime_error("cannot leak a handle");
    }
    else if (fOptions.leak == "error")
    {
        fOwnTally.expect("deliberate error", 0, -1);
    }
}

void Soak::progress()
{
    if (Clock::now() < fNextProgress)
    {
        return;
    }
    fNextProgress += 1min;
    const Tally tally = total();
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(Clock::now() - fBegin);
    const Holdings& now = fHoldings.back();
    std::cout << "minute " << minutes.count() << ": " << fHoldings.size() << " cycles, "
              << tally.operations() << " operations, " << tally.errors() << " errors, "
              << now.resident / 1024 << " KB resident, " << now.allocated << " bytes allocated, "
              << now.handles << " handles, " << now.threads << " threads, " << now.mappings
              << " mappings" << std::endl;
}

/// Short for short runs, so that each has enough cycles.
std::chrono::milliseconds Soak::cycleTime() const
{
    const std::chrono::milliseconds part = std::chrono::milliseconds(fOptions.time) / 40;
    return std::clamp<std::chrono::milliseconds>(part, 100ms, 10s);
}

Tally Soak::total() const
{
    Tally sum = fOwnTally;
    for (const auto& worker : fWorkers)
    {
        sum.add(worker->tally());
    }
    return sum;
}

bool Soak::report() const
{
    const Tally tally = total();
    std::cout << '\n' << tally.table() << '\n';
    std::cout << "            RSS [KB] private [KB] malloc [bytes] handles  threads  mappings\n";
    const Holdings& start = fHoldings[kPeriod - 1];
    const Holdings& end = fHoldings.back();
    _printHoldings("start", start);
    _printHoldings("middle", fHoldings[fHoldings.size() / kPeriod / 2 * kPeriod + kPeriod - 1]);
    _printHoldings("end", end);
    const std::string growth = end.growthSince(start);
    std::cout << growth << fHoldings.size() << " cycles with " << fWorkers.size()
              << " threads: " << (tally.errors() == 0 && growth.empty() ? "passed" : "FAILED")
              << std::endl;
    return tally.errors() == 0 && growth.empty();
}
