#include "core/PCoreLog.h"

#include "portinglayer/PProcess.h"

#include <atomic>

namespace
{
std::atomic<PLogger*> sCoreLogger{nullptr};

/// Whether lines with figures about memory are written. Reading the figures takes longer than all
/// else that the core does for a plugin, so they are only read to be written.
bool _areFiguresLogged() noexcept
{
    const PLogger* const logger = getCoreLogger();
    return logger && logger->isLogged(0);
}
} // namespace

PLogger* getCoreLogger() noexcept
{
    return sCoreLogger.load(std::memory_order_acquire);
}

void setCoreLogger(PLogger* iLogger) noexcept
{
    sCoreLogger.store(iLogger, std::memory_order_release);
}

void logFreeMemory(const wchar_t* iFormat) noexcept
{
    if (!_areFiguresLogged())
    {
        return;
    }
    unsigned long long bytes = 0;
    // The figure only informs: without it the line says 0.
    PProcess::getFreeMemory(bytes);
    PLogger::debug(getCoreLogger(), 0, iFormat, bytes);
}

void logProcessMemory(const wchar_t* iFormat) noexcept
{
    PLogger::debug(getCoreLogger(), 0, iFormat, readProcessMemory());
}

unsigned long long readProcessMemory() noexcept
{
    unsigned long long bytes = 0;
    if (_areFiguresLogged())
    {
        // As above.
        PProcess::getMemoryUsage(PProcess::getCurrentPID(), bytes);
    }
    return bytes;
}
