// SPDX-License-Identifier: MIT
// PCoreLog: the log that carries the lines of one core.
#ifndef IXLAL_PCORELOG_H
#define IXLAL_PCORELOG_H

#include "logger/PLogger.h"

#include <atomic>

class PStartArguments;

/// The line that frames each public operation of the core in the log.
constexpr wchar_t kCoreLogFrame[] = L"**************************************************";

/// Owns the logger of one core, from the start to the destruction. A core that is never destroyed
/// keeps its log. [any thread]
class PCoreLog
{
public:
    PCoreLog() noexcept;

    /// Ends the log. No thread may be writing.
    ~PCoreLog();

    PCoreLog(const PCoreLog&) = delete;
    PCoreLog& operator=(const PCoreLog&) = delete;

    /// Creates the logger that the arguments describe; none without a log file or without memory.
    /// The start calls it once.
    void open(const PStartArguments& iArguments) noexcept;

    /// The logger; null before it is created and without a core log. All forms of PLogger accept
    /// null.
    PLogger* logger() const noexcept
    {
        return fLogger.load(std::memory_order_acquire);
    }

    /// Log the free memory of the machine, or the memory that the process uses, as a line of kind D
    /// with the figure (%llu) in iFormat; 0 when it cannot be read.
    void writeFreeMemory(const wchar_t* iFormat) const noexcept;
    void writeProcessMemory(const wchar_t* iFormat) const noexcept;

    /// The memory that the process uses, in bytes, for a line of level 0. Returns 0 when it cannot
    /// be read, and when the log does not write such lines.
    unsigned long long readProcessMemory() const noexcept;

private:
    bool writesFigures() const noexcept;

    /// Owned. Release and acquire order: whoever gets it sees it initialised.
    std::atomic<PLogger*> fLogger;
};

#endif
