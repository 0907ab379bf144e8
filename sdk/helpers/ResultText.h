// SPDX-License-Identifier: MIT
/// @file
/// ixlaResultText: the meaning of a result code as readable text.
#ifndef IXLAL_SDK_RESULTTEXT_H
#define IXLAL_SDK_RESULTTEXT_H

#include "Ixla.h"

#include <string>
#include <system_error>

/// A result code of the core: its constant in Ixla.h and its meaning.
struct IxlaResultDescription
{
    const char* name;    ///< as in Ixla.h
    const char* meaning; ///< in a few words
};

/// The description of a code of Ixla.h; both members are null for any other number. [any thread]
inline IxlaResultDescription ixlaDescribeResult(int iResult)
{
    switch (iResult)
    {
    case eIxlaOk:
        return {"eIxlaOk", "done"};
    case eIxlaNoMemory:
        return {"eIxlaNoMemory", "out of memory"};
    case eIxlaInvalidArgument:
        return {"eIxlaInvalidArgument", "invalid argument"};
    case eIxlaNotFound:
        return {"eIxlaNotFound", "no such key, attribute, value or registration"};
    case eIxlaAlreadyRegistered:
        return {"eIxlaAlreadyRegistered", "the topic is registered already"};
    case eIxlaCoreExists:
        return {"eIxlaCoreExists", "a core is started or starting"};
    case eIxlaCoreNotStarted:
        return {"eIxlaCoreNotStarted", "no core is started"};
    case eIxlaNoConfigManager:
        return {"eIxlaNoConfigManager", "no configuration manager at start"};
    case eIxlaNoEventDispatcher:
        return {"eIxlaNoEventDispatcher", "no event dispatcher at start"};
    case eIxlaCoreConfigFailed:
        return {"eIxlaCoreConfigFailed", "the core configuration could not be loaded"};
    case eIxlaNoPluginsDir:
        return {"eIxlaNoPluginsDir", "core.plugins.dir is missing or empty"};
    case eIxlaInterfaceRegistered:
        return {"eIxlaInterfaceRegistered", "another plugin offers the interface ID already"};
    case eIxlaNotAPlugin:
        return {"eIxlaNotAPlugin", "the library has no factory ixlaGetPlugin"};
    case eIxlaNullPlugin:
        return {"eIxlaNullPlugin", "the factory returned no plugin"};
    case eIxlaMissingCoreKey:
        return {"eIxlaMissingCoreKey", "a required core key is missing"};
    case eIxlaMutexInitFailed:
        return {"eIxlaMutexInitFailed", "the core mutex could not be initialised"};
    case eIxlaCondVarInitFailed:
        return {"eIxlaCondVarInitFailed", "the core condition variable could not be initialised"};
    case eIxlaLockFailed:
        return {"eIxlaLockFailed", "the core mutex could not be locked"};
    case eIxlaUnlockFailed:
        return {"eIxlaUnlockFailed", "the core mutex could not be unlocked"};
    case eIxlaCondVarFailed:
        return {"eIxlaCondVarFailed", "waiting or signalling failed during the stop"};
    case eIxlaPluginNotFound:
        return {"eIxlaPluginNotFound", "no such plugin"};
    case eIxlaUnknownInterface:
        return {"eIxlaUnknownInterface", "no plugin offers the interface ID"};
    case eIxlaNoInstance:
        return {"eIxlaNoInstance", "the service is not there yet, or no longer"};
    case eIxlaInitFailed:
        return {"eIxlaInitFailed", "the plugin failed to initialise"};
    case eIxlaInitLoop:
        return {"eIxlaInitLoop", "the plugin asked for itself while initialising"};
    case eIxlaBadConfigLine:
        return {"eIxlaBadConfigLine", "a configuration line without \"=\" or with an empty key"};
    case eIxlaNoValueForAttribute:
        return {"eIxlaNoValueForAttribute", "an attribute for a key that has no value"};
    case eIxlaNoStoreFile:
        return {"eIxlaNoStoreFile", "the configuration manager has no store file"};
    case eIxlaForbiddenCharacter:
        return {"eIxlaForbiddenCharacter", "a name holds \"=\", \":\" or \"|\""};
    case eIxlaNoListener:
        return {"eIxlaNoListener", "no listener for the topic, or not subscribed"};
    case eIxlaListenerExists:
        return {"eIxlaListenerExists", "the listener is subscribed already"};
    default:
        return {nullptr, nullptr};
    }
}

/// The code, its constant and its meaning in one text: "-2001 (eIxlaUnknownInterface: no plugin
/// offers the interface ID)". A code of the operating system gets the system's text; an unknown code
/// is only its number. May throw std::bad_alloc. [any thread]
inline std::string ixlaResultText(int iResult)
{
    const IxlaResultDescription known = ixlaDescribeResult(iResult);
    if (known.name)
    {
        return std::to_string(iResult) + " (" + known.name + ": " + known.meaning + ")";
    }
    constexpr int kHighestErrno = 133;
    if (iResult >= 0 || iResult < -kHighestErrno)
    {
        return std::to_string(iResult);
    }
    return std::to_string(iResult) + " (" + std::generic_category().message(-iResult) + ")";
}

#endif
