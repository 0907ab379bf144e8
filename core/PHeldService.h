// SPDX-License-Identifier: MIT
// PHeldService: a service of the core that another one of its services uses.
#ifndef IXLAL_PHELDSERVICE_H
#define IXLAL_PHELDSERVICE_H

#include "Ixla.h"

/// As ixlaGetInstance, and takes a reference before the call leaves the core, where the stop cannot
/// destroy the object yet; the caller drops it. What ixlaGetInstance hands out is borrowed, and may
/// be gone before the caller can hold it. Returns 0, the codes of ixlaGetInstance, or -2002 when
/// the plugin handed out nothing. Needs no memory of its own. [any thread]
int ixlaHoldInstance(const PLiteral& iInterfaceId, IBase*& oInstance);

/// Holds a service for the time of a scope; a longer time takes a holder of its own, made
/// meanwhile.
template <class TService>
class PHeldService
{
public:
    /// Looks for the service behind iInterfaceId, which must stand for the interface TService.
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
