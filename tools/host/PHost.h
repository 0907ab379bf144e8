// SPDX-License-Identifier: MIT
// PHost: one run of the core, from its start to its stop.
#ifndef IXLAL_TOOLS_PHOST_H
#define IXLAL_TOOLS_PHOST_H

#include "host/EExitCode.h"
#include "host/PHostOptions.h"
#include "host/PReadyFile.h"
#include "host/PStopSignals.h"
#include "shared/PStandardOutput.h"

#include <cstddef>
#include <string>

class PHost
{
public:
    /// Create the object before any thread, because it blocks signals. iOptions and ioOutput are
    /// borrowed and must outlive it.
    PHost(const PHostOptions& iOptions, PStandardOutput& ioOutput);

    /// Stops the core when an exception has ended the run.
    ~PHost();

    PHost(const PHost&) = delete;
    PHost& operator=(const PHost&) = delete;

    /// Starts the core, waits for a signal or the time limit, and stops the core. A signal that
    /// arrives during the start stops the core after the start.
    EExitCode run();

private:
    /// Prints a line for each misspelt or misplaced key of the core, and each wrong value, in the
    /// arguments and in the property file. Returns how many there are.
    std::size_t complainOfKeys() const;
    EExitCode start();
    EExitCode initialise() const;
    EExitCode findRequired() const;
    EExitCode initialiseRequired() const;
    EExitCode serve();
    EExitCode stop(EExitCode iSoFar);
    /// Returns eExitOutputFailed when some output could not be written. The exit of a reader is not
    /// an error.
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
