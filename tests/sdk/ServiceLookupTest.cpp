// SPDX-License-Identifier: MIT
#include "helpers/ServiceLookup.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"

#include <gtest/gtest.h>

namespace
{
class ServiceLookupTest : public testing::Test
{
protected:
    /// The result of the lookup of iId, which must fail.
    static int refused(const wchar_t* iId)
    {
        int result = 1;
        EXPECT_FALSE(ixlaService<IBase>(iId, result));
        EXPECT_FALSE(ixlaService<IBase>(iId));
        return result;
    }

    CoreRun fCore;
};

TEST_F(ServiceLookupTest, KnowsTheIdsOfTheThreeServices)
{
    ASSERT_EQ(0, fCore.start());
    int result = 1;
    EXPECT_EQ(fCore.get<IConfigManager>(kIxlaConfigManagerId),
              ixlaService<IConfigManager>(result).get());
    EXPECT_EQ(0, result);
    EXPECT_EQ(fCore.get<IEventDispatcher>(kIxlaEventDispatcherId),
              ixlaService<IEventDispatcher>().get());
    EXPECT_EQ(fCore.get<ILogger>(kIxlaLoggerId), ixlaService<ILogger>().get());
}

TEST_F(ServiceLookupTest, HoldsTheService)
{
    ASSERT_EQ(0, fCore.start());
    const auto held = ixlaService<IEventDispatcher>();
    ASSERT_TRUE(held);
    const int count = held->incRef();
    const auto again = ixlaService<IEventDispatcher>();
    EXPECT_EQ(count + 2, held->incRef());
    held->decRef();
    held->decRef();
}

TEST_F(ServiceLookupTest, ReportsAMissingCore)
{
    EXPECT_EQ(eIxlaCoreNotStarted, refused(kIxlaLoggerId));
}

TEST_F(ServiceLookupTest, ReportsAnUnknownId)
{
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(eIxlaUnknownInterface, refused(L"test.nobody"));
}

TEST_F(ServiceLookupTest, ReportsAFailedPlugin)
{
    fCore.addPlugin("alpha");
    PluginHooks::on("alpha.init", [] { return -42; });
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(eIxlaInitFailed, refused(L"test.alpha"));
}

TEST_F(ServiceLookupTest, ReportsAMissingInstance)
{
    fCore.addPlugin("null_instance");
    ASSERT_EQ(0, fCore.start());
    EXPECT_EQ(eIxlaNoInstance, refused(L"test.null"));
}

TEST_F(ServiceLookupTest, LackOfMemoryReturnsACode)
{
    ASSERT_EQ(0, fCore.start());
    ASSERT_TRUE(ixlaService<ILogger>());
    int result = 1;
    AllocationFaults::failAfter(0);
    const auto service = ixlaService<ILogger>(result);
    AllocationFaults::disarm();
    EXPECT_FALSE(service);
    EXPECT_EQ(eIxlaNoMemory, result);
}
} // namespace
