// SPDX-License-Identifier: MIT
// PConfigPlugin: the built-in plugin that offers the configuration manager.
#ifndef IXLAL_PCONFIGPLUGIN_H
#define IXLAL_PCONFIGPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PCounter.h"

/// Offers kIxlaConfigManagerId and owns the manager behind it. Only the core holds and counts this
/// object, one thread at a time.
class PConfigPlugin : public IPlugin
{
public:
    PConfigPlugin() noexcept;

    PConfigPlugin(const PConfigPlugin&) = delete;
    PConfigPlugin& operator=(const PConfigPlugin&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    /// Creates the manager; a repeated call replaces it by an empty one. Returns 0, or -501 with
    /// the earlier manager kept.
    int init() noexcept override;

    /// As IPlugin; null with a count of 0 for lack of memory.
    PString* getInterfaces(unsigned int& oCount) noexcept override;

    /// As IPlugin; -2002 with an untouched oInstance before a successful init.
    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override;

    /// Closes the manager, then releases it; others may hold it further on.
    virtual ~PConfigPlugin();

private:
    PCounter fRefCount;
    PBaseptr<IBase> fManager;
};

#endif
