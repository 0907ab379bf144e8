// PHost: one run of the core, from its start to its stop.
#ifndef IXLAL_TOOLS_PHOST_H
#define IXLAL_TOOLS_PHOST_H

#include "host/EExitCode.h"
#include "host/PHostOptions.h"
#include "host/PReadyFile.h"
#include "host/PStopSignals.h"

class PHost
{
public:
    /// Made before any thread, because of the signals. iOptions must stay.
    explicit PHost(const PHostOptions& iOptions);

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
    EExitCode complainOfReadyFile(int iError) const;
    void tellLog() const;

    const PHostOptions& fOptions;
    PStopSignals fSignals;
    PReadyFile fReadyFile;
    bool fStarted = false;
};

#endif
