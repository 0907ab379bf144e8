// SPDX-License-Identifier: MIT
#include "core/PCoreLog.h"

#include "core/PStartArguments.h"
#include "portinglayer/PProcess.h"

#include <cstdlib>
#include <new>

namespace
{
constexpr char kConsoleVariable[] = "LOG_IXLACORE";
} // namespace

PCoreLog::PCoreLog() noexcept : fLogger(nullptr)
{
}

PCoreLog::~PCoreLog()
{
    delete logger();
}

void PCoreLog::open(const PStartArguments& iArguments) noexcept
{
    if (iArguments.fLogFile.len() == 0)
    {
        return;
    }
    PLogger* const logger = new (std::nothrow) PLogger;
    if (!logger)
    {
        return;
    }
    // The core starts without its log when that cannot be opened; the logger tries again.
    logger->init(iArguments.fLogFile, L"Core", false,
                 static_cast<unsigned int>(iArguments.fLogMaxSize), iArguments.fLogParts,
                 iArguments.fLogMaxCount, iArguments.fLogEnable);
    fLogger.store(logger, std::memory_order_release);
    logger->setLevel(iArguments.fLogLevel);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the core never changes the environment
    if (std::getenv(kConsoleVariable))
    {
        logger->setPrintOnConsole(true);
    }
    PLogger::debug(logger, 0, kCoreLogFrame);
    PLogger::debug(logger, 0, L"[startFlow] Logger initialized.");
}

void PCoreLog::writeFreeMemory(const wchar_t* iFormat) const noexcept
{
    if (!writesFigures())
    {
        return;
    }
    unsigned long long bytes = 0;
    // A number that cannot be read is logged as 0.
    PProcess::getFreeMemory(bytes);
    PLogger::debug(logger(), 0, iFormat, bytes);
}

void PCoreLog::writeProcessMemory(const wchar_t* iFormat) const noexcept
{
    PLogger::debug(logger(), 0, iFormat, readProcessMemory());
}

unsigned long long PCoreLog::readProcessMemory() const noexcept
{
    unsigned long long bytes = 0;
    if (writesFigures())
    {
        // As above.
        PProcess::getMemoryUsage(PProcess::getCurrentPID(), bytes);
    }
    return bytes;
}

/// Whether lines about memory are written. The memory is measured only for such lines, because that
/// takes longer than all other work of the core for a plugin.
bool PCoreLog::writesFigures() const noexcept
{
    const PLogger* const current = logger();
    return current && current->isLogged(0);
}
