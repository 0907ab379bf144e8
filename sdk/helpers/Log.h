// SPDX-License-Identifier: MIT
/// @file
/// IXLA_LOG: writes a line to a log; the compiler compares the format with the arguments.
#ifndef IXLAL_SDK_LOG_H
#define IXLAL_SDK_LOG_H

#include "ILogger.h"
#include "PBaseptr.h"
#include "helpers/PLogLimit.h"

#include <atomic>

/// The logger that IXLA_LOG uses.
inline ILogger* ixlaLoggerOf(const PBaseptr<ILogger>& iLogger) noexcept
{
    return iLogger.get();
}

/// The same for a borrowed logger.
inline ILogger* ixlaLoggerOf(ILogger* iLogger) noexcept
{
    return iLogger;
}

/// Never called. The compiler compares its format with its arguments.
[[gnu::format(printf, 1, 2)]] inline void ixlaCheckFormat(const char*, ...) noexcept
{
}

/// Compares a format with its arguments without evaluating them. A difference is an error, whatever
/// the warning options are.
#define IXLA_CHECK_FORMAT(...)                                                                     \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic error \"-Wformat\"") if (false)         \
    {                                                                                              \
        ixlaCheckFormat("" __VA_ARGS__);                                                           \
    }                                                                                              \
    _Pragma("GCC diagnostic pop")

/// Writes a line; a statement. iKind is info, error or debug, iLog a PBaseptr<ILogger> or an
/// ILogger*; nothing is written when it is empty. The format is a narrow literal:
///
///     IXLA_LOG(info, fLog, 0, "job %u of %ls took %.1f s", number, name.ptr(), seconds);
///
/// The line is the same as with fLog->info(0, L"..."), and costs the same: the wide format is made
/// by the compiler. "%s" is UTF-8 text, "%ls" wide text. A format that does not fit its arguments
/// is a compile error; -Wformat of the compilers checks no wide formats. Each argument is evaluated
/// once. The result of the logger is ignored, as its contract allows.
#define IXLA_LOG(iKind, iLog, iLevel, ...)                                                         \
    do                                                                                             \
    {                                                                                              \
        IXLA_CHECK_FORMAT(__VA_ARGS__)                                                             \
        ILogger* const ixlaLogger = ixlaLoggerOf(iLog);                                            \
        if (ixlaLogger)                                                                            \
        {                                                                                          \
            (void)ixlaLogger->iKind(iLevel, L"" __VA_ARGS__);                                      \
        }                                                                                          \
    } while (false)

/// The same, but only the first time that this place of the source is reached with a logger. A
/// library that is unloaded and loaded again begins anew.
#define IXLA_LOG_ONCE(iKind, iLog, iLevel, ...)                                                    \
    do                                                                                             \
    {                                                                                              \
        static std::atomic<bool> sIxlaDone{false};                                                 \
        IXLA_CHECK_FORMAT(__VA_ARGS__)                                                             \
        ILogger* const ixlaLogger = ixlaLoggerOf(iLog);                                            \
        if (ixlaLogger && !sIxlaDone.exchange(true))                                               \
        {                                                                                          \
            (void)ixlaLogger->iKind(iLevel, L"" __VA_ARGS__);                                      \
        }                                                                                          \
    } while (false)

/// The same, but at most once in iInterval, a duration of std::chrono, for this place of the
/// source. A line that is written after others were suppressed follows a line with their number,
/// Suppressed lines: 41 of "queue full: %u jobs". Arguments of suppressed lines are not evaluated.
#define IXLA_LOG_EVERY(iInterval, iKind, iLog, iLevel, ...)                                        \
    do                                                                                             \
    {                                                                                              \
        static PLogLimit sIxlaLimit;                                                               \
        IXLA_CHECK_FORMAT(__VA_ARGS__)                                                             \
        ILogger* const ixlaLogger = ixlaLoggerOf(iLog);                                            \
        unsigned int ixlaSuppressed = 0;                                                           \
        if (ixlaLogger && sIxlaLimit.admits(iInterval, ixlaSuppressed))                            \
        {                                                                                          \
            if (ixlaSuppressed > 0)                                                                \
            {                                                                                      \
                (void)ixlaLogger->iKind(iLevel, L"Suppressed lines: %u of \"%s\"", ixlaSuppressed, \
                                        IXLA_FORMAT_OF(__VA_ARGS__, ));                            \
            }                                                                                      \
            (void)ixlaLogger->iKind(iLevel, L"" __VA_ARGS__);                                      \
        }                                                                                          \
    } while (false)

/// The format among the arguments of IXLA_LOG.
#define IXLA_FORMAT_OF(iFormat, ...) iFormat

#endif
