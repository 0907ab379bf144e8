// SPDX-License-Identifier: MIT
#include "events/LoggedDispatcher.h"

#include "events/TestTopics.h"
#include "support/PortFaults.h"

namespace
{
const PLiteral kOuter(L"test.outer");
constexpr int kCode = -11;
/// More events inside each other than a thread has slots.
constexpr int kManyEvents = 8;

/// The log is set to errors only, so that the first mutex call of an operation is the
/// dispatcher's own.
class EventDispatcherFailure : public LoggedDispatcher
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(start(0));
        make();
        ASSERT_NO_FATAL_FAILURE(logErrorsOnly());
        listener = TestListener::make(journal, "L");
    }

    // The failed unlock left the mutex locked. A destructor whose lock fails releases that lock, so
    // that no locked mutex is destroyed.
    void TearDown() override
    {
        if (fHeld)
        {
            failOnce(PortFaults::mutexLock);
            dispatcher.clear();
        }
        PortFaults::reset();
    }

    void open()
    {
        ASSERT_EQ(0, dispatcher->init());
    }

    void subscribe()
    {
        open();
        ASSERT_EQ(0, dispatcher->addListener(kTopic, listener.get()));
    }

    static void failOnce(PortFault& ioFault)
    {
        ioFault.armOnThisThread(kCode, 0, 1);
    }

    void failUnlock()
    {
        failOnce(PortFaults::mutexUnlock);
        fHeld = true;
    }

    int add()
    {
        return dispatcher->addListener(kTopic, listener.get());
    }

    int remove()
    {
        return dispatcher->removeListener(kTopic, listener.get());
    }

    int send()
    {
        return dispatcher->send(kTopic, nullptr, 0);
    }

    /// Calls iFail and sends, while this thread is in so many events that the send needs the lock.
    int sendInEvents(const std::function<void()>& iFail)
    {
        int depth = 0;
        int result = 1;
        const auto outer = TestListener::make(journal, "",
                                              [&](TestListener&, const TestEvent&)
                                              {
                                                  if (++depth < kManyEvents)
                                                  {
                                                      dispatcher->send(kOuter, nullptr, 0);
                                                  }
                                                  else
                                                  {
                                                      iFail();
                                                      result = send();
                                                  }
                                              });
        EXPECT_EQ(0, dispatcher->addListener(kOuter, outer.get()));
        EXPECT_EQ(0, dispatcher->send(kOuter, nullptr, 0));
        return result;
    }

    PBaseptr<TestListener> listener;

private:
    bool fHeld = false;
};

TEST_F(EventDispatcherFailure, InitReturnsAndLogsTheCodeOfTheMutex)
{
    failOnce(PortFaults::mutexInit);

    EXPECT_EQ(kCode, dispatcher->init());

    EXPECT_EQ(1, count("[EventDispatcher][init] Failed to init mutex err: -11"));
}

TEST_F(EventDispatcherFailure, AddReturnsAndLogsTheCodeOfLocking)
{
    open();
    failOnce(PortFaults::mutexLock);

    EXPECT_EQ(kCode, add());

    EXPECT_EQ(1, count("[EventDispatcher][addListener] Failed to lock err: -11"));
    EXPECT_EQ(1, listener->references());
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(EventDispatcherFailure, AddReturnsAndLogsTheCodeOfUnlockingThoughItAdded)
{
    open();
    failUnlock();

    EXPECT_EQ(kCode, add());

    EXPECT_EQ(1, count("[EventDispatcher][addListener] Failed to unlock err: -11"));
    EXPECT_EQ(0, send());
}

TEST_F(EventDispatcherFailure, FailedUnlockReplacesAnyResult)
{
    subscribe();
    failUnlock();

    EXPECT_EQ(kCode, add());
}

TEST_F(EventDispatcherFailure, RemoveReturnsAndLogsTheCodeOfLocking)
{
    subscribe();
    failOnce(PortFaults::mutexLock);

    EXPECT_EQ(kCode, remove());

    EXPECT_EQ(1, count("[EventDispatcher][removeListener] Failed to lock err: -11"));
    EXPECT_EQ(0, send());
}

TEST_F(EventDispatcherFailure, RemoveReturnsAndLogsTheCodeOfUnlockingThoughItRemoved)
{
    subscribe();
    failUnlock();

    EXPECT_EQ(kCode, remove());

    EXPECT_EQ(1, count("[EventDispatcher][removeListener] Failed to unlock err: -11"));
    EXPECT_EQ(1, listener->references());
    EXPECT_EQ(eIxlaNoListener, send());
}

TEST_F(EventDispatcherFailure, SendReturnsAndLogsTheCodeOfLockingAndCallsNoListener)
{
    subscribe();

    EXPECT_EQ(kCode, sendInEvents([] { failOnce(PortFaults::mutexLock); }));

    EXPECT_EQ(1, count("[EventDispatcher][send] Failed to lock err: -11"));
    EXPECT_TRUE(journal.entries().empty());
}

TEST_F(EventDispatcherFailure, SendReturnsAndLogsTheCodeOfUnlockingAndCallsNoListener)
{
    subscribe();

    EXPECT_EQ(kCode, sendInEvents([this] { failUnlock(); }));

    EXPECT_EQ(1, count("[EventDispatcher][send] Failed to unlock err: -11"));
    EXPECT_TRUE(journal.entries().empty());
    EXPECT_EQ(2, listener->references());
}

TEST_F(EventDispatcherFailure, SendNeedsNoMutex)
{
    subscribe();
    PortFaults::mutexLock.armOnThisThread(kCode);

    EXPECT_EQ(0, send());

    EXPECT_EQ(0, PortFaults::mutexLock.hits());
    EXPECT_EQ((std::vector<std::string>{"L"}), journal.entries());
}

TEST_F(EventDispatcherFailure, InvalidArgumentsAreRefusedWithoutLocking)
{
    // Without a log, whose mutexes would be counted, too.
    dispatcher.clear();
    ASSERT_EQ(0, core.stop());
    make();
    ASSERT_EQ(0, dispatcher->init());
    PortFaults::mutexLock.armOnThisThread(kCode);

    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->addListener(kEmpty, listener.get()));
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->removeListener(kEmpty, listener.get()));
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->send(kEmpty, nullptr, 0));
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->addListener(kTopic, nullptr));
    EXPECT_EQ(eIxlaInvalidArgument, dispatcher->removeListener(kTopic, nullptr));

    EXPECT_EQ(0, PortFaults::mutexLock.hits());
}

TEST_F(EventDispatcherFailure, DestructionContinuesWhenLockingFails)
{
    subscribe();
    failOnce(PortFaults::mutexLock);

    dispatcher.clear();

    EXPECT_EQ(1, count("[EventDispatcher][destructor] Failed to lock err: -11"));
    EXPECT_EQ(1, listener->references());
}

TEST_F(EventDispatcherFailure, DestructionLogsAFailedUnlock)
{
    open();
    failOnce(PortFaults::mutexLock);
    failOnce(PortFaults::mutexUnlock);

    dispatcher.clear();

    EXPECT_EQ(1, count("[EventDispatcher][destructor] Failed to unlock err: -11"));
}

TEST_F(EventDispatcherFailure, DestructionLogsAFailedClose)
{
    open();
    failOnce(PortFaults::mutexClose);

    dispatcher.clear();

    EXPECT_EQ(1, count("[EventDispatcher][destructor] Failed to close mutex err: -11"));
}

TEST_F(EventDispatcherFailure, OperationsBeforeInitReportTheClosedMutex)
{
    EXPECT_EQ(-22, add());
    EXPECT_EQ(-22, remove());
    EXPECT_EQ(-22, send());
    EXPECT_EQ(1, listener->references());
}
} // namespace
