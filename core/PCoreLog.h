// PCoreLog: the log that carries the lines of the core itself.
#ifndef IXLAL_PCORELOG_H
#define IXLAL_PCORELOG_H

#include "logger/PLogger.h"

/// The line that frames each public operation of the core in the log.
constexpr wchar_t kCoreLogFrame[] = L"**************************************************";

/// The core's logger; null before the start created it, without a core log, and after the core is
/// gone. All forms of PLogger accept null. [any thread]
PLogger* getCoreLogger() noexcept;

/// Sets the core's logger, which stays owned by the caller; only the starting and the destroyed
/// core do so.
void setCoreLogger(PLogger* iLogger) noexcept;

/// Log the free memory of the machine, or the memory that the process uses, as a line of kind D
/// with the figure (%llu) in iFormat; 0 when it cannot be read. [any thread]
void logFreeMemory(const wchar_t* iFormat) noexcept;
void logProcessMemory(const wchar_t* iFormat) noexcept;

/// The memory that the process uses, in bytes, for a line of level 0; 0 when it cannot be read, or
/// when the core log doesn't write such lines. [any thread]
unsigned long long readProcessMemory() noexcept;

#endif
