// SPDX-License-Identifier: MIT
// PCheckProcess: runs a check in a separate process, with a time limit.
#ifndef IXLAL_TOOLS_PCHECKPROCESS_H
#define IXLAL_TOOLS_PCHECKPROCESS_H

#include "validate/PCheck.h"
#include "validate/PLaunch.h"
#include "validate/PPipe.h"
#include "validate/PValidateOptions.h"

#include <chrono>
#include <string>
#include <sys/types.h>

/// The process sends its verdict through a private pipe. The output of the plugin is captured and
/// shown if the process dies. Processes that the check has started are killed at its end.
class PCheckProcess
{
public:
    /// Starts the process. iScratch is the directory for its temporary files. Throws
    /// std::system_error.
    PCheckProcess(const PCheck& iCheck, const PValidateOptions& iOptions,
                  const std::string& iScratch, const PLaunch& iLaunch);
    ~PCheckProcess();

    PCheckProcess(const PCheckProcess&) = delete;
    PCheckProcess& operator=(const PCheckProcess&) = delete;

    /// Runs a check in this process, which ends with it. Writes the verdict to the handle iResults.
    [[noreturn]] static void runHere(const PCheck& iCheck, const PValidateOptions& iOptions,
                                     int iResults);

    /// Waits for the verdict. The end of the process or of the time limit is a failure.
    PVerdict wait();

    /// The last output of the standard streams.
    const std::string& output() const;

private:
    [[noreturn]] void runCheck(const PCheck& iCheck, const PValidateOptions& iOptions,
                               const std::string& iScratch, const PLaunch& iLaunch) const;
    bool readUntilEnd();
    void end();
    PVerdict judge(bool iInTime) const;
    PVerdict death(const std::string& iHow, const std::string& iAdvice) const;

    const std::chrono::seconds fLimit;
    PPipe fResults;
    PPipe fOutput;
    std::string fTold;    ///< content of the pipe of results
    std::string fWritten; ///< the last output of the standard streams
    pid_t fProcess;
    int fStatus = 0;     ///< as waitpid gives it
    bool fEnded = false; ///< the process has ended, and fStatus is valid
};

#endif
