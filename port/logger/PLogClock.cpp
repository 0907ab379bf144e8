// SPDX-License-Identifier: MIT
#include "PLogClock.h"

std::string_view PLogClock::now() noexcept
{
    timespec time{};
    // Cannot fail: CLOCK_REALTIME always exists.
    static_cast<void>(::clock_gettime(CLOCK_REALTIME, &time));
    if (time.tv_sec != fSecond)
    {
        breakDown(time.tv_sec);
    }
    const long millisecond = time.tv_nsec / 1000000;
    if (millisecond != fMillisecond)
    {
        fMillisecond = millisecond;
        showMillisecond();
    }
    return std::string_view(fText, eLen);
}

void PLogClock::showMillisecond() noexcept
{
    long rest = fMillisecond;
    for (int place = eLen - 1; place > eSecondsLen; --place)
    {
        fText[place] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    }
}

void PLogClock::breakDown(std::time_t iSecond) noexcept
{
    std::tm parts{};
    if (!::localtime_r(&iSecond, &parts) ||
        std::strftime(fText, sizeof fText, "%Y-%m-%d %H:%M:%S", &parts) != eSecondsLen)
    {
        return; // a year with more than four digits: the previous text stays
    }
    fText[eSecondsLen] = '.';
    fSecond = iSecond;
}
