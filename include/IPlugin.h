// SPDX-License-Identifier: MIT
// IPlugin: the interface of a plugin library to the core.
#ifndef IXLAL_IPLUGIN_H
#define IXLAL_IPLUGIN_H

#include "IBase.h"
#include "portinglayer/PString.h"

/// A plugin. The library's factory (see ixlaGetPlugin in Ixla.h) creates it with a count of 0. The
/// core holds a reference until the plugin is unloaded or the core stops.
class IPlugin : public IBase
{
public:
    /// Creates and initialises the plugin's service objects. Called at most once, before the
    /// first getInstance, on the thread of the first request and with no lock held. It may look up
    /// other interfaces. Other threads that look up this plugin's interfaces wait until it returns.
    /// Returns 0, or a negative code: the plugin has then failed permanently. [core]
    virtual int init() = 0;

    /// Lists the interface IDs of the plugin. Called once, before init.
    /// Returns a new[] array, which the caller owns and frees with delete[], and sets oCount to its
    /// length. Null or a count of 0 means that the plugin offers none. [core]
    virtual PString* getInterfaces(unsigned int& oCount) = 0;

    /// Returns the service object behind iInterfaceId in oInstance. The pointer is borrowed: no
    /// reference is added, and a caller that keeps it wraps it in a PBaseptr.
    /// Returns 0, or -2001 with a null oInstance when the plugin does not offer the ID. Called by
    /// any number of threads at once, after init has returned 0.
    virtual int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) = 0;
};

#endif
