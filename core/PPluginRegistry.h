// SPDX-License-Identifier: MIT
// PPluginRegistry: the records of all plugins and the interfaces that they offer.
#ifndef IXLAL_PPLUGINREGISTRY_H
#define IXLAL_PPLUGINREGISTRY_H

#include "core/PCoreLock.h"
#include "core/PCorePlugin.h"
#include "core/PInterfaceTable.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

class PCoreLog;

/// Owns the records. The start adds them, before it marks the registry started; from then on only
/// an unload and the clean-up remove them. From the start on, the list of records is changed with
/// the core's mutex held; before that, and in the clean-up, without it. Interfaces are looked up
/// without the mutex.
class PPluginRegistry
{
public:
    PPluginRegistry(const PCoreLog& iLog, PCoreLock& iLock) noexcept
        : fLog(iLog), fLock(iLock), fUnloaded(nullptr), fStarted(false)
    {
    }

    PPluginRegistry(const PPluginRegistry&) = delete;
    PPluginRegistry& operator=(const PPluginRegistry&) = delete;

    /// Whether calls from outside are served. [any thread]
    bool isStarted() const noexcept
    {
        return fStarted;
    }

    void markStarted() noexcept
    {
        fStarted = true;
    }

    /// The record behind an interface ID, or null. [any thread]
    PCorePlugin* find(const PLiteral& iInterfaceId) const
    {
        return fTable.find(iInterfaceId);
    }

    /// All records, built-in plugins first. Once the core is started the caller holds its mutex.
    const std::vector<PCorePlugin*>& records() const noexcept
    {
        return fCorePlugins;
    }

    /// Returns 0, or -1007 when one of the interfaces is registered already, which is logged.
    int checkInterfaces(const PString* iIDs, unsigned int iCount) const;

    /// Numbers a record, adds it with its interfaces and takes ownership. On std::bad_alloc neither
    /// is registered, and the caller still owns the record.
    void add(std::unique_ptr<PCorePlugin>&& iRecord);

    /// Removes a plugin and its interfaces, and destroys it, or leaves that to the last endUse.
    int ixlaUnloadPlugin(IPlugin* iPlugin);

    /// Finds the first record with a number above iAfter whose library has the file name. The
    /// record is not destroyed before the caller ends its use. oRecord is null after the last one.
    /// Returns 0, -1013 or -1014; oRecord is set in the last case, too.
    int useNext(const PLiteral& iFileName, unsigned int iAfter, PCorePlugin*& oRecord);

    /// Ends a use; destroys a record that was unloaded meanwhile.
    void endUse(PCorePlugin& ioRecord) noexcept;

    /// Removes all records and destroys all plugins, then closes their libraries or leaves them
    /// loaded.
    void release(bool iKeepLibraries);

private:
    void addInterfaces(PCorePlugin& iRecord);
    void addFile(PCorePlugin& ioRecord);
    std::ptrdiff_t findFile(std::size_t iHash, unsigned int iAfter) const;
    int nl_unloadPlugin(IPlugin* iPlugin, PPtr<PLibrary>& oLibrary) IXLA_REQUIRES(fLock.fMutex);
    void nl_destroy(PCorePlugin& ioRecord, PPtr<PLibrary>& oLibrary) IXLA_REQUIRES(fLock.fMutex);
    PCorePlugin* nl_findByFile(const PLiteral& iFileName, unsigned int iAfter) const
        IXLA_REQUIRES(fLock.fMutex);

    const PCoreLog& fLog;
    PCoreLock& fLock;
    std::vector<PCorePlugin*> fCorePlugins; ///< owned; built-in ones first
    PCorePlugin* fUnloaded;                 ///< owned; the list of the records without a plugin
    /// Those with a library, ordered by fFileHash, then by number. Changed with fCorePlugins.
    std::vector<PCorePlugin*> fByFile;
    PInterfaceTable fTable;
    /// Whoever sees true sees the records and the table. Release and acquire order are enough for
    /// that; the stronger default costs reads nothing on i386.
    std::atomic<bool> fStarted;
};

#endif
