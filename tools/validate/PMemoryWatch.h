// SPDX-License-Identifier: MIT
// PMemoryWatch: finds memory errors of a library while its checks run.
#ifndef IXLAL_TOOLS_PMEMORYWATCH_H
#define IXLAL_TOOLS_PMEMORYWATCH_H

#include "testkit/PTestDirectory.h"
#include "validate/PCheckResult.h"
#include "validate/PLaunch.h"
#include "validate/PMemoryFinding.h"
#include "validate/PValidateOptions.h"

#include <map>
#include <string>
#include <vector>

/// Uses the address sanitizer if the library was built with it, valgrind if the command line wants
/// it, and nothing otherwise.
class PMemoryWatch
{
public:
    explicit PMemoryWatch(const PValidateOptions& iOptions);

    /// Throws PValidateError if valgrind is not installed or cannot run this program.
    static void expectValgrind();

    /// How the process of a check starts.
    PLaunch launchOf(const std::string& iCheck) const;

    /// Reads what the ended process of a check has reported. iOutput is its output, to which the
    /// sanitizer of undefined behaviour writes beside that of addresses.
    void collect(const std::string& iCheck, const std::string& iOutput);

    /// The results of the check "memory": one for each finding; none if nothing was used.
    std::vector<PCheckResult> results() const;

private:
    enum EKind
    {
        eNothing,
        eValgrind,
        eSanitizer
    };
    struct PSeen
    {
        PMemoryFinding finding;
        std::string checks; ///< those in which it was found
    };

    void add(const std::vector<PMemoryFinding>& iFindings, const std::string& iCheck);
    void useSanitizer(const std::string& iRuntime);
    PLaunch underValgrind() const;
    PLaunch underSanitizer(const std::string& iCheck) const;

    const PTestDirectory fReports;
    const std::string fPlugin; ///< without links
    EKind fKind = eNothing;
    std::string fPreload; ///< the runtime of the sanitizer; empty if it is loaded already
    std::string fMissing; ///< the same if it cannot be loaded
    std::vector<std::string> fOrder;
    std::map<std::string, PSeen> fSeen; ///< by text
};

#endif
