// SPDX-License-Identifier: MIT
// Plugins that are linked into the test, in a PTestCore.

#include "testkit/PTestCore.h"

#include "ILogger.h"
#include "helpers/PPlugin.h"
#include "helpers/PWorker.h"
#include "sdk/Thrown.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr wchar_t kNotedId[] = L"test.noted";

std::vector<std::string> sSteps;
int sInitResult = 0;

class INoted : public IBase
{
public:
    virtual int number() = 0;
};

class Noted : public PService<INoted>
{
public:
    int onInit() override
    {
        sSteps.emplace_back("init");
        return sInitResult;
    }

    void onExit() override
    {
        sSteps.emplace_back("exit");
    }

    int number() override
    {
        const auto logger = ixlaService<ILogger>();
        EXPECT_EQ(0, logger->info(0, L"[noted] asked"));
        EXPECT_EQ(0, logger->error(0, L"[noted]   a warning"));
        return 7;
    }

    ~Noted() override
    {
        sSteps.emplace_back("destroyed");
    }
};

class NotedPlugin : public PPlugin
{
public:
    NotedPlugin()
    {
        offer<Noted>(kNotedId);
    }
};

class LinkedPluginTest : public testing::Test
{
protected:
    LinkedPluginTest()
    {
        sSteps.clear();
        sInitResult = 0;
        fCore.addPlugin(ixlaNewPlugin<NotedPlugin>);
    }

    PTestCore fCore;
};

TEST_F(LinkedPluginTest, IsInitialisedOnTheFirstRequestAndExitsWithTheCore)
{
    fCore.start();
    EXPECT_THAT(sSteps, ElementsAre());
    EXPECT_EQ(7, fCore.service<INoted>(kNotedId)->number());
    EXPECT_EQ(7, fCore.service<INoted>(kNotedId)->number());
    fCore.stop();
    EXPECT_THAT(sSteps, ElementsAre("init", "exit", "destroyed"));
}

TEST_F(LinkedPluginTest, IsCreatedAnewByEachStart)
{
    for (int i = 0; i < 2; ++i)
    {
        fCore.start();
        EXPECT_EQ(7, fCore.service<INoted>(kNotedId)->number());
        fCore.stop();
    }
    EXPECT_EQ(6u, sSteps.size());
}

TEST_F(LinkedPluginTest, FailedInitialisationIsReportedAndNotRepeated)
{
    sInitResult = -42;
    fCore.start();
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_THAT(textThrown([&] { fCore.service<INoted>(kNotedId); }),
                    HasSubstr("no service \"test.noted\": -42"));
    }
    EXPECT_THAT(sSteps, ElementsAre("init", "exit", "destroyed"));
}

TEST_F(LinkedPluginTest, FactoryWithoutAPluginFailsTheStart)
{
    fCore.addPlugin([]() -> IPlugin* { return nullptr; });
    EXPECT_EQ(eIxlaNullPlugin, fCore.tryStart());
    EXPECT_FALSE(fCore.isStarted());
    EXPECT_EQ(eIxlaCoreNotStarted, ixlaStop());
}

TEST_F(LinkedPluginTest, IdThatIsOfferedTwiceFailsTheStart)
{
    fCore.addPlugin(ixlaNewPlugin<NotedPlugin>);
    EXPECT_EQ(eIxlaInterfaceRegistered, fCore.tryStart());
    EXPECT_FALSE(fCore.isStarted());
    EXPECT_EQ(eIxlaCoreNotStarted, ixlaStop());
}

TEST_F(LinkedPluginTest, ItsLogLinesAreReadWithoutTimesAndThreads)
{
    fCore.start();
    fCore.service<INoted>(kNotedId)->number();
    EXPECT_THAT(fCore.log().texts(),
                testing::IsSupersetOf({"I [noted] asked", "E [noted]   a warning"}));
    EXPECT_THAT(fCore.coreLog().texts(), Contains(HasSubstr("D [startFlow] Core v")));
}
} // namespace
