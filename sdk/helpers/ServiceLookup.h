// SPDX-License-Identifier: MIT
/// @file
/// ixlaService: looks up a service and holds it.
#ifndef IXLAL_SDK_SERVICELOOKUP_H
#define IXLAL_SDK_SERVICELOOKUP_H

#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"

class IConfigManager;
class IEventDispatcher;
class ILogger;

/// The interface ID under which ixlaService looks up a TService. Specialise it next to your own
/// interface, so that callers need not name the ID.
template <class TService>
struct IxlaServiceId;

/// The configuration manager.
template <>
struct IxlaServiceId<IConfigManager>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaConfigManagerId;
    }
};

/// The event dispatcher.
template <>
struct IxlaServiceId<IEventDispatcher>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaEventDispatcherId;
    }
};

/// The loggers.
template <>
struct IxlaServiceId<ILogger>
{
    /// Its interface ID.
    static const wchar_t* get() noexcept
    {
        return kIxlaLoggerId;
    }
};

/// Looks up the service behind iInterfaceId, whose interface must be TService, and holds it. On
/// failure the holder is empty and oResult has the reason: the code of ixlaGetInstance, -2002 when
/// the plugin returned a null pointer, or -501. oResult is 0 otherwise.
///
/// The core returns a borrowed pointer, and the holder takes its reference a moment later. If there
/// is no other reference in between, a stop of the core destroys the object. So do not call this
/// while another thread may stop the core, unless you already hold the service. A PPlugin holds the
/// three services of the core from its init until it is destroyed, so its threads may look those up
/// in between. Look up services of other plugins in onInit and keep the holder. [any thread]
template <class TService>
PBaseptr<TService> ixlaService(const PLiteral& iInterfaceId, int& oResult)
{
    PBaseptr<TService> service;
    oResult = ixlaGuarded(
        [&]() -> int
        {
            IBase* instance = nullptr;
            const int result = ixlaGetInstance(iInterfaceId, instance);
            if (result != eIxlaOk)
            {
                return result;
            }
            service = static_cast<TService*>(instance);
            return service ? eIxlaOk : eIxlaNoInstance;
        });
    return service;
}

/// The same for callers that need no reason for a failure.
template <class TService>
PBaseptr<TService> ixlaService(const PLiteral& iInterfaceId)
{
    int ignored = eIxlaOk;
    return ixlaService<TService>(iInterfaceId, ignored);
}

/// The same with the ID from IxlaServiceId: ixlaService<IConfigManager>().
template <class TService>
PBaseptr<TService> ixlaService(int& oResult)
{
    return ixlaService<TService>(IxlaServiceId<TService>::get(), oResult);
}

/// The same for callers that need no reason for a failure.
template <class TService>
PBaseptr<TService> ixlaService()
{
    return ixlaService<TService>(IxlaServiceId<TService>::get());
}

#endif
