// SPDX-License-Identifier: MIT
#include "host/PStopSignals.h"

#include <cstdio>
#include <cstring>
#include <pthread.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace
{
constexpr int kSignalled = 128;

extern "C" void _doNothing(int)
{
}

bool _isIgnored(int iSignal)
{
    struct sigaction action = {};
    return sigaction(iSignal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Installs a handler, because programs started by plugins would inherit an ignored signal.
void _disarmSigpipe()
{
    struct sigaction action = {};
    action.sa_handler = &_doNothing;
    action.sa_flags = SA_RESTART;
    if (!_isIgnored(SIGPIPE))
    {
        sigaction(SIGPIPE, &action, nullptr); // cannot fail for this signal
    }
}
} // namespace

PStopSignals::PStopSignals(std::function<void()> iCleanUp) : fCleanUp(std::move(iCleanUp))
{
    _disarmSigpipe();
    sigemptyset(&fSignals);
    sigaddset(&fSignals, SIGINT);
    sigaddset(&fSignals, SIGTERM);
    if (!_isIgnored(SIGHUP))
    {
        sigaddset(&fSignals, SIGHUP);
    }
    if (const int error = pthread_sigmask(SIG_BLOCK, &fSignals, nullptr))
    {
        throw std::system_error(error, std::generic_category(), "signals cannot be blocked");
    }
    fListener = std::thread([this] { listen(); });
}

PStopSignals::~PStopSignals()
{
    fEnding = true;
    pthread_kill(fListener.native_handle(), SIGINT); // valid until the thread is joined
    fListener.join();
}

bool PStopSignals::hasCome() const
{
    return fHasCome;
}

int PStopSignals::descriptor() const
{
    return fArrival.descriptor();
}

void PStopSignals::listen()
{
    for (;;)
    {
        int caught = 0;
        const bool waited = sigwait(&fSignals, &caught) == 0;
        if (fEnding)
        {
            return;
        }
        if (waited)
        {
            take(caught);
        }
    }
}

void PStopSignals::take(int iSignal)
{
    // Writes to the descriptor, because a hanging thread may hold the lock of the stream.
    const char* const name = sigabbrev_np(iSignal);
    if (hasCome())
    {
        dprintf(STDERR_FILENO, "ixla-host: SIG%s again, exiting at once\n", name);
        fCleanUp();
        _exit(kSignalled + iSignal);
    }
    const char* const advice =
        iSignal == SIGHUP ? "there is no reload, restart the host to read its files again; " : "";
    dprintf(STDERR_FILENO, "ixla-host: SIG%s, stopping; %sa second signal exits at once\n", name,
            advice);
    fHasCome = true;
    fArrival.ring();
}
