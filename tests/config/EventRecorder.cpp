// SPDX-License-Identifier: MIT
#include "config/EventRecorder.h"

#include "support/Texts.h"

#include <gtest/gtest.h>

int EventRecorder::handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    EXPECT_EQ(iParam2, 0);
    IConfigChanged& change = *static_cast<IConfigChanged*>(iParam1);
    PString id;
    PString key;
    PString attribute;
    EXPECT_EQ(change.getID(id), 0);
    EXPECT_EQ(change.getKey(key), 0);
    EXPECT_EQ(change.getAttribute(attribute), 0);
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fEvents.push_back(narrow(iTopic) + " " + std::to_string(change.getType()) + " " +
                          narrow(id) + " " + narrow(key) + " " + narrow(attribute));
    }
    if (onEvent)
    {
        onEvent(change);
    }
    return 0;
}

std::vector<std::string> EventRecorder::events()
{
    const std::lock_guard<std::mutex> lock(fMutex);
    return fEvents;
}
