// SPDX-License-Identifier: MIT
// PFilesCheck: whether the core uses its log, the store and all configuration files.
#ifndef IXLAL_TOOLS_PFILESCHECK_H
#define IXLAL_TOOLS_PFILESCHECK_H

#include "host/PCoreConfig.h"
#include "host/PCoreLogPlace.h"
#include "host/PDegradation.h"
#include "host/PLogFollower.h"
#include "shared/PConfigPlaces.h"

#include <set>
#include <vector>

class PFilesCheck
{
public:
    /// iConfig is borrowed and must outlive the object.
    explicit PFilesCheck(const PCoreConfig& iConfig);

    /// Returns a log that the core cannot write.
    static std::vector<PDegradation> checkLog(const PCoreLogPlace& iPlace,
                                              const PLogFollower& iLog);

    /// Returns the files of the configuration that the core ignores, or reads only in part.
    std::vector<PDegradation> run();

private:
    void checkListed();
    void check(const PString& iPath, const std::string& iWhat, const std::string& iEffect,
               bool iMayBeMissing);

    const PCoreConfig& fConfig;
    PConfigPlaces fPlaces;
    std::set<std::string> fChecked;
    std::vector<PDegradation> fFound;
};

#endif
