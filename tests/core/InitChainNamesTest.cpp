// SPDX-License-Identifier: MIT
#include "core/PCorePlugin.h"
#include "core/PInitChain.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
class InitChainNames : public testing::Test
{
protected:
    InitChainNames() : records{&record}, chain(records, nullptr)
    {
        record.fInitState = PCorePlugin::eInitialising;
        record.fInitThreadId = 2;
    }

    PCorePlugin record;
    const std::vector<PCorePlugin*> records;
    PInitChain chain;
};

TEST_F(InitChainNames, BuiltInPluginIsNamedByItsFirstInterface)
{
    record.fInterfaceIDs = PPtr<PString>::adopt(new PString[2], ePtrArray);
    record.fInterfaceIDs.get()[0] = L"first";
    record.fInterfaceIDs.get()[1] = L"second";
    record.fInterfaceCount = 2;

    EXPECT_EQ(PLiteral(L"thread 0x1 waits for first, which thread 0x2 initialises"),
              PLiteral(chain.describeWait(1, record)));
}

TEST_F(InitChainNames, BuiltInPluginWithoutInterfaceHasAGenericName)
{
    EXPECT_EQ(PLiteral(L"thread 0x1 waits for a built-in plugin, which thread 0x2 initialises"),
              PLiteral(chain.describeWait(1, record)));
}
} // namespace
