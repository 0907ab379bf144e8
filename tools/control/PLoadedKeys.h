// SPDX-License-Identifier: MIT
// PLoadedKeys: the configuration keys that the libraries of this process declare.
#ifndef IXLAL_TOOLS_PLOADEDKEYS_H
#define IXLAL_TOOLS_PLOADEDKEYS_H

#include "control/PJsonObject.h"
#include "shared/PDeclarations.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Reads the notes of the loaded libraries in memory, because the files may have been replaced.
/// Used by the control thread only.
class PLoadedKeys
{
public:
    /// The declarations of the libraries that are loaded now.
    const PDeclarations& declarations();

    /// The members of a reply that describe a key.
    static PJsonObject json(const DeclaredKey& iKey);

private:
    typedef std::vector<std::pair<std::string, std::uintptr_t>> Places;

    PDeclarations fDeclarations;
    Places fPlaces; ///< the libraries that were read
};

#endif
