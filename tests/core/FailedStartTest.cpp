// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "Ixla.h"
#include "core/PCore.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

namespace
{
/// Looks into a core whose start failed, which the exported functions destroy at once.
class FailedStart : public testing::Test
{
protected:
    int start(const std::vector<PString>& iArgs)
    {
        return fCore.startFlow(iArgs.data(), static_cast<unsigned int>(iArgs.size()));
    }

    std::string published(const wchar_t* iKey)
    {
        IBase* instance = nullptr;
        if (fCore.getInstanceInternal(kIxlaConfigManagerId, instance) != 0)
        {
            return "(no manager)";
        }
        PBaseptr<IConfig> config;
        PString value;
        const int result =
            static_cast<IConfigManager*>(instance)->loadByID(kIxlaGlobalConfigId, config);
        return result == 0 && config->getString(iKey, value) == 0 ? narrow(value) : "(none)";
    }

    TempDir fDir;
    PCore fCore;
};

TEST_F(FailedStart, WithoutLogDirKeepsTheConfigDirPublished)
{
    fDir.write("ixlap.configmanager.prs", "");
    const std::string dir = fDir.path().string();
    EXPECT_EQ(-1010, start({wide("core.plugins.config.dir=" + dir)}));
    EXPECT_EQ(dir, published(L"core.plugins.config.dir"));
    EXPECT_EQ("(none)", published(L"core.plugins.log.dir"));
}
} // namespace
