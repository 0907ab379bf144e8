// SPDX-License-Identifier: MIT
#include "support/SingleSteps.h"

#include <atomic>
#include <csignal>
#include <thread>

#if (defined(__i386__) || defined(__x86_64__)) && !defined(__SANITIZE_THREAD__)

#include <ucontext.h>
#include <x86intrin.h>

namespace
{
enum Phase
{
    eStepping,
    eActing,
    eDone
};

/// The processor flag that makes it stop after each instruction.
constexpr unsigned int kTrapFlag = 0x100;

std::atomic<int> sPhase;
unsigned int sStepsLeft;

void _enterPhase(int iPhase)
{
    sPhase = iPhase;
    sPhase.notify_all();
}

void _onStep(int, siginfo_t*, void* ioContext)
{
    if (sStepsLeft-- > 1)
    {
        return;
    }
    static_cast<ucontext_t*>(ioContext)->uc_mcontext.gregs[REG_EFL] &= ~static_cast<int>(kTrapFlag);
    _enterPhase(eActing);
    sPhase.wait(eActing);
}
} // namespace

bool SingleSteps::arePossible()
{
    return true;
}

bool SingleSteps::run(const std::function<void()>& iCode, unsigned int iStep,
                      const std::function<void()>& iAction)
{
    sPhase = eStepping;
    sStepsLeft = iStep;
    bool acted = false;
    std::thread actor(
        [&]
        {
            sPhase.wait(eStepping);
            acted = sPhase == eActing;
            if (acted)
            {
                iAction();
            }
            _enterPhase(eDone);
        });
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_sigaction = _onStep;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTRAP, &action, &before);
    __writeeflags(__readeflags() | kTrapFlag);
    iCode();
    __writeeflags(__readeflags() & ~kTrapFlag);
    sigaction(SIGTRAP, &before, nullptr);
    if (sPhase == eStepping)
    {
        _enterPhase(eDone);
    }
    actor.join();
    return acted;
}

#else

bool SingleSteps::arePossible()
{
    return false;
}

bool SingleSteps::run(const std::function<void()>&, unsigned int, const std::function<void()>&)
{
    return false;
}

#endif
