// SPDX-License-Identifier: MIT
// PLogTurn: keeps the writers of one log file apart.
#ifndef IXLAL_PLOGTURN_H
#define IXLAL_PLOGTURN_H

/// The right to rotate a file, and to count on its size, which one of the loggers that have it open
/// holds at a time, in this process or in others. It is a lock on the file, which the end of its
/// process frees, unless a child that was forked meanwhile lives on without having run another
/// program. Belongs to one thread at a time.
class PLogTurn
{
public:
    PLogTurn() noexcept;
    ~PLogTurn();

    PLogTurn(const PLogTurn&) = delete;
    PLogTurn& operator=(const PLogTurn&) = delete;

    /// Gives back what it holds and takes the turn at iHandle. Waits a second at most, and not at
    /// all for a holder who has let that pass before. Returns false while somebody else has it;
    /// true also where the file system knows no locks.
    bool take(int iHandle) noexcept;

    /// Does nothing when the turn was not taken.
    void giveBack() noexcept;

private:
    int fHandle;                ///< -1 while the turn is not held
    unsigned short fGeneration; ///< of the process that took it
    bool fIsOverdue;
};

#endif
