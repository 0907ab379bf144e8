// SPDX-License-Identifier: MIT
// PWriteSignals: suppresses the signals of failing writes.
#ifndef IXLAL_PWRITESIGNALS_H
#define IXLAL_PWRITESIGNALS_H

#include <cerrno>
#include <csignal>
#include <ctime>

/// Blocks SIGPIPE and SIGXFSZ in the calling thread until the end of its scope. The thread must not
/// be cancelled meanwhile.
class PWriteSignals
{
public:
    PWriteSignals() noexcept
    {
        sigset_t blocked;
        ::sigemptyset(&blocked);
        ::sigaddset(&blocked, SIGPIPE);
        ::sigaddset(&blocked, SIGXFSZ);
        ::sigemptyset(&fPending);
        fBlocked = ::pthread_sigmask(SIG_BLOCK, &blocked, &fMask) == 0;
        // Only a signal that the caller itself blocks can be pending already.
        if (fBlocked &&
            (::sigismember(&fMask, SIGPIPE) == 1 || ::sigismember(&fMask, SIGXFSZ) == 1))
        {
            ::sigpending(&fPending);
        }
    }

    ~PWriteSignals()
    {
        if (fBlocked)
        {
            ::pthread_sigmask(SIG_SETMASK, &fMask, nullptr);
        }
    }

    PWriteSignals(const PWriteSignals&) = delete;
    PWriteSignals& operator=(const PWriteSignals&) = delete;

    /// Removes the pending signal that a write with this errno raised, and no other.
    void takeBack(int iErrno) noexcept
    {
        const int signal = iErrno == EPIPE ? SIGPIPE : iErrno == EFBIG ? SIGXFSZ : 0;
        if (!fBlocked || signal == 0 || ::sigismember(&fPending, signal) == 1)
        {
            return;
        }
        sigset_t raised;
        ::sigemptyset(&raised);
        ::sigaddset(&raised, signal);
        const timespec noWait{};
        while (::sigtimedwait(&raised, nullptr, &noWait) < 0 && errno == EINTR)
        {
        }
    }

private:
    sigset_t fMask;
    sigset_t fPending; ///< signals that were pending before the write
    bool fBlocked;
};

#endif
