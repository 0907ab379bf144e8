// SPDX-License-Identifier: MIT
// TestListener: an event listener that writes down what happens to it.
#ifndef IXLAL_TESTS_TESTLISTENER_H
#define IXLAL_TESTS_TESTLISTENER_H

#include "IEventListener.h"
#include "PBaseptr.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// What the listeners of one test did, in order. Outlives the listeners.
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

/// Notes its name, unless it is empty, in the journal for every event, then runs its action.
class TestListener : public IEventListener
{
public:
    typedef std::function<int(TestListener&, const TestEvent&)> Action;

    TestListener(Journal& ioJournal, std::string iName, Action iAction = nullptr);

    static PBaseptr<TestListener> make(Journal& ioJournal, const std::string& iName,
                                       Action iAction = nullptr);

    int incRef() override;
    int decRef() override;
    int handleEvent(const PLiteral& iTopic, IBase* iParam1, int iParam2) override;

    int references() const;

    /// Runs as the listener is destroyed.
    std::function<void()> onDestroy;

    virtual ~TestListener();

private:
    Journal& fJournal;
    const std::string fName;
    const Action fAction;
    std::atomic<int> fReferences{0};
};

#endif
