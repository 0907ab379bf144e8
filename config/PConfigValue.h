// PConfigValue: the record of one key.
#ifndef IXLAL_PCONFIGVALUE_H
#define IXLAL_PCONFIGVALUE_H

#include "portinglayer/PString.h"

#include <map>

/// A value with its attributes.
struct PConfigValue
{
    PString fValue; ///< empty also for a key that was named only to carry attributes
    std::map<PString, PString, PLiteralLess> fAttributes;

    /// Whether the attribute "const" was ever seen to read as true; a cache that readers fill and
    /// nobody clears.
    bool fConst = false;
};

/// Records by key.
typedef std::map<PString, PConfigValue, PLiteralLess> PConfigValues;

#endif
