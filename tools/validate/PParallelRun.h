// SPDX-License-Identifier: MIT
// PParallelRun: validates several libraries at the same time.
#ifndef IXLAL_TOOLS_PPARALLELRUN_H
#define IXLAL_TOOLS_PPARALLELRUN_H

#include "validate/PLibraryResult.h"
#include "validate/PPipe.h"
#include "validate/PSubjectSearch.h"
#include "validate/PValidateOptions.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

/// Each library has a process, because a process with several threads must not fork.
class PParallelRun
{
public:
    explicit PParallelRun(const PValidateOptions& iOptions);
    ~PParallelRun();

    PParallelRun(const PParallelRun&) = delete;
    PParallelRun& operator=(const PParallelRun&) = delete;

    /// Validates what was found, and passes each result on in the order of iFound. Throws
    /// std::system_error if no process can be started.
    void run(const std::vector<PSubjectSearch::Found>& iFound,
             const std::function<void(const PLibraryResult&)>& iReport);

private:
    struct PWorker
    {
        PPipe result;
        std::string text; ///< of the result so far
        pid_t process = -1;
    };

    void start(std::size_t iIndex, const PSubject& iSubject);
    [[noreturn]] void work(const PWorker& iWorker, const PSubject& iSubject) const;
    /// Waits until a worker has ended.
    void waitForOne();
    PLibraryResult resultOf(const PSubjectSearch::Found& iFound, std::size_t iIndex);

    const PValidateOptions& fOptions;
    std::map<std::size_t, std::unique_ptr<PWorker>> fWorkers; ///< by the index of the library
    std::map<std::size_t, std::string> fTexts;                ///< results of the ended ones
};

#endif
