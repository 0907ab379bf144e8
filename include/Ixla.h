// SPDX-License-Identifier: MIT
/// @file
/// Ixla: the functions of the core, the factory of plugins, interface IDs and result codes.
#ifndef IXLAL_IXLA_H
#define IXLAL_IXLA_H

#include "IBase.h"
#include "IPlugin.h"
#include "portinglayer/PExport.h"
#include "portinglayer/PString.h"

/// Result codes. Every operation returns 0 or a negative code. An error of the operating system is
/// returned as its negated errno (-2 for a missing file, -28 for a full disk).
enum EIxlaResult : int
{
    eIxlaOk = 0,
    eIxlaNoMemory = -501,             ///< an object, record or table could not be created
    eIxlaInvalidArgument = -502,      ///< bad core argument, empty target, topic or listener
    eIxlaNotFound = -504,             ///< no such key, attribute, value or registration
    eIxlaAlreadyRegistered = -512,    ///< the topic is registered for the configuration ID
    eIxlaCoreExists = -1001,          ///< a core is started or starting
    eIxlaCoreNotStarted = -1002,      ///< no core, or it is not started yet
    eIxlaNoConfigManager = -1003,     ///< no configuration manager at start
    eIxlaNoEventDispatcher = -1004,   ///< no event dispatcher at start
    eIxlaCoreConfigFailed = -1005,    ///< the core configuration could not be loaded or completed
    eIxlaNoPluginsDir = -1006,        ///< "core.plugins.dir" is missing or empty
    eIxlaInterfaceRegistered = -1007, ///< another plugin already offers the interface ID
    eIxlaNotAPlugin = -1008,          ///< the library has no factory
    eIxlaNullPlugin = -1009,          ///< the factory returned no plugin
    eIxlaMissingCoreKey = -1010,      ///< a required core key is missing
    eIxlaMutexInitFailed = -1011,     ///< the core mutex could not be initialised
    eIxlaCondVarInitFailed = -1012,   ///< the core condition variable could not be initialised
    eIxlaLockFailed = -1013,          ///< the core mutex could not be locked
    eIxlaUnlockFailed = -1014,        ///< the core mutex could not be unlocked
    eIxlaCondVarFailed = -1015,       ///< waiting or signalling failed during stop
    eIxlaPluginNotFound = -1016,      ///< no such plugin to unload
    eIxlaUnknownInterface = -2001,    ///< no plugin offers the interface ID
    eIxlaNoInstance = -2002,          ///< the service does not exist yet, or has ended
    eIxlaInitFailed = -2003,          ///< the plugin failed to initialise
    eIxlaInitLoop = -2004,            ///< the calling thread is initialising that plugin
    eIxlaBadConfigLine = -3001,       ///< a line without "=" or with an empty key
    eIxlaNoValueForAttribute = -3002, ///< an attribute for a key that has no value
    eIxlaNoStoreFile = -3003,         ///< the manager's configuration names no store file
    eIxlaForbiddenCharacter = -3004,  ///< a name holds "=", ":" or "|"
    eIxlaNoListener = -5001,          ///< topic without listeners, or listener not subscribed
    eIxlaListenerExists = -5002       ///< the listener is already subscribed to the topic
};

///@{
/// An interface ID of the core's own services.
constexpr wchar_t kIxlaConfigManagerId[] = L"com.kelvora.ixla.config.manager";
constexpr wchar_t kIxlaEventDispatcherId[] = L"com.kelvora.ixla.eventdispatcher";
constexpr wchar_t kIxlaLoggerId[] = L"com.kelvora.ixla.logger";
///@}

///@{
/// A topic that the core sends, with null and 0 as parameters.
constexpr wchar_t kIxlaCoreStartTopic[] = L"event.core.start";
constexpr wchar_t kIxlaCoreExitTopic[] = L"event.core.exit";
///@}

/// The configuration ID under which the core publishes the settings that all plugins share.
constexpr wchar_t kIxlaGlobalConfigId[] = L"ixlap.global";

/// Starts the core: loads the plugins, initialises those of the autostart list and sends the start
/// event, all on this thread. iArgs points to iCount texts of the form key=value, which are read
/// during the call only.
/// Returns 0; -1001 when a core exists or is being started or stopped; -502 for no arguments or a
/// bad core argument; or another code of the start. After such a code no core exists, and the host
/// may try again. [host thread]
IXLA_EXPORT int ixlaStart(const PString* iArgs, unsigned int iCount);

/// Stops the core: sends the exit event, waits at most "core.notify.exit.timeout" seconds for its
/// listeners, waits until other threads have left plugin code, and releases services, plugins and
/// libraries. Before anything is released, calls of other threads begin to fail as they do without
/// a core. If a call stays inside the core for some seconds more, services, plugins and libraries
/// are never released. The core no longer exists afterwards, whatever the result.
/// Returns 0, -1002 when there is no core or it is being started or stopped, or -1013 to -1015.
/// [host thread]
IXLA_EXPORT int ixlaStop();

/// Returns the service behind iInterfaceId in oInstance, and initialises its plugin first if
/// needed. The pointer is borrowed: a caller that keeps it wraps it in a PBaseptr.
/// Returns 0; -1002 without a started core; -2001 for an unknown ID; -2003 when the plugin failed
/// to initialise or is being initialised by this thread; or the plugin's own code. Takes the
/// core's lock briefly unless the plugin is initialised; waits while another thread initialises it.
/// [any thread]
IXLA_EXPORT int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance);

/// Whether a plugin offers iInterfaceId. Initialises nothing. False without a started core.
/// [any thread]
IXLA_EXPORT bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId);

/// Removes a plugin with its interface IDs, destroys it and closes its library. No other thread may
/// look up its interfaces during the call, and all references to its objects must be released
/// before. While the core initialises the plugin for the autostart list, this call only removes the
/// plugin with its IDs; the plugin is destroyed after that init has returned. Returns 0; -1002
/// without a started core; -1016 for an unknown plugin; -1013 or -1014. Holds the core's lock while
/// the plugin is destroyed, but not while the library is closed.
IXLA_EXPORT int ixlaUnloadPlugin(IPlugin* iPlugin);

/// The factory that every plugin library defines and exports. Returns a new plugin with a count of
/// 0. The core only declares it.
IXLA_EXPORT IPlugin* ixlaGetPlugin();

#endif
