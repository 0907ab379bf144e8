#include "core/PCore.h"
#include "plugins/ITestService.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
class Autostart : public testing::Test
{
protected:
    /// Two libraries of one file name, from two directories.
    void SetUp() override
    {
        fCore.addPlugin("alpha", "same");
        fCore.addPlugin("beta");
        ASSERT_EQ(0, fCore.start());
        std::filesystem::create_directory(fCore.dir.file("more"));
        std::filesystem::copy_file(fCore.dir.file("plugins/libbeta.so"),
                                   fCore.dir.file("more/libsame.so"));
        ITestService* service = fCore.get<ITestService>(L"test.beta");
        ASSERT_NE(nullptr, service);
        ASSERT_EQ(0, ixlaUnloadPlugin(service->getPlugin()));
        ASSERT_EQ(0, PCore::getCore()->loadPluginLib(fCore.dir.wideFile("more/libsame.so")));
    }

    int init(const wchar_t* iName)
    {
        PString name(iName);
        return PCore::getCore()->initAutoStartPlugin(name);
    }

    CoreRun fCore;
};

TEST_F(Autostart, NameThatMatchesTwoLibrariesInitialisesBoth)
{
    EXPECT_EQ(0, init(L"libsame.so"));
    EXPECT_EQ(1, PluginHooks::count("alpha.init"));
    EXPECT_EQ(2, PluginHooks::count("beta.init")); // once before it was unloaded
}

TEST_F(Autostart, ResultIsThatOfTheLastMatch)
{
    PluginHooks::on("alpha.init", [] { return -1; });
    PluginHooks::on("beta.init", [] { return -42; });
    EXPECT_EQ(-42, init(L"libsame.so"));
}

TEST_F(Autostart, FailureBeforeTheLastMatchIsOnlyLogged)
{
    PluginHooks::on("alpha.init", [] { return -1; });
    EXPECT_EQ(0, init(L"libsame.so"));
    EXPECT_EQ(
        1, fCore.logCount("E Core [initAutoStartPlugin] Failed to init autostart plugin err: -1"));
}

TEST_F(Autostart, NameWithoutAMatchIsNoFailure)
{
    EXPECT_EQ(0, init(L"same"));
    EXPECT_EQ(0, PluginHooks::count("alpha.init"));
}
} // namespace
