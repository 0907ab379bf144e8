// SPDX-License-Identifier: MIT
// PHostProcess: what the process has once, however often the core starts.
#ifndef IXLAL_TOOLS_PHOSTPROCESS_H
#define IXLAL_TOOLS_PHOSTPROCESS_H

#include "host/EHostExit.h"
#include "host/PForeignExit.h"
#include "host/PHostOptions.h"
#include "host/PPluginCopies.h"
#include "host/PReadyFile.h"
#include "host/PStopSignals.h"
#include "shared/PStandardOutput.h"

#include <memory>
#include <string>

class PHostProcess
{
public:
    /// Create the object before any thread, because it blocks signals. The arguments are borrowed
    /// and must outlive it. Throws std::system_error.
    PHostProcess(const PHostOptions& iOptions, PStandardOutput& ioOutput);

    PHostProcess(const PHostProcess&) = delete;
    PHostProcess& operator=(const PHostProcess&) = delete;

    const PHostOptions& options() const;
    const PStopSignals& signals() const;
    PReadyFile& readyFile();

    /// The copies of the plugins; only with --watch.
    PPluginCopies& copies();

    /// Prints a line on the standard output. Returns eExitOutputFailed when some output could not
    /// be written. The exit of a reader is not an error.
    EHostExit say(const std::string& iText);

private:
    void removeCopies() const;

    const PHostOptions& fOptions;
    PStandardOutput& fOutput;
    PReadyFile fReadyFile;
    const std::unique_ptr<PPluginCopies> fCopies;
    PStopSignals fSignals;
    PForeignExit fForeignExit; // after fReadyFile and fCopies, which it removes
};

#endif
