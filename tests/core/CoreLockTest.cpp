// SPDX-License-Identifier: MIT
#include "core/PCoreLock.h"

#include "support/PortFaults.h"

#include <gtest/gtest.h>

namespace
{
class CoreLock : public testing::Test
{
protected:
    ~CoreLock() override
    {
        PortFaults::reset();
    }

    PCoreLock fLock;
};

TEST_F(CoreLock, OpensAndClosesBoth)
{
    EXPECT_EQ(0, fLock.init(nullptr));
    EXPECT_EQ(0, fLock.fMutex.lock());
    EXPECT_EQ(0, fLock.fCondVar.notifyAll());
    EXPECT_EQ(0, fLock.fMutex.unlock());
    fLock.close(nullptr);
    EXPECT_EQ(-22, fLock.fMutex.lock());
}

TEST_F(CoreLock, FailuresHaveCodesOfTheirOwn)
{
    PortFaults::mutexInit.arm(-12, 0, 1);
    EXPECT_EQ(-1011, fLock.init(nullptr));
    PortFaults::condVarInit.arm(-12, 0, 1);
    EXPECT_EQ(-1012, fLock.init(nullptr));
}
} // namespace
