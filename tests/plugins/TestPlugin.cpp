// SPDX-License-Identifier: MIT
// A plugin whose steps the test binary observes and controls. TEST_PLUGIN_NAME is its name in the
// reported steps, TEST_PLUGIN_IDS the list of its interface IDs, TEST_PLUGIN_REFERENCES its initial
// reference count, TEST_PLUGIN_INSTANCE the object that it returns. A step may throw an exception,
// also in a destructor.

#include "IPlugin.h"
#include "Ixla.h"
#include "PBaseptr.h"
#include "plugins/ITestService.h"
#include "portinglayer/PCounterSync.h"

#include <iterator>
#include <memory>

extern "C" int ixlalTestStep(const char* iStep);

#define TEST_STEP(step) ixlalTestStep(TEST_PLUGIN_NAME "." step)

#ifndef TEST_PLUGIN_REFERENCES
#define TEST_PLUGIN_REFERENCES 0
#endif
#ifndef TEST_PLUGIN_INSTANCE
#define TEST_PLUGIN_INSTANCE fService.get()
#endif

namespace
{
const wchar_t* const sIDs[] = {TEST_PLUGIN_IDS};

class TestService final : public ITestService
{
public:
    virtual ~TestService() noexcept(false)
    {
        TEST_STEP("service destroyed");
    }

    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    IPlugin* getPlugin() override
    {
        return fPlugin;
    }

    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return TEST_STEP("event");
    }

    PCounterSync fRefCount{0};
    IPlugin* fPlugin = nullptr;
};

class TestPlugin final : public IPlugin
{
public:
    virtual ~TestPlugin() noexcept(false)
    {
        fService.clear();
        TEST_STEP("destroyed");
    }

    int incRef() override
    {
        return ++fRefCount;
    }

    int decRef() override
    {
        TEST_STEP("decRef");
        const int count = fRefCount.change(-1);
        if (count == 0)
        {
            delete this;
        }
        return count;
    }

    int init() override
    {
        TestService* service = new TestService;
        service->fPlugin = this;
        fService = service;
        return TEST_STEP("init");
    }

    PString* getInterfaces(unsigned int& oCount) override
    {
        TEST_STEP("getInterfaces");
        std::unique_ptr<PString[]> ids(new PString[std::size(sIDs)]);
        oCount = 0;
        for (const wchar_t* id : sIDs)
        {
            ids[oCount++] = id;
        }
        return ids.release();
    }

    int getInstance(const PLiteral& iInterfaceId, IBase*& oInstance) override
    {
        const int result = TEST_STEP("getInstance");
        if (result != 0)
        {
            return result;
        }
        for (const wchar_t* id : sIDs)
        {
            if (iInterfaceId.cmp(id) == 0)
            {
                oInstance = static_cast<ITestService*>(TEST_PLUGIN_INSTANCE);
                return 0;
            }
        }
        oInstance = nullptr;
        return eIxlaUnknownInterface;
    }

private:
    PCounterSync fRefCount{TEST_PLUGIN_REFERENCES};
    PBaseptr<TestService> fService;
};

struct Mapping
{
    ~Mapping()
    {
        TEST_STEP("unmapped");
    }
};

const Mapping sMapping;
} // namespace

IPlugin* ixlaGetPlugin()
{
    return TEST_STEP("factory") == 0 ? new TestPlugin : nullptr;
}
