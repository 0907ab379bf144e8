// SPDX-License-Identifier: MIT
// ITestService: what the test plugins offer behind each of their IDs.
#ifndef IXLAL_TESTS_ITESTSERVICE_H
#define IXLAL_TESTS_ITESTSERVICE_H

#include "IEventListener.h"
#include "IPlugin.h"

/// Listens to events (reported as the step "event") and knows its plugin.
class ITestService : public IEventListener
{
public:
    virtual IPlugin* getPlugin() = 0;
};

#endif
