// SPDX-License-Identifier: MIT
// A plugin that holds every service until its library is unmapped. An event makes its service use
// all of them; the result is the number of unexpected results.

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "Ixla.h"
#include "plugins/ITestService.h"
#include "support/Counted.h"

#include <vector>

extern "C" int ixlalTestStep(const char* iStep);

namespace
{
class Keeper final : public Counted<ITestService>
{
public:
    ~Keeper() override
    {
        ixlalTestStep("keeper.service destroyed");
    }

    int take()
    {
        IBase* instance = nullptr;
        int failures = ixlaGetInstance(kIxlaConfigManagerId, instance) != 0;
        fManager = static_cast<IConfigManager*>(instance);
        failures += ixlaGetInstance(kIxlaEventDispatcherId, instance) != 0;
        fDispatcher = static_cast<IEventDispatcher*>(instance);
        failures += ixlaGetInstance(kIxlaLoggerId, instance) != 0;
        fLogger = static_cast<ILogger*>(instance);
        failures += fLogger->getLogger(L"keeper.log", fNamed) != 0;
        failures += fManager->loadByID(L"keeper", fConfig) != 0;
        failures += fDispatcher->addListener(L"keeper.topic", this) != 0;
        return failures;
    }

    /// Uses everything once more, then unsubscribes, because the dispatcher would hold it forever.
    void end()
    {
        ixlalTestStep(use() == 0 ? "keeper.last use" : "keeper.last use failed");
        fDispatcher->removeListener(L"keeper.topic", this);
    }

    IPlugin* getPlugin() override
    {
        return nullptr;
    }

    int handleEvent(const PLiteral& iTopic, IBase*, int) override
    {
        if (iTopic.cmp(L"keeper.topic") == 0)
        {
            return ixlalTestStep("keeper.event");
        }
        return use();
    }

private:
    int use()
    {
        PString text;
        std::vector<PString> keys;
        int failures = fConfig->getString(L"own", text) != 0 || text.cmp(L"value") != 0;
        failures += fConfig->getKeys(keys) != 0;
        failures += fManager->setString(L"keeper", L"runtime", L"1") != 0;
        failures += fConfig->getString(L"runtime", text) != 0 || text.cmp(L"1") != 0;
        failures += fManager->storeString(L"keeper", L"stored", L"2") != 0;
        failures += fManager->removeSetKey(L"keeper", L"runtime") != 0;
        failures += fLogger->info(0, L"keeper in the shared log") != 0;
        failures += fNamed->info(0, L"keeper in its own log") != 0;
        failures += fDispatcher->send(L"keeper.topic", nullptr, 0) != 0;
        return failures;
    }

    PBaseptr<IConfigManager> fManager;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<ILogger> fLogger;
    PBaseptr<ILogger> fNamed;
    PBaseptr<IConfig> fConfig;
};

struct Kept
{
    ~Kept()
    {
        if (service)
        {
            service->end();
        }
    }

    PBaseptr<Keeper> service;
};

/// Destroyed when the library is unmapped.
Kept sKept;

class KeeperPlugin final : public Counted<IPlugin>
{
public:
    ~KeeperPlugin() override
    {
        ixlalTestStep("keeper.destroyed");
    }

    int init() override
    {
        sKept.service = new Keeper;
        return sKept.service->take();
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        oCount = 1;
        return new PString[1]{PString(L"test.keeper")};
    }

    int getInstance(const PLiteral&, IBase*& oInstance) override
    {
        oInstance = static_cast<ITestService*>(sKept.service.get());
        return eIxlaOk;
    }
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new KeeperPlugin;
}
