// SPDX-License-Identifier: MIT
// PFatalSignals: reports a fatal signal before it ends the process.
#ifndef IXLAL_TOOLS_PFATALSIGNALS_H
#define IXLAL_TOOLS_PFATALSIGNALS_H

#include "host/PCrashContext.h"

#include <memory>

/// While the object exists, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS and SIGTRAP cause a
/// report. Then the default action ends the process, with the original signal information in the
/// core dump. A signal that has another handler keeps it. A process has at most one such object.
///
/// The reports of the creating thread are written on a stack of their own, so that the overflow of
/// its stack is reported. The overflow of another stack ends the process without a report. A fault
/// during the report ends the process at once. A signal of another process, such as SIGABRT of a
/// service manager, is reported by the main thread.
class PFatalSignals
{
public:
    explicit PFatalSignals(PCrashContext iContext);

    /// Restores the default action. Call it on the creating thread.
    ~PFatalSignals();

    PFatalSignals(const PFatalSignals&) = delete;
    PFatalSignals& operator=(const PFatalSignals&) = delete;

private:
    PCrashContext fContext;
    const std::unique_ptr<char[]> fStack;
    bool fIsInstalled = false; ///< whether any signal had no other handler
};

#endif
