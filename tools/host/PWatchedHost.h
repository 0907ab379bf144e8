// SPDX-License-Identifier: MIT
// PWatchedHost: starts the core again when its files change.
#ifndef IXLAL_TOOLS_PWATCHEDHOST_H
#define IXLAL_TOOLS_PWATCHEDHOST_H

#include "host/PChangeCheck.h"
#include "host/PFileWatch.h"
#include "host/PServing.h"
#include "host/PWatchdog.h"
#include "host/PWatchedFiles.h"

#include <chrono>
#include <optional>
#include <string>

/// While a core serves, this waits until changes of its files have ended, checks the changed files,
/// and then lets the core stop and starts a new one. Files that a core could not start with are
/// refused, and the running core is kept. When a new core does not start, the host waits without a
/// core for the next change.
class PWatchedHost : private PServing
{
public:
    /// ioProcess has copies. It is borrowed and must outlive the object. Throws std::system_error
    /// or std::runtime_error if the host cannot watch.
    explicit PWatchedHost(PHostProcess& ioProcess);

    /// Runs cores until a signal arrives or the time limit has passed. Returns the result of the
    /// last core; that of the first one if it did not start.
    EHostExit run();

private:
    typedef std::chrono::steady_clock Clock;

    std::string begin() override;
    void wait() override;
    bool goesOn() override;

    EHostExit runCore();
    EHostExit end(EHostExit iCode);
    void awaitChangeWithoutCore();
    bool awaitQuiet();
    bool acceptChange();
    std::optional<std::string> copyPlugins(const PWatchedFiles& iFiles);
    bool isFine(const PWatchedFiles& iFiles, const std::string& iCopy);
    void refuse(const PWatchedFiles& iFiles, const std::vector<std::string>& iReasons);
    void answerForCore();
    PWatchedFiles readFiles();
    void tellRemainders();

    PLibraryProbe fProbe;
    PFileWatch fWatch;
    std::map<std::string, std::string> fUnwatched; ///< directories, with the reason
    PWatchedFiles fFiles;                          ///< of the running core
    PWatchedFiles fRefused;
    std::string fCopy; ///< of the plugins directory; empty without one
    bool fIsFirst = true;
    bool fIsServing = false;
    bool fIsAccepted = false;
    bool fHasEnded = false;
    Clock::time_point fAcceptedAt;
    Clock::time_point fStoppedAt;
    std::optional<PWatchdog> fWatchdog; ///< between two cores
};

#endif
