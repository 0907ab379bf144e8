// SPDX-License-Identifier: MIT
#include "helpers/PConfigSubscription.h"

#include "helpers/Text.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

namespace
{
constexpr wchar_t kId[] = L"test.id";

class ConfigSubscriptionTest : public testing::Test
{
protected:
    ConfigSubscriptionTest()
    {
        EXPECT_EQ(0, fCore.start());
    }

    int subscribe(PConfigSubscription& ioSubscription)
    {
        return ioSubscription.subscribe(kId,
                                        [this](const IConfigChanged& iChange)
                                        {
                                            PString key;
                                            EXPECT_EQ(0, iChange.getKey(key));
                                            fKeys.push_back(ixlaNarrow(key));
                                        });
    }

    static void set(const wchar_t* iKey, const wchar_t* iId = kId)
    {
        EXPECT_EQ(0, ixlaService<IConfigManager>()->setInt32(iId, iKey, 1));
    }

    CoreRun fCore;
    std::vector<std::string> fKeys;
};

TEST_F(ConfigSubscriptionTest, ReceivesOnlyChangesOfItsConfiguration)
{
    PConfigSubscription subscription;
    EXPECT_FALSE(subscription);
    ASSERT_EQ(0, subscribe(subscription));
    EXPECT_TRUE(subscription);
    set(L"first");
    set(L"other", L"test.other");
    set(L"second");
    EXPECT_EQ((std::vector<std::string>{"first", "second"}), fKeys);
}

TEST_F(ConfigSubscriptionTest, EndsWithItsScope)
{
    {
        PConfigSubscription subscription;
        ASSERT_EQ(0, subscribe(subscription));
    }
    set(L"first");
    EXPECT_TRUE(fKeys.empty());
}

TEST_F(ConfigSubscriptionTest, SeveralReceiveTheSameChange)
{
    PConfigSubscription first;
    PConfigSubscription second;
    ASSERT_EQ(0, subscribe(first));
    ASSERT_EQ(0, subscribe(second));
    set(L"key");
    EXPECT_EQ(2u, fKeys.size());
    EXPECT_EQ(0, first.end());
    set(L"other");
    EXPECT_EQ(3u, fKeys.size());
}

TEST_F(ConfigSubscriptionTest, MovesAndIsReplaced)
{
    PConfigSubscription target;
    ASSERT_EQ(0, subscribe(target));
    {
        PConfigSubscription source;
        ASSERT_EQ(0, subscribe(source));
        target = PConfigSubscription(std::move(source));
    }
    set(L"key");
    EXPECT_EQ(1u, fKeys.size());
    EXPECT_EQ(0, subscribe(target));
    set(L"other");
    EXPECT_EQ(2u, fKeys.size());
}

TEST_F(ConfigSubscriptionTest, RequiresACore)
{
    PConfigSubscription before;
    ASSERT_EQ(0, subscribe(before));
    EXPECT_EQ(0, fCore.stop());
    PConfigSubscription subscription;
    EXPECT_EQ(eIxlaCoreNotStarted, subscribe(subscription));
    EXPECT_FALSE(subscription);
    EXPECT_EQ(0, before.end());
}

TEST_F(ConfigSubscriptionTest, LackOfMemoryReturnsACodeAndSubscribesNothing)
{
    int result = eIxlaOk;
    int skipped = 0;
    PConfigSubscription subscription;
    for (bool struck = true; struck; ++skipped)
    {
        AllocationFaults::failOnceAfter(skipped);
        result = subscribe(subscription);
        struck = AllocationFaults::struck();
        AllocationFaults::disarm();
        // A text that cannot reserve extra memory tries again with the exact size.
        EXPECT_TRUE(result == eIxlaOk || (struck && result == eIxlaNoMemory)) << result;
        EXPECT_EQ(result == eIxlaOk, static_cast<bool>(subscription));
    }
    EXPECT_EQ(0, result);
    EXPECT_LT(10, skipped);
    set(L"key");
    EXPECT_EQ(1u, fKeys.size());
}
} // namespace
