// SPDX-License-Identifier: MIT
#include "core/PServiceLog.h"

#include "core/PCoreCall.h"

#include <cstdarg>

void logServiceError(const wchar_t* iFormat, ...) noexcept
{
    const PCoreCall call;
    const PCore* const core = call.core();
    if (!core)
    {
        return;
    }
    va_list args;
    va_start(args, iFormat);
    // The log itself counts a line that it cannot write.
    static_cast<void>(PLogger::error(core->getCoreLogger(), 0, iFormat, args));
    va_end(args);
}
