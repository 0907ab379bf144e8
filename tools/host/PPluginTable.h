// SPDX-License-Identifier: MIT
// PPluginTable: the plugins of a core, as far as its log shows them.
#ifndef IXLAL_TOOLS_PPLUGINTABLE_H
#define IXLAL_TOOLS_PPLUGINTABLE_H

#include "host/PLogEntry.h"

#include <atomic>
#include <cstddef>

/// Filled with the lines of the core's log. One thread at a time adds lines; any thread may read
/// meanwhile, also in a signal handler. All members are async-signal-safe. Plugins beyond the
/// capacity are not recorded.
class PPluginTable
{
public:
    enum EState : int
    {
        eUnused,
        eLoaded,
        eInitialising,
        eInitialised,
        eFailed
    };

    enum : std::size_t
    {
        eCapacity = 1024,
        eNameSize = 112,
        eClockSize = 9
    };

    struct Plugin
    {
        std::atomic<EState> state{eUnused};
        std::atomic<int> thread{0};     ///< that initialises it
        std::atomic<unsigned> order{0}; ///< of the initialisations
        unsigned long long address = 0;
        char name[eNameSize] = {};   ///< of the library, without its directory
        char since[eClockSize] = {}; ///< when its initialisation began
    };

    /// Takes a line of this process.
    void add(const PLogEntry& iEntry);

    std::size_t count() const;
    const Plugin& at(std::size_t iIndex) const;

    /// The plugin at an address of the log; null if it is unknown.
    const Plugin* find(unsigned long long iAddress) const;

    /// The plugin whose initialisation iThread began last and has not ended; of any thread for 0.
    /// Null if there is none.
    const Plugin* initialising(int iThread) const;

    /// The library that is being loaded, and since when; empty if there is none.
    const char* loading() const;
    const char* loadingSince() const;

private:
    void addPlugin(unsigned long long iAddress, std::string_view iLibrary);
    void addInit(const PLogEntry& iEntry, unsigned long long iAddress, std::string_view iWhat);
    void addLoading(const PLogEntry& iEntry);
    /// The place of a plugin, from 1; 0 if it is unknown.
    std::size_t numberOf(unsigned long long iAddress) const;

    std::atomic<std::size_t> fCount{0};
    std::atomic<unsigned> fInits{0};
    std::atomic<bool> fLoads{false};
    char fLoading[eNameSize] = {};
    char fLoadingSince[eClockSize] = {};
    Plugin fPlugins[eCapacity];
};

#endif
