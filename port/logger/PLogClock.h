// SPDX-License-Identifier: MIT
// PLogClock: formats the local time for the start of a line.
#ifndef IXLAL_PLOGCLOCK_H
#define IXLAL_PLOGCLOCK_H

#include <ctime>
#include <string_view>

/// Converts to local time only once per second, and to digits only once per millisecond. Belongs to
/// one thread at a time.
class PLogClock
{
public:
    /// The present time as "YYYY-MM-DD HH:MM:SS.mmm"; valid until the next call.
    std::string_view now() noexcept;

    /// The second of the last result of now.
    std::time_t second() const noexcept
    {
        return fSecond;
    }

private:
    enum
    {
        eSecondsLen = 19,
        eLen = 23
    };

    void breakDown(std::time_t iSecond) noexcept;
    void showMillisecond() noexcept;

    std::time_t fSecond = -1;
    long fMillisecond = 0;
    char fText[eLen + 1] = "0000-00-00 00:00:00.000";
};

#endif
