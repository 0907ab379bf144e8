// SPDX-License-Identifier: MIT
// CoreHost: the running core that contestants use.
#ifndef IXLAL_BENCHMARKS_COREHOST_H
#define IXLAL_BENCHMARKS_COREHOST_H

#include "Ixla.h"

#include <string>

/// The configuration of a core.
struct HostSetup
{
    int interfaces = 0;     ///< interface IDs of the one plugin, which is initialised; 0: no plugin
    bool coreLog = false;   ///< a core log of level 0
    std::string manager;    ///< lines for the manager's configuration, which always has a store
    std::string config;     ///< the file "bench.prs" of the configuration ID "bench"
    std::string store;      ///< the file of stored values, unless it's empty
    bool pluginLog = false; ///< the plugins' log of level 0 is enabled
    std::wstring autostart; ///< the autostart list
    std::string pluginsDir; ///< of LibraryCopies; the core's own directory if it's empty

    bool operator==(const HostSetup&) const = default;
};

/// There is one core at a time, in its own directory on tmpfs. It runs until another setup is
/// needed or the process ends.
namespace CoreHost
{
/// Starts a core with iSetup unless one with that setup is running. Ends the process with a message
/// on failure.
void need(const HostSetup& iSetup);

/// Starts a core with iSetup; none may be running. Returns the duration of the call in seconds.
double start(const HostSetup& iSetup);

/// Stops the core if one is running.
void stop();

/// The directory of the running core; the configurations are in config/.
std::string directory();

/// The service behind an ID, borrowed. Ends the process with a message if there is none.
IBase* service(const wchar_t* iId);

template <class T>
T* get(const wchar_t* iId)
{
    return static_cast<T*>(service(iId));
}

/// The interface ID number iNumber of the plugin.
std::wstring interfaceId(int iNumber);
} // namespace CoreHost

#endif
