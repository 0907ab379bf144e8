// SPDX-License-Identifier: MIT
#include "core/PCoreServices.h"

#include "config/PConfigManager.h"
#include "core/PCoreLog.h"
#include "core/PGlobalConfig.h"

#include <gtest/gtest.h>

namespace
{
class CoreServices : public testing::Test
{
protected:
    CoreServices()
    {
        fServices.fConfigManager = PBaseptr<IConfigManager>::adopt(new PConfigManager);
    }

    ~CoreServices() override
    {
        fServices.clear();
    }

    void configure(const PString& iArgument)
    {
        ASSERT_EQ(0, fServices.fConfigManager->loadByArgs(&iArgument, 1, fServices.fConfig));
    }

    PCoreServices fServices;
};

TEST_F(CoreServices, LibrariesAreFreedUnlessConfiguredOtherwise)
{
    EXPECT_TRUE(fServices.readFreeLibraries());
    configure(L"core.free.plugins.lib=nonsense");
    EXPECT_TRUE(fServices.readFreeLibraries());
    configure(L"core.free.plugins.lib=false");
    EXPECT_FALSE(fServices.readFreeLibraries());
}

TEST_F(CoreServices, ClearReleasesAll)
{
    configure(L"a=b");
    fServices.clear();
    EXPECT_FALSE(fServices.fConfig);
    EXPECT_FALSE(fServices.fConfigManager);
}

TEST_F(CoreServices, GlobalConfigNeedsTheDirectories)
{
    const PCoreLog log;
    configure(L"core.plugins.config.dir=here");
    EXPECT_EQ(-1010, PGlobalConfig(log, fServices).setGlobalConfig());
}
} // namespace
