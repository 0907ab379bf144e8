// SPDX-License-Identifier: MIT
// PInfoCheck: whether the plugins fit together, as far as they say what they require and offer.
#ifndef IXLAL_TOOLS_PINFOCHECK_H
#define IXLAL_TOOLS_PINFOCHECK_H

#include "host/PDegradation.h"
#include "host/PHostOptions.h"
#include "shared/PPluginRelations.h"

#include <string>
#include <vector>

/// Reads the plugin information in the libraries that the core will load, without running them.
class PInfoCheck
{
public:
    /// Reads the libraries.
    explicit PInfoCheck(const PHostOptions& iOptions);

    PInfoCheck(const PInfoCheck&) = delete;
    PInfoCheck& operator=(const PInfoCheck&) = delete;

    /// Everything that is certain before the start, in the order of the exit codes.
    std::vector<PDegradation> beforeStart() const;

    /// Libraries whose information is newer than this host, as texts.
    const std::vector<std::string>& newer() const;

    /// Required interfaces that were in doubt before the start, and that the started core does not
    /// have.
    std::vector<PDegradation> afterStart() const;

private:
    void read(const std::string& iPath);

    std::vector<PluginLibrary> fLibraries;
    std::vector<PDegradation> fDamage;
    std::vector<std::string> fNewer;
};

#endif
