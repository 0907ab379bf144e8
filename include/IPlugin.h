// SPDX-License-Identifier: MIT
// IPlugin: what a plugin library offers to the core.
#ifndef IXLAL_IPLUGIN_H
#define IXLAL_IPLUGIN_H

#include "IBase.h"
#include "portinglayer/PString.h"

/// A plugin. The library's factory (see ixlaGetPlugin in Ixla.h) creates it with a count of 0;
/// the core holds it until it is unloaded or the core stops.
class IPlugin : public IBase
{
public:
    /// Creates and initialises the plugin's service objects. Called at most once, before the
    /// first getInstance, on the thread of the first request and with no lock held; it may ask
    /// for other interfaces. Other threads that ask for this plugin wait meanwhile.
    /// Returns 0, or a negative code: the plugin then counts as failed for good. [core]
    virtual int init() = 0;

    /// Lists the interface IDs of the plugin. Called once, before init.
    /// Returns a new array made with new[], which the caller frees with delete[], and sets
    /// oCount to its length. Null or a count of 0 means that the plugin offers none. [core]
    virtual PString* getInterfaces(unsigned int& oCount) = 0;

    /// Hands out the service object behind iInterfaceId. oInstance is borrowed: no reference is
    /// added, and whoever keeps the pointer wraps it in a PBaseptr.
    /// Returns 0, or -2001 with a null oInstance when the plugin doesn't offer the ID. Called by
    /// any number of threads at once, after init returned 0.
    virtual int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) = 0;
};

#endif
