// SPDX-License-Identifier: MIT
// PHost: one run of the core, from its start to its stop.
#ifndef IXLAL_TOOLS_PHOST_H
#define IXLAL_TOOLS_PHOST_H

#include "host/EHostExit.h"
#include "host/PCoreLogPlace.h"
#include "host/PFatalSignals.h"
#include "host/PHostOptions.h"
#include "host/PHostProcess.h"
#include "host/PInfoCheck.h"
#include "host/PLogFollower.h"
#include "host/PServing.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

class PHost
{
public:
    /// iPluginsDir is the directory from which the core loads its plugins instead of the configured
    /// one; empty for that one. ioProcess and ioServing are borrowed and must outlive the object.
    PHost(PHostProcess& ioProcess, PServing& ioServing, std::string iPluginsDir);

    /// Stops the core when an exception has ended the run.
    ~PHost();

    PHost(const PHost&) = delete;
    PHost& operator=(const PHost&) = delete;

    /// Starts the core, serves, and stops the core. A signal that arrives during the start stops
    /// the core after the start.
    EHostExit run();

private:
    /// Prints a line for each misspelt or misplaced key of the core, and each wrong value, in the
    /// arguments and in the property file. Returns how many there are.
    std::size_t complainOfKeys() const;
    /// Prints a line for each way in which the plugins do not fit together, or to the core, and for
    /// each damaged information. Returns the code of the first one.
    EHostExit complainOfPlugins();
    /// Copies the store. Prints a line about a failure, or about lost values; the start goes on.
    void keepStore() const;
    EHostExit start();
    EHostExit check();
    EHostExit initialise();
    EHostExit findRequired() const;
    EHostExit initialiseRequired();
    EHostExit serve();
    EHostExit stop(EHostExit iSoFar);
    EHostExit complainOfReadyFile(int iError) const;
    void complainOfStart(int iResult);
    void tellErrors();
    void tellLog() const;

    const PHostOptions& fOptions;
    PHostProcess& fProcess;
    PServing& fServing;
    const std::string fPluginsDir;
    const std::unique_ptr<PPluginTable> fPlugins; // large
    PCoreLogPlace fLogPlace;
    PLogFollower fLog;
    PFatalSignals fFatalSignals;
    std::optional<PInfoCheck> fInfo; ///< since the start
    bool fStarted = false;
    std::string fStatus; ///< for the service manager; empty for none
};

#endif
