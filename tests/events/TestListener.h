// SPDX-License-Identifier: MIT
// TestListener: an event listener that records its calls.
#ifndef IXLAL_TESTS_TESTLISTENER_H
#define IXLAL_TESTS_TESTLISTENER_H

#include "IEventListener.h"
#include "PBaseptr.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// The actions of the listeners of one test, in order. Outlives the listeners.
class Journal
{
public:
    void note(const std::string& iEntry);
    std::vector<std::string> entries() const;

    std::atomic<int> alive{0};

private:
    mutable std::mutex fMutex;
    std::vector<std::string> fEntries;
};

struct TestEvent
{
    const PLiteral& topic;
    IBase* param1;
    int param2;
};

/// For every event adds its name, unless that is empty, to the journal, then runs its action.
class TestListener : public IEventListener
{
public:
    typedef std::function<void(TestListener&, const TestEvent&)> Action;

    TestListener(Journal& ioJournal, std::string iName, Action iAction = nullptr);

    static PBaseptr<TestListener> make(Journal& ioJournal, const std::string& iName,
                                       Action iAction = nullptr);

    int incRef() override;
    int decRef() override;
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    int references() const;

    /// The result of each event.
    int result = 0;

    /// Called by the destructor of the listener.
    std::function<void()> onDestroy;

    virtual ~TestListener();

private:
    Journal& fJournal;
    const std::string fName;
    const Action fAction;
    std::atomic<int> fReferences{0};
};

#endif
