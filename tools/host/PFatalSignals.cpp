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
std::atomic<bool> sIsForwarded{false};
siginfo_t sForwarded; // set before the signal is forwarded

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

/// Whether a signal of another process has interrupted a thread that has nothing to do with it.
bool _isForMainThread(const siginfo_t& iInfo)
{
    return iInfo.si_code <= 0 && iInfo.si_pid != getpid() && gettid() != getpid();
}

/// Passes a signal on. The system lets only the main thread send the information along.
bool _forward(int iSignal, const siginfo_t& iInfo)
{
    if (sIsForwarded.exchange(true))
    {
        return true; // the first one is on its way
    }
    sForwarded = iInfo;
    return tgkill(getpid(), getpid(), iSignal) == 0;
}

/// Sends the signal again. A fault occurs again when its handler returns, which keeps its
/// information in the core dump where that cannot be sent.
void _repeat(int iSignal, siginfo_t* iInfo)
{
    const bool isFault = iInfo->si_code > 0 && iSignal != SIGTRAP && iSignal != SIGSYS;
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), iSignal, iInfo) != 0 && !isFault)
    {
        tgkill(getpid(), gettid(), iSignal);
    }
}

/// All signals are blocked meanwhile. The signal arrives again, with the default action, when the
/// handler returns.
extern "C" void _report(int iSignal, siginfo_t* iInfo, void* iMachine)
{
    if (_isForMainThread(*iInfo) && _forward(iSignal, *iInfo))
    {
        return;
    }
    const bool isForwarded = sIsForwarded && iInfo->si_code == SI_TKILL;
    siginfo_t* const info = isForwarded ? &sForwarded : iInfo;
    if (sReports.exchange(true))
    {
        _awaitEnd();
    }
    else if (PCrashContext* const context = sContext)
    {
        PCrashReport(*context, *info, iMachine).write();
    }
    _setDefault(iSignal);
    _repeat(iSignal, info);
}
} // namespace

PFatalSignals::PFatalSignals(PCrashContext iContext)
    : fContext(std::move(iContext)), fStack(std::make_unique<char[]>(kStackSize))
{
    sContext = &fContext;
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
            fIsInstalled = true;
        }
    }
    if (fIsInstalled)
    {
        stack_t stack = {};
        stack.ss_sp = fStack.get();
        stack.ss_size = kStackSize;
        sigaltstack(&stack, nullptr); // if it fails, only an overflow is not reported
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
    if (fIsInstalled)
    {
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
    }
    sContext = nullptr;
}
