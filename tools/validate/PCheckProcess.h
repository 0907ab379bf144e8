// SPDX-License-Identifier: MIT
// PCheckProcess: runs a check in a process of its own, with a limit.
#ifndef IXLAL_TOOLS_PCHECKPROCESS_H
#define IXLAL_TOOLS_PCHECKPROCESS_H

#include "validate/PCheck.h"
#include "validate/PPipe.h"
#include "validate/PValidateOptions.h"

#include <chrono>
#include <string>
#include <sys/types.h>

/// The process tells its verdict through a pipe that it alone knows. What the plugin writes to the
/// standard streams is kept apart and shown when the process dies. Whatever the process started is
/// ended with it.
class PCheckProcess
{
public:
    /// Starts the process. iScratch is the directory below which it makes its temporary files.
    /// Throws std::system_error.
    PCheckProcess(const PCheck& iCheck, const PValidateOptions& iOptions,
                  const std::string& iScratch);
    ~PCheckProcess();

    PCheckProcess(const PCheckProcess&) = delete;
    PCheckProcess& operator=(const PCheckProcess&) = delete;

    /// Waits for the verdict, or for the end of the process or of the limit, which are failures.
    PVerdict wait();

private:
    [[noreturn]] void runCheck(const PCheck& iCheck, const PValidateOptions& iOptions,
                               const std::string& iScratch) const;
    bool readUntilEnd();
    void end();
    PVerdict judge(bool iInTime) const;
    PVerdict death(const std::string& iHow, const std::string& iAdvice) const;

    const std::chrono::seconds fLimit;
    PPipe fResults;
    PPipe fOutput;
    std::string fTold;    ///< what came through the pipe of results
    std::string fWritten; ///< the end of what came through the standard streams
    pid_t fProcess;
    int fStatus = 0;     ///< as waitpid gives it
    bool fEnded = false; ///< the process is gone, and fStatus is known
};

#endif
