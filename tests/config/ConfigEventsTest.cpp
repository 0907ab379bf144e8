// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"

ConfigEventsTest::ConfigEventsTest()
{
    core.writeManagerConfig("");
    EXPECT_EQ(core.start(), 0);
    manager = core.get<IConfigManager>(kIxlaConfigManagerId);
    dispatcher = core.get<IEventDispatcher>(kIxlaEventDispatcherId);
}

void ConfigEventsTest::listen(const wchar_t* iTopic)
{
    EXPECT_EQ(dispatcher->addListener(iTopic, recorder.get()), 0);
}

void ConfigEventsTest::announce(const wchar_t* iID, const wchar_t* iTopic)
{
    EXPECT_EQ(manager->addListener(iID, iTopic), 0);
}
