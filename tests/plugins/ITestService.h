// SPDX-License-Identifier: MIT
// ITestService: the service of the test plugins behind each of their IDs.
#ifndef IXLAL_TESTS_ITESTSERVICE_H
#define IXLAL_TESTS_ITESTSERVICE_H

#include "IEventListener.h"
#include "IPlugin.h"

/// Also a listener, which reports the step "event". It has a pointer to its plugin.
class ITestService : public IEventListener
{
public:
    virtual IPlugin* getPlugin() = 0;
};

#endif
