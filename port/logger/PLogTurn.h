// SPDX-License-Identifier: MIT
// PLogTurn: mutual exclusion between the writers of one log file.
#ifndef IXLAL_PLOGTURN_H
#define IXLAL_PLOGTURN_H

/// The right to rotate a file and to rely on its size. Of all loggers with the file open, in this
/// process or in others, one holds it at a time. It is a lock on the file. The end of the process
/// releases it, unless a child that was forked meanwhile still runs and has not executed another
/// program. Belongs to one thread at a time.
class PLogTurn
{
public:
    PLogTurn() noexcept;
    ~PLogTurn();

    PLogTurn(const PLogTurn&) = delete;
    PLogTurn& operator=(const PLogTurn&) = delete;

    /// Releases the turn that it holds and takes the turn at iHandle. Waits at most a second, and
    /// not at all if the last wait timed out. Returns false when another logger holds the turn;
    /// true also when the file system supports no locks.
    bool take(int iHandle) noexcept;

    /// Whether the last take found the turn taken.
    bool hasWaited() const noexcept
    {
        return fHasWaited;
    }

    /// Releases the turn; does nothing when it is not held.
    void giveBack() noexcept;

private:
    int fHandle;                ///< -1 while the turn is not held
    unsigned short fGeneration; ///< of the process that took it
    bool fHasWaited;
    bool fIsOverdue;
};

#endif
