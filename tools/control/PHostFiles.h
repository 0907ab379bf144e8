// SPDX-License-Identifier: MIT
// PHostFiles: the configuration files of this host.
#ifndef IXLAL_TOOLS_PHOSTFILES_H
#define IXLAL_TOOLS_PHOSTFILES_H

#include "control/PControlServices.h"

#include <vector>

/// Reads the manager's file as the core does. A file that cannot be read has no IDs and no store.
class PHostFiles
{
public:
    explicit PHostFiles(const PControlServices& iServices);

    /// The manager's file, and the core's code for reading it.
    PString managerPath() const;
    int managerResult() const noexcept;

    /// The IDs that have files, in ascending order.
    std::vector<PString> ids() const;

    /// The paths of the files of an ID, in the order of reading.
    std::vector<PString> filesOf(const PLiteral& iID) const;

    /// Empty without a store.
    PString storePath() const;

private:
    PString pathOf(const PLiteral& iName) const;

    const PControlServices& fServices;
    PBaseptr<IConfig> fManager;
    int fResult;
};

#endif
