// SPDX-License-Identifier: MIT
#include "core/PInstanceLookup.h"

#include "core/PCoreLog.h"
#include "core/PPluginInit.h"
#include "core/UnitPlugin.h"

#include <gtest/gtest.h>

namespace
{
class InstanceLookup : public testing::Test
{
protected:
    InstanceLookup() : fPlugin(new UnitPlugin({L"known"}))
    {
        EXPECT_EQ(0, fLock.init(nullptr));
        fRegistry.add(fPlugin->record());
    }

    ~InstanceLookup() override
    {
        fRegistry.release(false);
    }

    int get(const wchar_t* iId)
    {
        fInstance = nullptr;
        return fLookup.ixlaGetInstance(iId, fInstance);
    }

    IBase* fInstance = nullptr;
    UnitPlugin* const fPlugin;
    PCoreLog fLog;
    PCoreLock fLock;
    PPluginRegistry fRegistry{fLog, fLock};
    PPluginInit fInit{fLog, fLock, fRegistry};
    PInstanceLookup fLookup{fLog, fRegistry, fInit};
};

TEST_F(InstanceLookup, RefusesCallsFromOutsideBeforeTheStart)
{
    EXPECT_EQ(-1002, get(L"known"));
    EXPECT_FALSE(fLookup.ixlaIsInterfaceAvailable(L"known"));
}

TEST_F(InstanceLookup, ServesTheCoreBeforeTheStart)
{
    EXPECT_EQ(0, fLookup.getInstanceInternal(L"known", fInstance));
    EXPECT_EQ(fPlugin, fInstance);
}

TEST_F(InstanceLookup, ReturnsTheObjectOfThePlugin)
{
    fRegistry.markStarted();
    EXPECT_EQ(0, get(L"known"));
    EXPECT_EQ(fPlugin, fInstance);
}

TEST_F(InstanceLookup, UnknownInterfaceIsReported)
{
    fRegistry.markStarted();
    EXPECT_EQ(-2001, get(L"unknown"));
    EXPECT_EQ(nullptr, fInstance);
}

TEST_F(InstanceLookup, FailedInitHidesThePluginsCode)
{
    fPlugin->onInit = []
    {
        return -42;
    };
    fRegistry.markStarted();
    EXPECT_EQ(-2003, get(L"known"));
}

TEST_F(InstanceLookup, AvailabilityNeedsNoInit)
{
    int calls = 0;
    fPlugin->onInit = [&]
    {
        return ++calls;
    };
    fRegistry.markStarted();
    EXPECT_TRUE(fLookup.ixlaIsInterfaceAvailable(L"known"));
    EXPECT_FALSE(fLookup.ixlaIsInterfaceAvailable(L"unknown"));
    EXPECT_EQ(0, calls);
}
} // namespace
