// SPDX-License-Identifier: MIT
#include "core/PExitNotifier.h"

#include "core/PCoreLog.h"
#include "core/PCoreServices.h"
#include "support/Counted.h"
#include "support/PortFaults.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
/// Records the events and their senders.
class Dispatcher final : public Counted<IEventDispatcher>
{
public:
    int addListener(const PLiteral&, IEventListener*) override
    {
        return 0;
    }

    int removeListener(const PLiteral&, IEventListener*) override
    {
        return 0;
    }

    int send(const PLiteral& iTopic, IBase*, int) override
    {
        topic = iTopic;
        thread = std::this_thread::get_id();
        ++count;
        return 0;
    }

    PString topic;
    std::thread::id thread;
    int count = 0;
};

class ExitNotifier : public testing::Test
{
protected:
    ExitNotifier() : fDispatcher(new Dispatcher)
    {
        EXPECT_EQ(0, fLock.init(nullptr));
        fServices.fEventDispatcher = fDispatcher;
    }

    ~ExitNotifier() override
    {
        PortFaults::reset();
    }

    Dispatcher* const fDispatcher;
    PCoreLog fLog;
    PCoreLock fLock;
    PCoreServices fServices;
    PExitNotifier fNotifier{fLog, fLock, fServices};
};

TEST_F(ExitNotifier, SendsTheEventOnAThreadOfItsOwn)
{
    EXPECT_EQ(0, fNotifier.announceExit(30));
    EXPECT_EQ(PLiteral(L"event.core.exit"), fDispatcher->topic);
    EXPECT_EQ(1, fDispatcher->count);
    EXPECT_NE(std::this_thread::get_id(), fDispatcher->thread);
    EXPECT_FALSE(fNotifier.isAbandoned());
}

TEST_F(ExitNotifier, SendsNothingWithoutAThread)
{
    PortFaults::threadCreate.arm(-11, 0, 1);
    EXPECT_EQ(0, fNotifier.announceExit(30));
    EXPECT_EQ(0, fDispatcher->count);
    fNotifier.partFromNotifier();
}

TEST_F(ExitNotifier, SendsNothingWithoutADispatcher)
{
    fServices.clear();
    EXPECT_EQ(0, fNotifier.announceExit(30));
}

TEST_F(ExitNotifier, FailingLockIsReported)
{
    PortFaults::mutexLock.arm(-22, 0, 1);
    EXPECT_EQ(-1013, fNotifier.announceExit(30));
    EXPECT_EQ(0, fDispatcher->count);
}
} // namespace
