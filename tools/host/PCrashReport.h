// SPDX-License-Identifier: MIT
// PCrashReport: composes and writes the report of a fatal signal.
#ifndef IXLAL_TOOLS_PCRASHREPORT_H
#define IXLAL_TOOLS_PCRASHREPORT_H

#include "host/PCrashContext.h"
#include "host/PMemoryMap.h"
#include "host/PSafeText.h"
#include "shared/PFileDescriptor.h"

#include <csignal>
#include <cstdint>

/// The lines go to the standard error stream and to the core log. All members are
/// async-signal-safe. A process writes one report, so that buffers can be static.
class PCrashReport
{
public:
    /// All arguments are borrowed. iCode is the siginfo_t of the signal, iMachine its ucontext_t.
    PCrashReport(PCrashContext& ioContext, const siginfo_t& iInfo, const void* iMachine);

    /// Each line is written as soon as it is known, the most important one first.
    void write();

private:
    void writeSignal();
    void readLog();
    void readLines(int iFile);
    void writeInit();
    void writeRequest();
    void writeStack();
    bool findPlugins() const;
    void scan(std::uintptr_t iBegin, std::uintptr_t iEnd);
    void writeLine(const PSafeText& iText);
    void addTime(PSafeText& ioLine) const;

    PCrashContext& fContext;
    const siginfo_t& fInfo;
    const int fThread;
    std::uintptr_t fAddress; ///< of the instruction
    std::uintptr_t fStack;
    bool fIsInPlugin = false;
    PFileDescriptor fLog;
};

#endif
