// SPDX-License-Identifier: MIT
// PCorePlugin: the core's record of one plugin.
#ifndef IXLAL_PCOREPLUGIN_H
#define IXLAL_PCOREPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PLibrary.h"

class PCoreLog;

/// One registered plugin. The members from fInitState to fUnloaded are guarded by the core's mutex;
/// the others do not change between registration and destruction.
class PCorePlugin
{
public:
    enum EInitState
    {
        eNotInitialised = 0,
        eInitialising = 1, ///< the thread fInitThreadId runs init
        eInitialised = 2,
        eInitFailed = 3 ///< for good
    };

    /// A plugin that throws when it is released is reported to iLog.
    explicit PCorePlugin(const PCoreLog* iLog = nullptr) noexcept;

    /// Releases the interface IDs, the plugin, then its library.
    virtual ~PCorePlugin();

    PCorePlugin(const PCorePlugin&) = delete;
    PCorePlugin& operator=(const PCorePlugin&) = delete;

    /// Releases the interface IDs and the plugin, and keeps the library. When the plugin throws
    /// that is logged, and the library stays loaded for good: nobody knows what of the plugin is
    /// left.
    void releasePlugin();

    PPtr<PLibrary> fLibrary; ///< empty for a built-in plugin
    PBaseptr<IPlugin> fPlugin;
    PPtr<PString> fInterfaceIDs;
    unsigned int fInterfaceCount;
    int fInitState;
    unsigned long fInitThreadId; ///< 0 until some thread runs init
    unsigned int fInitOrder;     ///< the how manieth initialisation of the core it is, from 1
    unsigned int fUses;          ///< by the core itself, which destroys the record after the last
    bool fUnloaded;              ///< in no table any more
    unsigned int fNumber;        ///< from 1, in the order of registration

private:
    const PCoreLog* fLog; ///< may be null
};

#endif
