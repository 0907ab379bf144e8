// SPDX-License-Identifier: MIT
// PSingleRun: runs a function on one thread at a time, again after calls that came meanwhile.
#ifndef IXLAL_SDK_PSINGLERUN_H
#define IXLAL_SDK_PSINGLERUN_H

#include <mutex>

/// For a function that brings something up to date. No lock is held while it runs. [any thread]
class PSingleRun
{
public:
    PSingleRun() noexcept : fIsRunning(false), fIsCalledAgain(false)
    {
    }

    PSingleRun(const PSingleRun&) = delete;
    PSingleRun& operator=(const PSingleRun&) = delete;

    /// Runs iFunction, and again for each call that came while it ran. Returns at once when another
    /// call is running it, on any thread: that one runs it again. What iFunction throws is passed
    /// on; it is then not run again.
    template <class TFunction>
    void run(const TFunction& iFunction)
    {
        Turn turn(*this);
        while (turn.next())
        {
            iFunction();
        }
    }

private:
    /// The right to run the function. It ends when there is nothing more to run, or with the scope.
    class Turn
    {
    public:
        explicit Turn(PSingleRun& ioRun) : fRun(ioRun)
        {
            const std::lock_guard<std::mutex> lock(fRun.fMutex);
            fIsMine = !fRun.fIsRunning;
            fRun.fIsRunning = true;
            fRun.fIsCalledAgain = true;
        }

        ~Turn()
        {
            if (fIsMine)
            {
                const std::lock_guard<std::mutex> lock(fRun.fMutex);
                fRun.fIsRunning = false;
            }
        }

        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        bool next()
        {
            const std::lock_guard<std::mutex> lock(fRun.fMutex);
            if (fIsMine)
            {
                fIsMine = fRun.fIsCalledAgain;
                fRun.fIsRunning = fIsMine;
                fRun.fIsCalledAgain = false;
            }
            return fIsMine;
        }

    private:
        PSingleRun& fRun;
        bool fIsMine;
    };

    std::mutex fMutex;
    bool fIsRunning;     ///< guarded by fMutex
    bool fIsCalledAgain; ///< guarded by fMutex
};

#endif
