// PServicePlugin: a plugin that offers one service.
#ifndef IXLAL_EXAMPLES_PSERVICEPLUGIN_H
#define IXLAL_EXAMPLES_PSERVICEPLUGIN_H

#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"
#include "shared/PCounted.h"

#include <memory>

/// Creates a TService when the core first asks for it, and stops it before the plugin goes.
///
/// TService has: a type Interface, what its users see; int start(), which returns 0 or a negative
/// code; void stop(), which may be called more than once, and after which none of its threads
/// runs and nobody else refers to it.
template <class TService>
class PServicePlugin : public PCounted<IPlugin>
{
public:
    explicit PServicePlugin(const wchar_t* iInterfaceId) : fInterfaceId(iInterfaceId)
    {
    }

    ~PServicePlugin() override
    {
        if (fService)
        {
            fService->stop();
        }
    }

    int init() override
    {
        return ixlaGuarded([this] { return startService(); });
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        std::unique_ptr<PString[]> interfaces;
        const int result = ixlaGuarded(
            [&]
            {
                interfaces.reset(new PString[1]);
                interfaces[0] = fInterfaceId;
                return eIxlaOk;
            });
        oCount = result == eIxlaOk ? 1 : 0;
        return result == eIxlaOk ? interfaces.release() : nullptr;
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        const bool known = iInterfaceId == fInterfaceId;
        oInstance = known ? static_cast<typename TService::Interface*>(fService.get()) : nullptr;
        return known ? eIxlaOk : eIxlaUnknownInterface;
    }

private:
    int startService()
    {
        fService = PBaseptr<TService>::adopt(new TService);
        const int result = fService->start();
        if (result != eIxlaOk)
        {
            fService->stop();
            fService.clear();
        }
        return result;
    }

    const PLiteral fInterfaceId;
    PBaseptr<TService> fService;
};

#endif
