// SPDX-License-Identifier: MIT
// PLinkedPlugin: a plugin that is linked into a test.
#ifndef IXLAL_SDK_PLINKEDPLUGIN_H
#define IXLAL_SDK_PLINKEDPLUGIN_H

#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"

#include <algorithm>
#include <memory>
#include <optional>

/// Does for the plugin what the core does for those of libraries. One thread uses it.
class PLinkedPlugin
{
public:
    /// Takes a new plugin, whose count is 0; it may be null.
    explicit PLinkedPlugin(IPlugin* iPlugin) : fPlugin(PBaseptr<IPlugin>::adopt(iPlugin))
    {
        if (fPlugin)
        {
            fIds.reset(fPlugin->getInterfaces(fCount));
        }
    }

    /// Returns 0; -1009 for a null plugin; -1007 when iIsTaken is true for one of its IDs.
    template <class TFunction>
    int check(const TFunction& iIsTaken) const
    {
        if (!fPlugin)
        {
            return eIxlaNullPlugin;
        }
        const bool isTaken = std::any_of(fIds.get(), fIds.get() + fCount, iIsTaken);
        return isTaken ? eIxlaInterfaceRegistered : eIxlaOk;
    }

    /// Whether it offers a service.
    bool offers(const PLiteral& iId) const
    {
        return std::any_of(fIds.get(), fIds.get() + fCount,
                           [&](const PString& iOffered) { return iOffered == iId; });
    }

    /// Holds a service; initialises the plugin first if needed. With a code the holder is empty.
    template <class TService>
    PBaseptr<TService> service(const PLiteral& iId, int& oResult)
    {
        if (!fInitResult)
        {
            fInitResult = eIxlaInitFailed; // for a request from inside of init
            fInitResult = fPlugin->init();
        }
        IBase* instance = nullptr;
        oResult = *fInitResult == eIxlaOk ? fPlugin->getInstance(iId, instance) : *fInitResult;
        if (oResult == eIxlaOk && !instance)
        {
            oResult = eIxlaNoInstance;
        }
        return PBaseptr<TService>(oResult == eIxlaOk ? static_cast<TService*>(instance) : nullptr);
    }

private:
    const PBaseptr<IPlugin> fPlugin;
    unsigned int fCount = 0;
    std::unique_ptr<PString[]> fIds;
    std::optional<int> fInitResult;
};

#endif
