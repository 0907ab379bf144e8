// SPDX-License-Identifier: MIT
// Named loggers: the cache, its evictions, and the last holders.

#include "Scenario.h"
#include "scenarios/support/HeldServices.h"
#include "scenarios/support/Threads.h"

#include "Ixla.h"
#include "PBaseptr.h"

#include <atomic>

using schedules::require;
using schedules::requireEqual;

namespace
{
PBaseptr<ILogger> _get(ILogger& ioLogger, const wchar_t* iName)
{
    PBaseptr<ILogger> named;
    requireEqual(0, ioLogger.getLogger(iName, named), "getLogger");
    require(static_cast<bool>(named), "the holder is filled");
    return named;
}

void _write(const PBaseptr<ILogger>& iLogger, const wchar_t* iLine)
{
    requireEqual(0, iLogger->info(0, L"%ls", iLine), "a line");
}
} // namespace

SCENARIO(OneNamedLoggerFromTwoThreads, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> loggers[2];
    const auto write = [&](PBaseptr<ILogger>& oLogger, const wchar_t* iLine)
    {
        oLogger = _get(*services.logger, L"named");
        _write(oLogger, iLine);
    };
    runTogether([&] { write(loggers[0], L"first"); }, [&] { write(loggers[1], L"second"); });
    require(loggers[0].get() == loggers[1].get(), "both threads get the same logger");
    requireEqual(1, services.core.countLines("log/named", "first"), "the first thread's line");
    requireEqual(1, services.core.countLines("log/named", "second"), "the second thread's line");
}

// One of the threads evicts the logger that nobody holds.
SCENARIO(TwoNamedLoggersFromTwoThreads, .jumps = false, .small = true)
{
    const HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> first;
    PBaseptr<ILogger> second;
    _get(*services.logger, L"idle");
    runTogether([&] { first = _get(*services.logger, L"first"); },
                [&] { second = _get(*services.logger, L"second"); });
    require(first.get() != second.get(), "each name has its own logger");
    require(_get(*services.logger, L"first").get() == first.get(), "a held logger stays");
    require(_get(*services.logger, L"second").get() == second.get(), "a held logger stays");
}

SCENARIO(LastHolderOfANamedLoggerBesideAnEviction, .jumps = false, .small = true)
{
    const HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> named = _get(*services.logger, L"named");
    runTogether(
        [&]
        {
            _write(named, L"before.");
            named.clear();
        },
        [&]
        {
            // Each getLogger evicts the loggers that nobody holds.
            _write(_get(*services.logger, L"other"), L"other.");
            _write(_get(*services.logger, L"named"), L"after.");
        });
    requireEqual(1, services.core.countLines("log/named", "before."), "the first thread's line");
    requireEqual(1, services.core.countLines("log/named", "after."), "the second thread's line");
    requireEqual(1, services.core.countLines("log/other", "other."), "the line of the other");
}

SCENARIO(HeldNamedLoggerBesideEvictions, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    const PBaseptr<ILogger> held = _get(*services.logger, L"named");
    const auto evict = [&]
    {
        const PBaseptr<ILogger> other = _get(*services.logger, L"other");
        require(_get(*services.logger, L"named").get() == held.get(), "a held logger stays");
    };
    runTogether([&] { _write(held, L"line."); }, evict, evict);
    requireEqual(1, services.core.countLines("log/named", "line."), "the line");
}

SCENARIO(LastHoldersOfANamedLogger, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> first = _get(*services.logger, L"named");
    PBaseptr<ILogger> second = first;
    const auto writeAndRelease = [](PBaseptr<ILogger>& ioLogger, const wchar_t* iLine)
    {
        _write(ioLogger, iLine);
        ioLogger.clear();
    };
    runTogether([&] { writeAndRelease(first, L"first"); },
                [&] { writeAndRelease(second, L"second"); },
                [&] { _get(*services.logger, L"other"); });
    requireEqual(2, services.core.countLines("log/named", ""), "lines");
    _write(_get(*services.logger, L"named"), L"third");
    requireEqual(3, services.core.countLines("log/named", ""), "lines of the next logger");
}

SCENARIO(LoggersThatReplaceThemselves, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    const auto replace = [&]
    {
        PBaseptr<ILogger> logger = _get(*services.logger, L"one");
        // The logger that runs this call may lose its last holder in it.
        requireEqual(0, logger->getLogger(L"two", logger), "getLogger into its own holder");
        _write(logger, L"line.");
    };
    runTogether(replace, replace);
    requireEqual(2, services.core.countLines("log/two", "line."), "lines");
    requireEqual(0, services.core.countLines("log/one", "line."), "lines of the former logger");
}

SCENARIO(NamedLoggerReleasedBesideAStop, .milliseconds = 3000, .jumps = false)
{
    HeldServices services(HeldServices::eWithLogs);
    PBaseptr<ILogger> named = _get(*services.logger, L"named");
    services.logger.clear();
    runTogether([] { requireEqual(0, ixlaStop(), "the core stops"); },
                [&]
                {
                    _write(named, L"line.");
                    PBaseptr<ILogger> other;
                    const int result = named->getLogger(L"other", other);
                    require(result == (other ? eIxlaOk : eIxlaNoInstance), "getLogger");
                    named.clear();
                });
    requireEqual(1, services.core.countLines("log/named", "line."), "the line");
}

SCENARIO(NamedLoggerUsedAfterAStop, .milliseconds = 3000, .jumps = false)
{
    const HeldServices services(HeldServices::eWithLogs);
    const PBaseptr<ILogger> named = _get(*services.logger, L"named");
    requireEqual(0, ixlaStop(), "the core stops");
    const auto use = [&](const wchar_t* iLine)
    {
        _write(named, iLine);
        PBaseptr<ILogger> other;
        requireEqual(eIxlaNoInstance, named->getLogger(L"other", other), "getLogger");
        require(!other, "the holder stays empty");
    };
    runTogether([&] { use(L"first"); }, [&] { use(L"second"); });
    requireEqual(2, services.core.countLines("log/named", ""), "lines");
}

SCENARIO(NamedLoggersThatMayFail, .jumps = false, .faults = true)
{
    const HeldServices services(HeldServices::eWithLogs);
    std::atomic<int> written{0};
    const auto write = [&]
    {
        PBaseptr<ILogger> named;
        const int result = services.logger->getLogger(L"named", named);
        require(result == 0 || schedules::hasFault(), "getLogger");
        // A fault of unlocking is known only after the holder was filled.
        require(result != 0 || named, "the holder is filled");
        written += named && named->info(0, L"line.") == 0 ? 1 : 0;
    };
    runTogether(write, write);
    require(written == 2 || schedules::hasFault(), "lines");
    const schedules::Reliable reliable;
    const int found = services.core.countLines("log/named", "line.");
    require(found == written || (found < written && schedules::hasFault()), "lines in the file");
}
