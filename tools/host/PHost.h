// SPDX-License-Identifier: MIT
// PHost: one run of the core, from its start to its stop.
#ifndef IXLAL_TOOLS_PHOST_H
#define IXLAL_TOOLS_PHOST_H

#include "host/EExitCode.h"
#include "host/PHostOptions.h"
#include "host/PReadyFile.h"
#include "host/PStopSignals.h"
#include "shared/PStandardOutput.h"

#include <string>

class PHost
{
public:
    /// Made before any thread, because of the signals. iOptions and ioOutput must stay.
    PHost(const PHostOptions& iOptions, PStandardOutput& ioOutput);

    /// Stops the core when an exception has ended the run.
    ~PHost();

    PHost(const PHost&) = delete;
    PHost& operator=(const PHost&) = delete;

    /// Starts the core, serves until it is time to stop, and stops it again. A signal that comes
    /// during the start stops the core as soon as that is over.
    EExitCode run();

private:
    EExitCode start();
    EExitCode initialise() const;
    EExitCode findRequired() const;
    EExitCode initialiseRequired() const;
    EExitCode serve();
    EExitCode stop(EExitCode iSoFar);
    /// Returns eExitOutputFailed when something could not be written. A reader that goes away is
    /// none of the host's business.
    EExitCode say(const std::string& iText);
    EExitCode complainOfReadyFile(int iError) const;
    void tellLog() const;

    const PHostOptions& fOptions;
    PStandardOutput& fOutput;
    PStopSignals fSignals;
    PReadyFile fReadyFile;
    bool fStarted = false;
};

#endif
