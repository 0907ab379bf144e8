// SPDX-License-Identifier: MIT
// PCorePlugin: the core's record of one plugin.
#ifndef IXLAL_PCOREPLUGIN_H
#define IXLAL_PCOREPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "PPtr.h"
#include "portinglayer/PLibrary.h"

#include <atomic>
#include <cstddef>

class PCoreLog;

/// One registered plugin. The core's mutex guards the members from fInitState to fUnloaded; fReady
/// is written with the mutex held and read without it. The others do not change between
/// registration and destruction.
class PCorePlugin
{
public:
    enum EInitState
    {
        eNotInitialised = 0,
        eInitialising = 1, ///< the thread fInitThreadId runs init
        eInitialised = 2,
        eInitFailed = 3 ///< final
    };

    /// iLog gets an error line when the plugin throws while it is released; it may be null.
    explicit PCorePlugin(const PCoreLog* iLog = nullptr) noexcept;

    /// Releases the interface IDs, the plugin, then its library.
    virtual ~PCorePlugin();

    PCorePlugin(const PCorePlugin&) = delete;
    PCorePlugin& operator=(const PCorePlugin&) = delete;

    /// Releases the plugin, and keeps the interface IDs and the library. When the plugin throws,
    /// this is logged and the library is never closed, because code of it may still be needed.
    void releasePlugin();

    /// Whether init has succeeded, and the registry has the record. Orders what init wrote before
    /// the use of the plugin. [any thread]
    bool isReady() const noexcept
    {
        return fReady.load(std::memory_order_acquire);
    }

    /// The file name of the library, without its directory; there must be a library.
    const wchar_t* fileName() const noexcept;

    PPtr<PLibrary> fLibrary; ///< empty for a built-in plugin
    PBaseptr<IPlugin> fPlugin;
    PPtr<PString> fInterfaceIDs;
    unsigned int fInterfaceCount;
    int fInitState;
    unsigned long fInitThreadId; ///< 0 until a thread runs init
    unsigned int fInitOrder;     ///< the number of this initialisation, from 1
    unsigned int fUses;          ///< by the core; the last one destroys an unloaded record
    bool fUnloaded;              ///< the registry has removed it
    std::atomic<bool> fReady;    ///< see isReady; in any order when it becomes false
    unsigned int fNumber;        ///< from 1, in the order of registration
    PCorePlugin* fNextUnloaded;  ///< in the registry's list of unloaded records
    std::size_t fFileHash;       ///< of the file name; set by the registry

private:
    const PCoreLog* fLog; ///< may be null
};

#endif
