// SPDX-License-Identifier: MIT
// PConfigPlugin: the built-in plugin that offers the configuration manager.
#ifndef IXLAL_PCONFIGPLUGIN_H
#define IXLAL_PCONFIGPLUGIN_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PCounter.h"

/// Offers kIxlaConfigManagerId and owns the manager behind it. Only the core holds references to
/// this object, from one thread at a time.
class PConfigPlugin : public IPlugin
{
public:
    PConfigPlugin() noexcept;

    PConfigPlugin(const PConfigPlugin&) = delete;
    PConfigPlugin& operator=(const PConfigPlugin&) = delete;

    int incRef() noexcept override;
    int decRef() noexcept override;

    /// Creates the manager; a repeated call replaces it by an empty one. Returns 0, or -501; the
    /// earlier manager stays then.
    int init() noexcept override;

    /// As IPlugin. For lack of memory returns null and a count of 0.
    PString* getInterfaces(unsigned int& oCount) noexcept override;

    /// As IPlugin. Before a successful init returns -2002 and leaves oInstance unchanged.
    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) noexcept override;

    /// Closes the manager and releases it; it lives on while others hold it.
    virtual ~PConfigPlugin();

private:
    PCounter fRefCount;
    PBaseptr<IBase> fManager;
};

#endif
