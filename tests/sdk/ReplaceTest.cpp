// SPDX-License-Identifier: MIT
#include "helpers/Replace.h"

#include "helpers/PConfigSubscription.h"
#include "helpers/Text.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <thread>

namespace
{
constexpr wchar_t kReplacedId[] = L"test.id";
constexpr wchar_t kReplacedKey[] = L"key";

class ReplaceTest : public testing::Test
{
protected:
    ReplaceTest()
    {
        fCore.writeManagerConfig("test.id = test.prs\n");
        fCore.writeConfig("test.prs", "key = file\npinned = file\npinned:const = true\n");
        EXPECT_EQ(0, fCore.start());
        fManager = ixlaService<IConfigManager>();
        EXPECT_EQ(0, fManager->loadByID(kReplacedId, fConfig));
    }

    std::string read(const wchar_t* iKey = kReplacedKey) const
    {
        PString text;
        return fConfig->getString(iKey, text) == 0 ? ixlaNarrow(text) : "none";
    }

    /// The text that the key has after it was replaced by iValue.
    template <class TValue>
    std::string replaced(const TValue& iValue)
    {
        EXPECT_EQ(0, ixlaReplace(*fManager, kReplacedId, kReplacedKey, iValue));
        return read();
    }

    CoreRun fCore;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IConfig> fConfig;
};

TEST_F(ReplaceTest, SetsAKeyWithAndWithoutARunTimeValue)
{
    EXPECT_EQ("first", replaced(L"first"));
    EXPECT_EQ("second", replaced(L"second"));
}

TEST_F(ReplaceTest, TakesEachType)
{
    EXPECT_EQ("text", replaced(PString(L"text")));
    EXPECT_EQ("view", replaced(PLiteral(L"view")));
    EXPECT_EQ("-5", replaced(-5));
    EXPECT_EQ("4294967295", replaced(4294967295u));
    EXPECT_EQ("-6", replaced(-6L));
    EXPECT_EQ("-9223372036854775808", replaced(INT64_MIN));
    EXPECT_EQ("18446744073709551615", replaced(UINT64_MAX));
    replaced(true);
    bool truth = false;
    EXPECT_EQ(0, fConfig->getBool(kReplacedKey, truth));
    EXPECT_TRUE(truth);
    const unsigned char bytes[] = {1, 0xAB};
    EXPECT_EQ(0, ixlaReplace(*fManager, kReplacedId, kReplacedKey, bytes, 2));
    unsigned char* data = nullptr;
    unsigned int size = 0;
    ASSERT_EQ(0, fConfig->getBinary(kReplacedKey, data, size));
    const std::unique_ptr<unsigned char[]> owner(data);
    ASSERT_EQ(2u, size);
    EXPECT_EQ(0xAB, data[1]);
}

TEST_F(ReplaceTest, SendsOneEventWhenTheNewValueIsSet)
{
    EXPECT_EQ(0, fManager->setString(kReplacedId, kReplacedKey, L"old"));
    std::vector<std::string> values;
    PConfigSubscription changes;
    ASSERT_EQ(0, changes.subscribe(kReplacedId,
                                   [&](const IConfigChanged&) { values.push_back(read()); }));
    replaced(L"new");
    EXPECT_EQ(std::vector<std::string>{"new"}, values);
}

TEST_F(ReplaceTest, RemovesTheAttributesOfTheOldValue)
{
    EXPECT_EQ(0, fManager->setString(kReplacedId, kReplacedKey, L"5"));
    EXPECT_EQ(0, fManager->setAttrString(kReplacedId, kReplacedKey, L"unit", L"s"));
    replaced(L"6");
    PString unit;
    EXPECT_EQ(eIxlaNotFound, fConfig->getAttrString(kReplacedKey, L"unit", unit));
}

TEST_F(ReplaceTest, APinnedValueOfTheFilesStays)
{
    EXPECT_EQ(0, ixlaReplace(*fManager, kReplacedId, L"pinned", L"new"));
    EXPECT_EQ("file", read(L"pinned"));
}

TEST_F(ReplaceTest, AForbiddenNameChangesNothing)
{
    replaced(L"old");
    EXPECT_EQ(eIxlaForbiddenCharacter, ixlaReplace(*fManager, kReplacedId, L"a:b", 1));
    EXPECT_EQ(eIxlaForbiddenCharacter, ixlaReplace(*fManager, L"a|b", kReplacedKey, L"new"));
    EXPECT_EQ("old", read());
}

TEST_F(ReplaceTest, LackOfMemoryIsReported)
{
    replaced(L"old");
    const PString value(L"a new value that is too long for any buffer inside another object");
    AllocationFaults::failAfter(0);
    const int result = ixlaReplace(*fManager, kReplacedId, kReplacedKey, value);
    AllocationFaults::disarm();
    EXPECT_EQ(eIxlaNoMemory, result);
    EXPECT_TRUE(read() == "file" || read() == "old");
    EXPECT_EQ("again", replaced(L"again"));
}

TEST_F(ReplaceTest, AReaderGetsTheOldTheNewOrTheLowerValue)
{
    replaced(L"a");
    std::atomic<bool> done{false};
    std::set<std::string> seen;
    std::thread reader(
        [&]
        {
            do
            {
                seen.insert(read());
            } while (!done);
        });
    for (int i = 0; i < 20000; ++i)
    {
        replaced(i % 2 == 0 ? L"b" : L"a");
    }
    done = true;
    reader.join();
    for (const std::string& value : seen)
    {
        EXPECT_TRUE(value == "a" || value == "b" || value == "file") << value;
    }
}

TEST_F(ReplaceTest, TheLastEventOfConcurrentCallsShowsTheValueThatStays)
{
    constexpr int kRounds = 2000;
    std::atomic<int> events{0};
    std::string last;
    PConfigSubscription changes;
    ASSERT_EQ(0, changes.subscribe(kReplacedId,
                                   [&](const IConfigChanged&)
                                   {
                                       const int number = ++events;
                                       if (number == 2 * kRounds)
                                       {
                                           last = read();
                                       }
                                   }));
    const auto replacing = [&](const wchar_t* iValue)
    {
        for (int i = 0; i < kRounds; ++i)
        {
            EXPECT_EQ(0, ixlaReplace(*fManager, kReplacedId, kReplacedKey, iValue));
        }
    };
    std::thread other(replacing, L"b");
    replacing(L"a");
    other.join();
    EXPECT_EQ(2 * kRounds, events);
    EXPECT_EQ(read(), last);
    EXPECT_TRUE(last == "a" || last == "b") << last;
}
} // namespace
