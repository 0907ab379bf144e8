// SPDX-License-Identifier: MIT
#include "events/PEventDispatcherPlugin.h"

#include "IEventDispatcher.h"
#include "Ixla.h"
#include "events/TestListener.h"
#include "support/CoreRun.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace
{
class EventDispatcherPlugin : public testing::Test
{
protected:
    void TearDown() override
    {
        PortFaults::reset();
    }

    IEventDispatcher* dispatcher()
    {
        IBase* instance = plugin.get();
        EXPECT_EQ(eIxlaOk, plugin->getInstance(kIxlaEventDispatcherId, instance));
        return static_cast<IEventDispatcher*>(instance);
    }

    PBaseptr<IPlugin> plugin = PBaseptr<IPlugin>::adopt(new PEventDispatcherPlugin);
};

TEST_F(EventDispatcherPlugin, OffersOnlyTheDispatcher)
{
    unsigned int count = 0;
    const std::unique_ptr<PString[]> interfaces(plugin->getInterfaces(count));

    ASSERT_EQ(1u, count);
    EXPECT_EQ(PLiteral(L"com.kelvora.ixla.eventdispatcher"), interfaces[0]);
}

TEST_F(EventDispatcherPlugin, UnknownInterfaceReturnsNull)
{
    ASSERT_EQ(eIxlaOk, plugin->init());
    IBase* instance = plugin.get();

    EXPECT_EQ(eIxlaUnknownInterface, plugin->getInstance(kIxlaLoggerId, instance));

    EXPECT_EQ(nullptr, instance);
}

TEST_F(EventDispatcherPlugin, HasNoInstanceBeforeInit)
{
    EXPECT_EQ(nullptr, dispatcher());
}

TEST_F(EventDispatcherPlugin, InitCreatesAWorkingDispatcher)
{
    ASSERT_EQ(eIxlaOk, plugin->init());
    ASSERT_NE(nullptr, dispatcher());

    EXPECT_EQ(eIxlaNoListener, dispatcher()->send(L"topic", nullptr, 0));
}

TEST_F(EventDispatcherPlugin, InstanceIsReturnedWithoutAReference)
{
    ASSERT_EQ(eIxlaOk, plugin->init());

    EXPECT_EQ(2, dispatcher()->incRef());
    EXPECT_EQ(1, dispatcher()->decRef());
}

TEST_F(EventDispatcherPlugin, FailedInitReturnsTheCodeAndHoldsNoDispatcher)
{
    PortFaults::mutexInit.armOnThisThread(-11);

    EXPECT_EQ(-11, plugin->init());

    EXPECT_EQ(nullptr, dispatcher());
}

TEST_F(EventDispatcherPlugin, LaterFailedInitReleasesTheEarlierDispatcher)
{
    ASSERT_EQ(eIxlaOk, plugin->init());
    PortFaults::mutexInit.armOnThisThread(-11);

    EXPECT_EQ(-11, plugin->init());

    EXPECT_EQ(nullptr, dispatcher());
}

TEST_F(EventDispatcherPlugin, DestructionReleasesTheDispatcherAndItsListeners)
{
    Journal journal;
    ASSERT_EQ(eIxlaOk, plugin->init());
    dispatcher()->addListener(L"topic", TestListener::make(journal, "L").get());
    ASSERT_EQ(1, journal.alive);

    plugin.clear();

    EXPECT_EQ(0, journal.alive);
}

TEST_F(EventDispatcherPlugin, HeldDispatcherOutlivesIt)
{
    ASSERT_EQ(eIxlaOk, plugin->init());
    const PBaseptr<IEventDispatcher> held(dispatcher());

    plugin.clear();

    EXPECT_EQ(eIxlaNoListener, held->send(L"topic", nullptr, 0));
}

TEST_F(EventDispatcherPlugin, CountsItsReferences)
{
    EXPECT_EQ(2, plugin->incRef());
    EXPECT_EQ(1, plugin->decRef());
}

TEST(EventDispatcherService, CoreReturnsOneWorkingDispatcher)
{
    CoreRun core;
    core.writeManagerConfig("");
    ASSERT_EQ(0, core.start());
    Journal journal;
    const auto listener = TestListener::make(journal, "L");
    auto* const dispatcher = core.get<IEventDispatcher>(kIxlaEventDispatcherId);
    ASSERT_NE(nullptr, dispatcher);

    ASSERT_EQ(eIxlaOk, dispatcher->addListener(L"topic", listener.get()));

    EXPECT_EQ(dispatcher, core.get<IEventDispatcher>(kIxlaEventDispatcherId));
    EXPECT_EQ(eIxlaOk, dispatcher->send(L"topic", nullptr, 0));
    EXPECT_THAT(journal.entries(), testing::ElementsAre("L"));
}
} // namespace
