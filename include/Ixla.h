// SPDX-License-Identifier: MIT
// Ixla: the functions of the core, the factory of plugins, interface IDs and result codes.
#ifndef IXLAL_IXLA_H
#define IXLAL_IXLA_H

#include "IBase.h"
#include "IPlugin.h"
#include "portinglayer/PExport.h"
#include "portinglayer/PString.h"

/// Result codes. Every operation returns 0 or a negative code; codes of the operating system come
/// through as the negated errno (-2 for a missing file, -28 for a full disk).
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
    eIxlaInterfaceRegistered = -1007, ///< another plugin offers the interface ID already
    eIxlaNotAPlugin = -1008,          ///< the library has no factory
    eIxlaNullPlugin = -1009,          ///< the factory returned no plugin
    eIxlaMissingCoreKey = -1010,      ///< a required core key is missing
    eIxlaMutexInitFailed = -1011,     ///< the core mutex could not be initialised
    eIxlaCondVarInitFailed = -1012,   ///< the core condition variable could not be initialised
    eIxlaLockFailed = -1013,          ///< the core mutex could not be locked
    eIxlaUnlockFailed = -1014,        ///< the core mutex could not be unlocked
    eIxlaCondVarFailed = -1015,       ///< waiting or signalling failed during stop
    eIxlaPluginNotFound = -1016,      ///< no such plugin to unload
    eIxlaUnknownInterface = -2001,    ///< nobody offers the interface ID
    eIxlaNoInstance = -2002,          ///< the service is not there yet, or no longer
    eIxlaInitFailed = -2003,          ///< the plugin failed to initialise
    eIxlaInitLoop = -2004,            ///< the thread is initialising that plugin itself
    eIxlaBadConfigLine = -3001,       ///< a line without "=" or with an empty key
    eIxlaNoValueForAttribute = -3002, ///< an attribute for a key that has no value
    eIxlaNoStoreFile = -3003,         ///< the manager's configuration names no store file
    eIxlaForbiddenCharacter = -3004,  ///< a name holds "=", ":" or "|"
    eIxlaNoListener = -5001,          ///< topic without listeners, or listener not subscribed
    eIxlaListenerExists = -5002       ///< the listener is subscribed to the topic already
};

/// Interface IDs of the services that the core brings.
constexpr wchar_t kIxlaConfigManagerId[] = L"com.kelvora.ixla.config.manager";
constexpr wchar_t kIxlaEventDispatcherId[] = L"com.kelvora.ixla.eventdispatcher";
constexpr wchar_t kIxlaLoggerId[] = L"com.kelvora.ixla.logger";

/// Topics that the core sends, with a null first parameter and 0.
constexpr wchar_t kIxlaCoreStartTopic[] = L"event.core.start";
constexpr wchar_t kIxlaCoreExitTopic[] = L"event.core.exit";

/// The configuration ID under which the core publishes the settings that all plugins share.
constexpr wchar_t kIxlaGlobalConfigId[] = L"ixlap.global";

/// Starts the core: iArgs points to iCount texts of the form key=value, read during the call
/// only. Loads the plugins, initialises those of the autostart list and sends the start event, all
/// on this thread.
/// Returns 0; -1001 when a core exists or is being started or stopped; -502 for no arguments or a
/// bad core argument; another code of the start, after which no core exists and a new start may be
/// tried. [host thread]
IXLA_EXPORT int ixlaStart(const PString* iArgs, unsigned int iCount);

/// Stops the core: announces the exit to listeners, waits for them within
/// "core.notify.exit.timeout" seconds, lets other threads leave plugin code, then releases
/// services, plugins and libraries. Other threads are refused before anything is released, as
/// without a core. A call that stays inside the core for seconds more keeps all of them for good.
/// The core is gone afterwards whatever the result.
/// Returns 0, -1002 when there is no core or it is being started or stopped, or -1013 to -1015.
/// [host thread]
IXLA_EXPORT int ixlaStop();

/// Hands out the service behind iInterfaceId, initialising its plugin first if nobody did.
/// oInstance is borrowed: keep it by wrapping it in a PBaseptr.
/// Returns 0; -1002 without a started core; -2001 for an unknown ID; -2003 when the plugin failed
/// to initialise or is being initialised by this thread; or the plugin's own code. Locks the core
/// briefly; waits while another thread initialises the plugin. [any thread]
IXLA_EXPORT int ixlaGetInstance(const PLiteral& iInterfaceId, IBase*& oInstance);

/// Whether a plugin offers iInterfaceId; initialises nothing. False without a started core.
/// [any thread]
IXLA_EXPORT bool ixlaIsInterfaceAvailable(const PLiteral& iInterfaceId);

/// Removes a plugin with its interface IDs, destroys it and closes its library. No other thread may
/// be looking up its interfaces, and nobody may still hold objects of it. While the core
/// initialises the plugin for the autostart list, the rest waits until that init has returned, not
/// this call. Returns 0; -1002 without a started core; -1016 for an unknown plugin; -1013 or -1014.
/// Holds the core's lock while the plugin is destroyed, but not while the library is closed.
IXLA_EXPORT int ixlaUnloadPlugin(IPlugin* iPlugin);

/// The factory that every plugin library defines and exports; the core defines none. Returns a new
/// plugin with a count of 0.
IXLA_EXPORT IPlugin* ixlaGetPlugin();

#endif
