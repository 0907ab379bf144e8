#include "PSafeWrite.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include <unistd.h>

namespace
{
/// Blocks the signals of failing writes for the calling thread.
class SignalBlock
{
public:
    SignalBlock() noexcept
    {
        sigset_t blocked;
        ::sigemptyset(&blocked);
        ::sigaddset(&blocked, SIGPIPE);
        ::sigaddset(&blocked, SIGXFSZ);
        ::sigemptyset(&fPending);
        fBlocked = ::pthread_sigmask(SIG_BLOCK, &blocked, &fMask) == 0;
        // Only a signal that the caller blocks itself can have been waiting before.
        if (fBlocked &&
            (::sigismember(&fMask, SIGPIPE) == 1 || ::sigismember(&fMask, SIGXFSZ) == 1))
        {
            ::sigpending(&fPending);
        }
    }

    ~SignalBlock()
    {
        if (fBlocked)
        {
            ::pthread_sigmask(SIG_SETMASK, &fMask, nullptr);
        }
    }

    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

    /// Takes the signal back that a write with this errno raised, and no other.
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
    sigset_t fPending; ///< what was waiting before the write
    bool fBlocked;
};
} // namespace

ssize_t PSafeWrite::write(int iHandle, const char* iBytes, std::size_t iSize) noexcept
{
    SignalBlock block;
    ssize_t written = 0;
    do
    {
        written = ::write(iHandle, iBytes, iSize);
    } while (written < 0 && errno == EINTR);
    if (written >= 0)
    {
        return written;
    }
    const int error = errno;
    block.takeBack(error);
    return -error;
}

void PSafeWrite::print(std::string_view iBytes) noexcept
{
    while (!iBytes.empty())
    {
        const ssize_t written = write(STDERR_FILENO, iBytes.data(), iBytes.size());
        if (written <= 0)
        {
            return;
        }
        iBytes.remove_prefix(static_cast<std::size_t>(written));
    }
}
