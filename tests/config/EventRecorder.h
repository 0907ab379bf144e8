// SPDX-License-Identifier: MIT
// EventRecorder: a listener that records configuration changes.
#ifndef IXLAL_TESTS_EVENTRECORDER_H
#define IXLAL_TESTS_EVENTRECORDER_H

#include "IConfigChanged.h"
#include "IEventListener.h"
#include "PBaseptr.h"
#include "support/Counted.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// Records each event as "topic type ID key attribute"; then runs onEvent.
class EventRecorder final : public Counted<IEventListener>
{
public:
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    std::vector<std::string> events();

    std::function<void(IConfigChanged&)> onEvent;

private:
    std::mutex fMutex;
    std::vector<std::string> fEvents;
};

#endif
