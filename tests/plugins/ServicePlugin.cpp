// SPDX-License-Identifier: MIT
// A plugin that uses all three services and needs memory in each of its operations.

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "PGuarded.h"
#include "plugins/ITestService.h"
#include "support/Counted.h"

#include <memory>

namespace
{
constexpr wchar_t kId[] = L"test.service";
constexpr wchar_t kTopic[] = L"test.service.topic";

template <class TService>
int _service(const wchar_t* iId, PBaseptr<TService>& oService)
{
    IBase* instance = nullptr;
    const int result = ixlaGetInstance(iId, instance);
    if (result == 0)
    {
        oService = static_cast<TService*>(instance);
    }
    return result;
}

class Service final : public Counted<ITestService>
{
public:
    explicit Service(IPlugin* iPlugin) : fPlugin(iPlugin)
    {
    }

    IPlugin* getPlugin() override
    {
        return fPlugin;
    }

    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return 0;
    }

private:
    IPlugin* fPlugin;
};

class ServicePlugin final : public Counted<IPlugin>
{
public:
    ~ServicePlugin() override
    {
        if (fDispatcher)
        {
            fDispatcher->removeListener(kTopic, fService.get());
        }
    }

    int init() override
    {
        return ixlaGuarded([this] { return start(); });
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        std::unique_ptr<PString[]> ids(new PString[1]);
        ids[0] = kId;
        oCount = 1;
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        oInstance = iInterfaceId == kId ? fService.get() : nullptr;
        return oInstance ? eIxlaOk : eIxlaUnknownInterface;
    }

private:
    int start()
    {
        PBaseptr<IConfigManager> manager;
        int result = _service(kIxlaConfigManagerId, manager);
        PBaseptr<IConfig> config;
        if (result == 0)
        {
            result = manager->loadByID(kId, config);
        }
        PBaseptr<ILogger> logger;
        if (result == 0)
        {
            result = _service(kIxlaLoggerId, logger);
        }
        if (result == 0)
        {
            result = logger->getLogger(L"service.log", fLogger);
        }
        return result == 0 ? subscribe() : result;
    }

    int subscribe()
    {
        PBaseptr<IEventDispatcher> dispatcher;
        int result = _service(kIxlaEventDispatcherId, dispatcher);
        if (result != 0)
        {
            return result;
        }
        fService = PBaseptr<ITestService>::adopt(new Service(this));
        result = dispatcher->addListener(kTopic, fService.get());
        if (result == 0)
        {
            fDispatcher = dispatcher;
        }
        return result;
    }

    PBaseptr<ITestService> fService;
    PBaseptr<ILogger> fLogger;
    PBaseptr<IEventDispatcher> fDispatcher;
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new ServicePlugin;
}
