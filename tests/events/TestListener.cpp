// SPDX-License-Identifier: MIT
#include "events/TestListener.h"

#include <utility>

void Journal::note(const std::string& iEntry)
{
    const std::lock_guard<std::mutex> lock(fMutex);
    fEntries.push_back(iEntry);
}

std::vector<std::string> Journal::entries() const
{
    const std::lock_guard<std::mutex> lock(fMutex);
    return fEntries;
}

TestListener::TestListener(Journal& ioJournal, std::string iName, Action iAction)
    : fJournal(ioJournal), fName(std::move(iName)), fAction(std::move(iAction))
{
    ++fJournal.alive;
}

TestListener::~TestListener()
{
    if (onDestroy)
    {
        onDestroy();
    }
    --fJournal.alive;
}

PBaseptr<TestListener> TestListener::make(Journal& ioJournal, const std::string& iName,
                                          Action iAction)
{
    return PBaseptr<TestListener>::adopt(new TestListener(ioJournal, iName, std::move(iAction)));
}

int TestListener::incRef()
{
    return ++fReferences;
}

int TestListener::decRef()
{
    const int count = --fReferences;
    if (count == 0)
    {
        delete this;
    }
    return count;
}

int TestListener::handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2)
{
    if (!fName.empty())
    {
        fJournal.note(fName);
    }
    if (fAction)
    {
        fAction(*this, TestEvent{iTopic, iParam1, iParam2});
    }
    return result;
}

int TestListener::references() const
{
    return fReferences;
}
