// SPDX-License-Identifier: MIT
// ConfigEventsTest: the configuration manager of a real core, with its real dispatcher.
#ifndef IXLAL_TESTS_CONFIGEVENTSTEST_H
#define IXLAL_TESTS_CONFIGEVENTSTEST_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "config/EventRecorder.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

class ConfigEventsTest : public testing::Test
{
protected:
    /// Starts the core; its manager's configuration maps no IDs.
    ConfigEventsTest();

    /// Subscribes the recorder to the topic.
    void listen(const wchar_t* iTopic);

    /// Registers the topic for the ID.
    void announce(const wchar_t* iID, const wchar_t* iTopic);

    CoreRun core;
    PBaseptr<EventRecorder> recorder{new EventRecorder};
    PBaseptr<IConfigManager> manager;
    PBaseptr<IEventDispatcher> dispatcher;
};

#endif
