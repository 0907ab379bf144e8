// SPDX-License-Identifier: MIT
/// @file
/// ixlaReplace: sets a run-time value, also when the key has one.
#ifndef IXLAL_SDK_REPLACE_H
#define IXLAL_SDK_REPLACE_H

#include "IConfigManager.h"
#include "Ixla.h"
#include "helpers/ConfigValue.h"

/// Sets the run-time value of a key. An existing one is removed first, with its attributes.
/// Listeners get one event, after the new value is set.
///
/// The manager has no operation that does both, so there are two changes, and its lock is free
/// between them:
///
/// - A reader gets the old value, or what the key has without a run-time value (the stored value,
///   that of the files, or -504), or the new value. It never gets a part of a value. A reader that
///   cannot use the middle one reads when the event arrives.
/// - When several threads replace a key at once, the value of one of them stays, and each sends its
///   event. A listener that reads the key during the last event gets the value that stays.
/// - When another thread sets the key with setString between the two changes, its value stays.
/// - A value that the files or the store pin with "const" is not affected; reads return it, as they
///   do after setString.
///
/// Returns 0; -3004 when the ID or the key holds "=", ":" or "|"; or -501, after which the key may
/// have lost its old value. TValue is bool, or an integer of 32 or 64 bits. [any thread]
template <class TValue>
int ixlaReplace(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                const TValue& iValue)
{
    const int removed = ioManager.removeSetKey(iID, iKey);
    return removed == eIxlaOk ? IxlaConfigValue<TValue>::set(ioManager, iID, iKey, iValue)
                              : removed;
}

///@{
/// The same for texts.
inline int ixlaReplace(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                       const PLiteral& iValue)
{
    const int removed = ioManager.removeSetKey(iID, iKey);
    return removed == eIxlaOk ? ioManager.setString(iID, iKey, iValue) : removed;
}
inline int ixlaReplace(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                       const wchar_t* iValue)
{
    return ixlaReplace(ioManager, iID, iKey, PLiteral(iValue));
}
///@}

/// The same for iSize bytes.
inline int ixlaReplace(IConfigManager& ioManager, const PLiteral& iID, const PLiteral& iKey,
                       const unsigned char* iData, unsigned int iSize)
{
    const int removed = ioManager.removeSetKey(iID, iKey);
    return removed == eIxlaOk ? ioManager.setBinary(iID, iKey, iData, iSize) : removed;
}

#endif
