// SPDX-License-Identifier: MIT
// PKeyReads: the configuration keys that were read.
#ifndef IXLAL_TOOLS_PKEYREADS_H
#define IXLAL_TOOLS_PKEYREADS_H

#include "helpers/Text.h"
#include "portinglayer/PLiteral.h"

#include <mutex>
#include <set>
#include <string>
#include <utility>

/// Any thread may call its operations.
class PKeyReads
{
public:
    typedef std::set<std::pair<std::string, std::string>> Keys; ///< configuration ID and key

    void add(const PLiteral& iID, const PLiteral& iKey)
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fKeys.emplace(ixlaNarrow(iID), ixlaNarrow(iKey));
    }

    Keys keys() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fKeys;
    }

private:
    mutable std::mutex fMutex;
    Keys fKeys; ///< guarded by fMutex
};

#endif
