// SPDX-License-Identifier: MIT
#include "PLogClock.h"

#include <cstring>

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
    fSecond = iSecond;
    std::tm parts{};
    char text[eSecondsLen + 1];
    // Does not fit with a year of more than four digits: the previous text stays.
    if (::localtime_r(&iSecond, &parts) &&
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == eSecondsLen)
    {
        std::memcpy(fText, text, eSecondsLen);
    }
}
