// SPDX-License-Identifier: MIT
// IConfigChanged: the event object of a configuration change.
#ifndef IXLAL_ICONFIGCHANGED_H
#define IXLAL_ICONFIGCHANGED_H

#include "IBase.h"
#include "portinglayer/PString.h"

/// Describes one change. Listeners get it as the first parameter of handleEvent on the topics that
/// were registered with IConfigManager::addListener, and convert the IBase pointer to
/// IConfigChanged directly. A listener that keeps the pointer beyond the call takes a reference.
class IConfigChanged : public IBase
{
public:
    /// What was set.
    enum EConfigChnagedType
    {
        eValueSet = 0,    ///< a run-time value was set
        eAttributeSet = 1 ///< an attribute of a run-time value was set
    };

    /// Whether a value or an attribute was set. [any thread]
    virtual EConfigChnagedType getType() const = 0;

    /// The configuration ID of the change. Returns 0, or -501 for lack of memory. [any thread]
    virtual int getID(PString& oID) const = 0;

    /// The key whose run-time value was set. Returns 0 or -501. [any thread]
    virtual int getKey(PString& oKey) const = 0;

    /// The attribute's name, empty for eValueSet. Returns 0 or -501. [any thread]
    virtual int getAttribute(PString& oAttribute) const = 0;
};

#endif
