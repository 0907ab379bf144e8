// SPDX-License-Identifier: MIT
// PHost: one run of the core, from its start to its stop.
#ifndef IXLAL_TOOLS_PHOST_H
#define IXLAL_TOOLS_PHOST_H

#include "host/EHostExit.h"
#include "host/PCoreLogPlace.h"
#include "host/PFatalSignals.h"
#include "host/PForeignExit.h"
#include "host/PHostOptions.h"
#include "host/PLogFollower.h"
#include "host/PReadyFile.h"
#include "host/PStopSignals.h"
#include "shared/PStandardOutput.h"

#include <cstddef>
#include <memory>
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
    EHostExit run();

private:
    /// Prints a line for each misspelt or misplaced key of the core, and each wrong value, in the
    /// arguments and in the property file. Returns how many there are.
    std::size_t complainOfKeys() const;
    /// Copies the store. Prints a line about a failure, or about lost values; the start goes on.
    void keepStore() const;
    EHostExit start();
    EHostExit check();
    EHostExit initialise();
    EHostExit findRequired() const;
    EHostExit initialiseRequired();
    EHostExit serve();
    EHostExit stop(EHostExit iSoFar);
    /// Returns eExitOutputFailed when some output could not be written. The exit of a reader is not
    /// an error.
    EHostExit say(const std::string& iText);
    EHostExit complainOfReadyFile(int iError) const;
    void complainOfStart(int iResult);
    void tellErrors();
    void tellLog() const;

    const PHostOptions& fOptions;
    PStandardOutput& fOutput;
    PStopSignals fSignals;
    PReadyFile fReadyFile;
    PForeignExit fForeignExit;                    // after fReadyFile, which it removes
    const std::unique_ptr<PPluginTable> fPlugins; // large
    PCoreLogPlace fLogPlace;
    PLogFollower fLog;
    PFatalSignals fFatalSignals;
    bool fStarted = false;
    std::string fStatus; ///< for the service manager; empty for none
};

#endif
