// SPDX-License-Identifier: MIT
// PHeldService: lets one service of the core use another one.
#ifndef IXLAL_PHELDSERVICE_H
#define IXLAL_PHELDSERVICE_H

#include "Ixla.h"

/// As ixlaGetInstance, but takes a reference, which the caller releases. The reference is taken
/// inside the call, when the stop cannot destroy the object yet; a borrowed pointer may be invalid
/// before the caller can take a reference. Returns 0, the codes of ixlaGetInstance, or -2002 when
/// the plugin returned no object. Allocates nothing itself. Defined in Ixla.cpp. [any thread]
int ixlaHoldInstance(const PLiteral& iInterfaceId, IBase*& oInstance);

/// Holds a reference to a service until the end of its scope. A caller that needs the service
/// longer takes its own reference before.
template <class TService>
class PHeldService
{
public:
    /// Looks up the service behind iInterfaceId, which must be the ID of the interface TService.
    explicit PHeldService(const PLiteral& iInterfaceId)
        : fInstance(nullptr), fResult(ixlaHoldInstance(iInterfaceId, fInstance))
    {
    }

    ~PHeldService()
    {
        if (fInstance)
        {
            fInstance->decRef();
        }
    }

    PHeldService(const PHeldService&) = delete;
    PHeldService& operator=(const PHeldService&) = delete;

    /// The result of the lookup.
    int result() const noexcept
    {
        return fResult;
    }

    /// The service; null when the lookup failed.
    TService* get() const noexcept
    {
        return static_cast<TService*>(fInstance);
    }

private:
    IBase* fInstance;
    const int fResult;
};

#endif
