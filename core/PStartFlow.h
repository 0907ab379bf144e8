// SPDX-License-Identifier: MIT
// PStartFlow: the steps of a start, in order.
#ifndef IXLAL_PSTARTFLOW_H
#define IXLAL_PSTARTFLOW_H

#include "portinglayer/PString.h"

#include <vector>

class PCoreParts;
class PDir;
class PStartArguments;

/// Runs on the starting thread. After a failed step the results of earlier steps are released with
/// the core.
class PStartFlow
{
public:
    explicit PStartFlow(PCoreParts& ioParts) noexcept : fParts(ioParts)
    {
    }

    PStartFlow(const PStartFlow&) = delete;
    PStartFlow& operator=(const PStartFlow&) = delete;

    /// Returns 0 or the code of the step that failed; see ixlaStart in Ixla.h. May throw
    /// std::bad_alloc.
    int startFlow(const PString* iArgs, unsigned int iCount);

private:
    int loadCoreConfig(const PStartArguments& iArguments, const PString* iArgs,
                       unsigned int iCount);
    int loadPropertyFile(const PLiteral& iFile);
    int readLoadList(std::vector<PString>& oLoadList);
    int findPluginsDir(PString& ioDir);
    int loadPlugins(const PLiteral& iDir, const std::vector<PString>& iLoadList);
    int loadEntries(PDir& ioEntries, const PLiteral& iDir, const std::vector<PString>& iLoadList);
    int loadEntry(const PLiteral& iDir, const PLiteral& iEntry, bool iFreeOnDestroy);
    int markStarted();
    int initAutoStartList();
    void announceStart();

    PCoreParts& fParts;
};

#endif
