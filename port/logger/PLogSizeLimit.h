// SPDX-License-Identifier: MIT
// PLogSizeLimit: whether the process has a limit for the size of its files.
#ifndef IXLAL_PLOGSIZELIMIT_H
#define IXLAL_PLOGSIZELIMIT_H

#include <ctime>
#include <limits>

/// Asks the system at most once per second unless it is made to forget the answer. A limit that the
/// process sets later in the same second is not noticed before the next one. Belongs to one thread
/// at a time.
class PLogSizeLimit
{
public:
    /// Whether there was no limit in the second iSecond.
    bool isNone(std::time_t iSecond) noexcept
    {
        if (iSecond != fSecond)
        {
            ask(iSecond);
        }
        return fIsNone;
    }

    /// Makes the next isNone ask the system.
    void forget() noexcept
    {
        fSecond = kNever;
    }

private:
    static constexpr std::time_t kNever = std::numeric_limits<std::time_t>::min();

    void ask(std::time_t iSecond) noexcept;

    std::time_t fSecond = kNever; ///< of the last answer
    bool fIsNone = false;
};

#endif
