// SPDX-License-Identifier: MIT
// PRunTimeValues: the values that were set at run time.
#ifndef IXLAL_PRUNTIMEVALUES_H
#define IXLAL_PRUNTIMEVALUES_H

#include "config/PConfigValues.h"
#include "config/PSharedValues.h"

#include <map>

/// A table of records for each configuration ID, which is never removed. Not synchronised: the
/// manager guards it with its lock, and closes its reader lock for changes. A record that is found
/// is valid until the lock is released.
class PRunTimeValues
{
public:
    /// Finds the table of an ID; iCreate creates a missing one. Returns 0 or -504. Throws
    /// std::bad_alloc while creating.
    int nl_findDynamicCfgValues(const PLiteral& iID, bool iCreate, PConfigValues*& oValues);

    /// The table of an ID, null for none. [reader lock]
    PConfigValues* findTable(const PLiteral& iID) noexcept;

    /// Finds the record of a key. Returns 0 or -504.
    int nl_findDynamicValue(const PLiteral& iID, const PLiteral& iKey, PConfigValue*& oValue);

    /// Copies the text of a record. Returns 0 or -504. Throws std::bad_alloc.
    int nl_getDynamicString(const PLiteral& iID, const PLiteral& iKey, PString& oValue);

    /// Removes one attribute of a key, or the key when iAttribute is null. Returns 0, also when
    /// there was none.
    int nl_removeSet(const PLiteral& iID, const PLiteral& iKey, const PLiteral* iAttribute);

    /// Sets values of the ID that all plugins share; existing ones stay. With iPinned they get the
    /// attribute "const". Returns the result of the last one, 0 or -501. Throws std::bad_alloc
    /// before the first one.
    int nl_setShared(const PSharedValues& iValues, bool iPinned);

private:
    /// By configuration ID. A table stays after its last key was removed.
    std::map<PString, PConfigValues, PLiteralLess> fDynamicValues;
};

#endif
