// SPDX-License-Identifier: MIT
// A plugin that uses only the helpers, with two services that report their steps.

#include "helpers/PPlugin.h"
#include "plugins/ITestService.h"

#include <stdexcept>

extern "C" int ixlalTestStep(const char* iStep);

#define TEST_STEP(step) ixlalTestStep(TEST_PLUGIN_NAME "." step)

namespace
{
constexpr wchar_t kFirstId[] = L"test.helpers.first";
constexpr wchar_t kSecondId[] = L"test.helpers.second";

class First : public PService<ITestService>
{
public:
    First()
    {
        TEST_STEP("first made");
    }

    ~First() override
    {
        TEST_STEP("first destroyed");
    }

    int onInit() override
    {
        return TEST_STEP("first init");
    }

    void onExit() override
    {
        TEST_STEP("first exit");
    }

    IPlugin* getPlugin() override
    {
        return nullptr;
    }

    int handleEvent(const PLiteral&, IBase*, int) override
    {
        return eIxlaOk;
    }
};

class Second : public PService<IBase>
{
public:
    explicit Second(First* iFirst) : fFirst(iFirst)
    {
        TEST_STEP("second made");
    }

    ~Second() override
    {
        TEST_STEP("second destroyed");
    }

    int onInit() override
    {
        return fFirst ? TEST_STEP("second init") : eIxlaNoInstance;
    }

    void onExit() override
    {
        TEST_STEP("second exit");
    }

private:
    const PBaseptr<First> fFirst;
};

class HelpersPlugin : public PPlugin
{
public:
    HelpersPlugin()
    {
        if (TEST_STEP("constructor") != 0)
        {
            throw std::runtime_error("no plugin today");
        }
        offer<First>(kFirstId);
        offer<Second>(kSecondId, [this] { return new Second(service<First>(kFirstId)); });
    }

    ~HelpersPlugin() override
    {
        TEST_STEP("destroyed");
    }
};
} // namespace

IXLA_PLUGIN(HelpersPlugin)
