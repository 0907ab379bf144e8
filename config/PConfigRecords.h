// SPDX-License-Identifier: MIT
// PConfigRecords: changes the records of a table.
#ifndef IXLAL_PCONFIGRECORDS_H
#define IXLAL_PCONFIGRECORDS_H

#include "config/PConfigValues.h"

/// The changes that the tables of configurations, of the store and of run-time values share. The
/// caller synchronises the table. Each operation changes nothing when memory is lacking.
class PConfigRecords
{
public:
    /// Sets the value of a key, which is created if need be. Returns 0 or -501.
    static int _addValue(PConfigValues& ioValues, const PLiteral& iKey,
                         const PLiteral& iValue) noexcept;

    /// Creates a key with a value; an existing key stays as it is. Returns its value. Throws
    /// std::bad_alloc.
    static PConfigValue& _addNewValue(PConfigValues& ioValues, const PLiteral& iKey,
                                      const PLiteral& iValue);

    /// Sets an attribute unless it is present; the key is created if need be. Returns 0 or -501.
    static int _addAttrValue(PConfigValues& ioValues, const PLiteral& iKey,
                             const PLiteral& iAttribute, const PLiteral& iValue) noexcept;

    /// Removes a key with its attributes. Returns 0, also when there was none.
    static int _removeKey(PConfigValues& ioValues, const PLiteral& iKey) noexcept;

    /// Removes one attribute of a key. Returns 0, also when there was none.
    static int _removeAttr(PConfigValues& ioValues, const PLiteral& iKey,
                           const PLiteral& iAttribute) noexcept;

    /// Removes one attribute of a key, or the key when iAttribute is null. Returns 0, also when
    /// there was none.
    static int _remove(PConfigValues& ioValues, const PLiteral& iKey,
                       const PLiteral* iAttribute) noexcept
    {
        return iAttribute ? _removeAttr(ioValues, iKey, *iAttribute) : _removeKey(ioValues, iKey);
    }
};

#endif
