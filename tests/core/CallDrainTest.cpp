// SPDX-License-Identifier: MIT
#include "core/PCallDrain.h"

#include "core/PCallGate.h"
#include "core/PCoreLog.h"
#include "core/PCoreServices.h"

#include <gtest/gtest.h>

namespace
{
class CallDrain : public testing::Test
{
protected:
    PCoreLog fLog;
    PCoreServices fServices;
    PCallGate fGate;
    PCallDrain fDrain{fLog, fServices};
};

TEST_F(CallDrain, ClosesTheGate)
{
    fGate.open();
    EXPECT_TRUE(fDrain.letCallsLeave(&fGate));
    EXPECT_TRUE(fDrain.letCallsLeave(&fGate));
}

TEST_F(CallDrain, CoreWithoutAGateIsKeptPermanently)
{
    EXPECT_FALSE(fDrain.letCallsLeave(nullptr));
    fGate.open();
    EXPECT_FALSE(fDrain.letCallsLeave(&fGate));
}
} // namespace
