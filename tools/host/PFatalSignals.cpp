// SPDX-License-Identifier: MIT
#include "host/PFatalSignals.h"

#include "host/PCrashReport.h"

#include <atomic>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr std::size_t kStackSize = 1 << 16;
constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS, SIGTRAP};
constexpr int kPatience = 500; // rounds of 10 ms that a second thread waits for the report

std::atomic<PCrashContext*> sContext{nullptr};
std::atomic<bool> sReports{false};

void _setDefault(int iSignal)
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(iSignal, &action, nullptr); // cannot fail for these signals
}

/// Waits for the end of the process, which the report of another thread brings.
void _awaitEnd()
{
    for (int i = 0; i < kPatience; ++i)
    {
        const timespec pause = {0, 10000000};
        nanosleep(&pause, nullptr);
    }
}

/// All signals are blocked meanwhile. The signal is sent again with its information, and arrives
/// with the default action when the handler returns.
extern "C" void _report(int iSignal, siginfo_t* iInfo, void* iMachine)
{
    if (sReports.exchange(true))
    {
        _awaitEnd();
    }
    else if (PCrashContext* const context = sContext)
    {
        PCrashReport(*context, *iInfo, iMachine).write();
    }
    _setDefault(iSignal);
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), iSignal, iInfo) != 0)
    {
        tgkill(getpid(), gettid(), iSignal);
    }
}
} // namespace

PFatalSignals::PFatalSignals(PCrashContext iContext)
    : fContext(std::move(iContext)), fStack(std::make_unique<char[]>(kStackSize))
{
    sContext = &fContext;
    stack_t stack = {};
    stack.ss_sp = fStack.get();
    stack.ss_size = kStackSize;
    sigaltstack(&stack, nullptr); // if it fails, only an overflow is not reported
    struct sigaction action = {};
    action.sa_sigaction = &_report;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    for (const int number : kSignals)
    {
        struct sigaction old = {};
        if (sigaction(number, nullptr, &old) == 0 && old.sa_handler == SIG_DFL)
        {
            sigaction(number, &action, nullptr); // cannot fail for these signals
        }
    }
}

PFatalSignals::~PFatalSignals()
{
    for (const int number : kSignals)
    {
        struct sigaction current = {};
        if (sigaction(number, nullptr, &current) == 0 && current.sa_sigaction == &_report)
        {
            _setDefault(number);
        }
    }
    stack_t none = {};
    none.ss_flags = SS_DISABLE;
    sigaltstack(&none, nullptr);
    sContext = nullptr;
}
