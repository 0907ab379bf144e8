// SPDX-License-Identifier: MIT
#include "Runner.h"

#include "Heap.h"
#include "Race.h"
#include "Raw.h"
#include "Scheduler.h"
#include "Verdict.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sched.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace schedules
{
void createThreadKey();

namespace
{
constexpr int kMostSeconds = 30; ///< of real time for one schedule

void _crashed(int iSignal)
{
    char text[80];
    if (iSignal == SIGALRM)
    {
        std::snprintf(text, sizeof(text), "a call blocks that the scheduler does not know");
    }
    else
    {
        std::snprintf(text, sizeof(text), "signal %d (%s)", iSignal, sigabbrev_np(iSignal));
    }
    Verdict::fail(iSignal == SIGALRM ? Outcome::eNoProgress : Outcome::eCrash, text);
}

void _catchSignals()
{
    static char sStack[64 * 1024];
    const stack_t stack{sStack, 0, sizeof(sStack)};
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = _crashed;
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    for (int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGALRM})
    {
        sigaction(number, &action, nullptr);
    }
    const itimerval limit{{0, 0}, {kMostSeconds, 0}};
    setitimer(ITIMER_REAL, &limit, nullptr);
}

void _useOneProcessor()
{
    cpu_set_t processors;
    if (sched_getaffinity(0, sizeof(processors), &processors) != 0)
    {
        return;
    }
    // Handing over the baton is fastest on one processor; several runners use different ones.
    const int count = CPU_COUNT(&processors);
    int wanted = static_cast<int>(getpid()) % (count > 0 ? count : 1);
    for (int i = 0; i < CPU_SETSIZE; ++i)
    {
        if (CPU_ISSET(i, &processors) && wanted-- == 0)
        {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(i, &one);
            sched_setaffinity(0, sizeof(one), &one);
            return;
        }
    }
}

void _silence()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int stream : {0, 1, 2})
    {
        dup2(null, stream);
    }
}
} // namespace

Runner::Runner()
    : fReport(static_cast<Report*>(mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)))
{
    if (fReport == MAP_FAILED)
    {
        throw std::bad_alloc();
    }
    extern char __executable_start[] __asm__("__executable_start");
    extern char _end[] __asm__("_end");
    Race::exclude(fReport, sizeof(Report));
    Race::exclude(__executable_start, static_cast<std::size_t>(_end - __executable_start));
    Raw::get();
    Heap::reserve();
    createThreadKey();
    _useOneProcessor();
}

Runner::~Runner()
{
    munmap(fReport, sizeof(Report));
}

void Runner::clear()
{
    std::memset(static_cast<void*>(fReport), 0, offsetof(Report, decisions));
    std::memset(static_cast<void*>(fReport->stacks), 0, sizeof(fReport->stacks));
    fReport->maps[0] = 0;
}

void Runner::child(const Scenario& iScenario, const Plan& iPlan)
{
    _silence();
    _catchSignals();
    Scheduler::begin(iPlan, *fReport);
    Scheduler::limitTime(std::uint64_t{iScenario.allowed().milliseconds} * 1000000);
    iScenario.run();
    Verdict::pass();
}

const Report& Runner::run(const Scenario& iScenario, const Plan& iPlan)
{
    clear();
    const pid_t pid = fork();
    if (pid < 0)
    {
        throw std::bad_alloc();
    }
    if (pid == 0)
    {
        child(iScenario, iPlan);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (fReport->outcome == Outcome::eNone)
    {
        fReport->outcome = Outcome::eCrash;
        std::snprintf(fReport->message, sizeof(fReport->message),
                      "the process ended without a result, with status 0x%x",
                      static_cast<unsigned>(status));
    }
    return *fReport;
}

std::vector<Decision> Runner::decisions() const
{
    return {fReport->decisions, fReport->decisions + fReport->decisionCount};
}
} // namespace schedules
