// SPDX-License-Identifier: MIT
#include "Runner.h"

#include "Heap.h"
#include "Race.h"
#include "Raw.h"
#include "Scheduler.h"
#include "ScratchDir.h"
#include "ThreadEnd.h"
#include "Verdict.h"
#include "Watchdog.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace schedules
{
namespace
{
void _silence()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream : {0, 1, 2})
    {
        dup2(null, stream);
    }
}

template <class T>
T* _share()
{
    void* memory = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
    {
        throw std::bad_alloc();
    }
    Race::exclude(memory, sizeof(T));
    return static_cast<T*>(memory);
}

[[noreturn]] void _run(const Scenario& iScenario, const Plan& iPlan, Report& oReport)
{
    _silence();
    Watchdog::catchSignals();
    Watchdog::start();
    Scheduler::begin(iPlan, oReport);
    Scheduler::limitTime(std::uint64_t{iScenario.allowed().milliseconds} * 1000000);
    iScenario.run();
    Verdict::pass();
}
} // namespace

Runner::Runner() : fReport(_share<Report>()), fOrder(_share<Order>())
{
    extern char __executable_start[] __asm__("__executable_start");
    extern char _end[] __asm__("_end");
    Race::exclude(__executable_start, reinterpret_cast<std::uintptr_t>(_end) -
                                          reinterpret_cast<std::uintptr_t>(__executable_start));
    Raw::get();
    Heap::reserve();
    ThreadEnd::prepare();
}

Runner::~Runner()
{
    leaveCheckpoint();
    munmap(fReport, sizeof(Report));
    munmap(fOrder, sizeof(Order));
}

void Runner::clear()
{
    std::memset(static_cast<void*>(fReport), 0, offsetof(Report, decisions));
    std::memset(static_cast<void*>(fReport->stacks), 0, sizeof(fReport->stacks));
    fReport->maps[0] = 0;
}

bool Runner::canUseCheckpoint(const Scenario& iScenario, const Plan& iPlan) const
{
    return !iPlan.whole && !iPlan.explain && iPlan.watch == 0 &&
           iPlan.fault.kind == FaultPlan::eNone &&
           iPlan.decisions.size() <= std::size(fOrder->decisions) &&
           fWithoutCheckpoint.count(&iScenario) == 0;
}

/// Makes a process that stands at the checkpoint. False when it has ended before: then the report
/// is that of a whole schedule.
bool Runner::enterCheckpoint(const Scenario& iScenario, const Plan& iPlan)
{
    leaveCheckpoint();
    // What other scenarios have freed would be copied for every schedule.
    malloc_trim(0);
    int orders[2];
    int ready[2];
    if (pipe2(orders, O_CLOEXEC) != 0 || pipe2(ready, O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    fAtCheckpoint = fork();
    if (fAtCheckpoint == 0)
    {
        close(orders[1]);
        close(ready[0]);
        Checkpoint::arm(*fOrder, orders[0], ready[1]);
        _run(iScenario, iPlan, *fReport);
    }
    close(orders[0]);
    close(ready[1]);
    fOrders = orders[1];
    fReady = ready[0];
    fScenario = &iScenario;
    if (fAtCheckpoint <= 0 || !awaitReady())
    {
        return false;
    }
    fFiles.emplace(ScratchDir::path(), ScratchDir::spare());
    return true;
}

bool Runner::awaitReady() const
{
    char byte = 0;
    return read(fReady, &byte, 1) == 1;
}

void Runner::leaveCheckpoint()
{
    if (fScenario)
    {
        close(fOrders);
        close(fReady);
        waitpid(fAtCheckpoint, nullptr, 0);
        fScenario = nullptr;
        fFiles.reset();
    }
}

void Runner::runFromCheckpoint(const Plan& iPlan)
{
    clear();
    fOrder->plan = iPlan;
    fOrder->decisionCount = static_cast<std::uint32_t>(iPlan.decisions.size());
    std::copy(iPlan.decisions.begin(), iPlan.decisions.end(), fOrder->decisions);
    const char byte = 0;
    if (write(fOrders, &byte, 1) != 1 || !awaitReady())
    {
        leaveCheckpoint();
    }
    if (fScenario && fReport->changesFiles)
    {
        restoreFiles();
    }
}

void Runner::restoreFiles()
{
    if (fReport->sharesStreams)
    {
        fWithoutCheckpoint.insert(fScenario);
        leaveCheckpoint();
        return;
    }
    fFiles->restore();
}

void Runner::runWhole(const Scenario& iScenario, const Plan& iPlan)
{
    const pid_t pid = fork();
    if (pid < 0)
    {
        throw std::bad_alloc();
    }
    if (pid == 0)
    {
        _run(iScenario, iPlan, *fReport);
    }
    waitpid(pid, nullptr, 0);
}

const Report& Runner::run(const Scenario& iScenario, const Plan& iPlan)
{
    clear();
    if (!canUseCheckpoint(iScenario, iPlan))
    {
        leaveCheckpoint();
        runWhole(iScenario, iPlan);
    }
    else if (fScenario == &iScenario || enterCheckpoint(iScenario, iPlan))
    {
        runFromCheckpoint(iPlan);
    }
    else
    {
        fWithoutCheckpoint.insert(&iScenario);
        leaveCheckpoint();
    }
    if (fReport->outcome == Outcome::eNone)
    {
        fReport->outcome = Outcome::eCrash;
        std::snprintf(fReport->message, sizeof(fReport->message),
                      "the process ended without a result");
    }
    return *fReport;
}

std::vector<Decision> Runner::decisions() const
{
    return {fReport->decisions, fReport->decisions + fReport->decisionCount};
}
} // namespace schedules
