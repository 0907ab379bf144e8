// SPDX-License-Identifier: MIT
#include "helpers/PKeyedConfig.h"

#include "helpers/Text.h"
#include "support/AllocationFaults.h"
#include "support/CoreRun.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

#define HIGHEST_PORT 65535

namespace
{
constexpr wchar_t kKeysId[] = L"test.keys";

IXLA_CONFIG(TestConfig, "test.keys",
            IXLA_KEY_INT32(shift, "shift", -5, -2147483648, 2147483647, "mm", "run-time",
                           "an int32"),
            IXLA_KEY_UINT32(port, "port", 80, 1, HIGHEST_PORT, "", "start", "a uint32"),
            IXLA_KEY_INT64(total, "total", 0, -9223372036854775808, 9223372036854775807, "bytes",
                           "run-time", "an int64"),
            IXLA_KEY_UINT64(mask, "mask", 18446744073709551615, 0, 18446744073709551615, "",
                            "run-time", "a uint64"),
            IXLA_KEY_BOOL(active, "is.active", true, "run-time", "a bool"),
            IXLA_KEY_TEXT(title, "title", "A title", "run-time", "a text with \u00e4"),
            IXLA_KEY_CHOICE(order, "order", "oldest", "oldest|newest", "run-time", "a choice"),
            IXLA_KEY_BYTES(magic, "magic", "00ff", "run-time", "some bytes"))

class KeyedConfigTest : public testing::Test
{
protected:
    void start(const std::string& iText = "")
    {
        fCore.writeManagerConfig("test.keys = keys.prs\n");
        fCore.writeConfig("keys.prs", iText);
        ASSERT_EQ(0, fCore.start());
        fManager = ixlaService<IConfigManager>();
    }

    void load(const std::string& iText)
    {
        start(iText);
        ASSERT_EQ(0, fConfig.load());
    }

    void set(const wchar_t* iKey, const wchar_t* iValue)
    {
        EXPECT_EQ(0, fManager->removeSetKey(kKeysId, iKey));
        EXPECT_EQ(0, fManager->setString(kKeysId, iKey, iValue));
    }

    int logged(const std::string& iText)
    {
        return countLines(fCore.pluginLogFile(), iText);
    }

    CoreRun fCore;
    PBaseptr<IConfigManager> fManager;
    TestConfig fConfig;
};

TEST_F(KeyedConfigTest, HasTheDefaultsOfMissingKeys)
{
    load("");
    EXPECT_EQ(-5, fConfig.shift.get());
    EXPECT_EQ(80u, fConfig.port.get());
    EXPECT_EQ(0, fConfig.total.get());
    EXPECT_EQ(18446744073709551615u, fConfig.mask.get());
    EXPECT_TRUE(fConfig.active.get());
    EXPECT_EQ(L"A title", fConfig.title.get());
    EXPECT_EQ(L"oldest", fConfig.order.get());
    EXPECT_EQ((std::vector<unsigned char>{0x00, 0xff}), fConfig.magic.get());
    EXPECT_EQ(0, fConfig.check());
    EXPECT_EQ(0, logged("[test.keys]"));
}

TEST_F(KeyedConfigTest, HasTheDefaultsBeforeItIsLoaded)
{
    EXPECT_EQ(80u, fConfig.port.get());
    EXPECT_EQ(L"A title", fConfig.title.get());
    EXPECT_FALSE(fConfig.config());
    EXPECT_EQ(std::wstring(L"test.keys"), fConfig.id());
}

TEST_F(KeyedConfigTest, ReadsTheConfiguredValues)
{
    load("shift = 2147483647\nport = 65535\ntotal = -9223372036854775808\nmask = 1\n"
         "is.active = OFF\ntitle = x y\norder = newest\nmagic = 0a\n");
    EXPECT_EQ(2147483647, fConfig.shift.get());
    EXPECT_EQ(65535u, fConfig.port.get());
    EXPECT_EQ(-9223372036854775807 - 1, fConfig.total.get());
    EXPECT_EQ(1u, fConfig.mask.get());
    EXPECT_FALSE(fConfig.active.get());
    EXPECT_EQ(L"x y", fConfig.title.get());
    EXPECT_EQ(L"newest", fConfig.order.get());
    EXPECT_EQ(std::vector<unsigned char>{0x0a}, fConfig.magic.get());
    EXPECT_EQ(0, logged("[test.keys]"));
}

TEST_F(KeyedConfigTest, ReportsEachRefusedValueInOneLine)
{
    load("shift = 2147483648\nport = 0\ntotal = 1.5\nmask = -1\nis.active = maybe\n"
         "order = random\nmagic = 0\n");
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(-22, fConfig.check());
    }
    EXPECT_EQ(80u, fConfig.port.get());
    EXPECT_EQ(-5, fConfig.shift.get());
    EXPECT_EQ(L"oldest", fConfig.order.get());
    for (const char* line :
         {"E pgs [test.keys] shift = 2147483648: not a number from -2147483648 to 2147483647; the "
          "default \"-5\" is used",
          "E pgs [test.keys] port = 0: not a number from 1 to 65535; the default \"80\" is used",
          "E pgs [test.keys] total = 1.5: not a number from -9223372036854775808 to "
          "9223372036854775807; the default \"0\" is used",
          "E pgs [test.keys] mask = -1: not a number from 0 to 18446744073709551615; the default "
          "\"18446744073709551615\" is used",
          "E pgs [test.keys] is.active = maybe: not true or false; the default \"true\" is used",
          "E pgs [test.keys] order = random: not one of oldest|newest; the default \"oldest\" is "
          "used",
          "E pgs [test.keys] magic = 0: not bytes of two hexadecimal digits; the default \"00ff\" "
          "is used"})
    {
        EXPECT_EQ(1, logged(line)) << line;
    }
}

TEST_F(KeyedConfigTest, ReportsAValueAgainAfterAnAcceptedOne)
{
    load("");
    for (const wchar_t* value : {L"x", L"x", L"1", L"x"})
    {
        set(L"shift", value);
        (void)fConfig.shift.get();
    }
    EXPECT_EQ(2, logged("[test.keys] shift = x: not a number"));
}

TEST_F(KeyedConfigTest, CallsBackWithTheFirstAndWithEachOtherValue)
{
    start("shift = 1\n");
    std::vector<int> values;
    fConfig.shift.onChange([&](int iValue) { values.push_back(iValue); });
    ASSERT_EQ(0, fConfig.load());
    set(L"shift", L"2");
    set(L"shift", L" 02 "); // the same number
    set(L"total", L"3");
    EXPECT_EQ(0, fManager->setAttrString(kKeysId, L"shift", L"unit", L"m"));
    set(L"shift", L"x");
    EXPECT_EQ((std::vector<int>{1, 2, -5}), values);
}

TEST_F(KeyedConfigTest, CallsBackWithValuesOfEachType)
{
    std::vector<std::string> values;
    start();
    fConfig.title.onChange([&](const PString& iValue) { values.push_back(ixlaNarrow(iValue)); });
    fConfig.active.onChange([&](bool iValue) { values.emplace_back(iValue ? "yes" : "no"); });
    fConfig.port.onChange([&](unsigned int iValue) { values.push_back(std::to_string(iValue)); });
    fConfig.magic.onChange([&](const std::vector<unsigned char>& iValue)
                           { values.push_back(std::to_string(iValue.size())); });
    ASSERT_EQ(0, fConfig.load());
    set(L"title", L"t");
    set(L"is.active", L"no");
    set(L"magic", L"");
    // Keys that are read at the start come first.
    EXPECT_EQ((std::vector<std::string>{"80", "yes", "A title", "2", "t", "no", "0"}), values);
}

TEST_F(KeyedConfigTest, KeepsAValueThatIsReadAtTheStart)
{
    start("port = 8080\n");
    int calls = 0;
    fConfig.port.onChange([&](unsigned int) { ++calls; });
    ASSERT_EQ(0, fConfig.load());
    set(L"port", L"81");
    EXPECT_EQ(8080u, fConfig.port.get());
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1, logged("E pgs [test.keys] port = 81: set too late; the key is read at the start "
                        "only"));
}

TEST_F(KeyedConfigTest, ReportsARefusedChangeWithoutACallback)
{
    load("");
    set(L"order", L"random");
    EXPECT_EQ(1, logged("[test.keys] order = random: not one of"));
}

TEST_F(KeyedConfigTest, FollowsAValueThatItsCallbackSets)
{
    start();
    std::vector<int> values;
    fConfig.shift.onChange(
        [&](int iValue)
        {
            values.push_back(iValue);
            if (iValue == 1)
            {
                set(L"shift", L"2");
            }
        });
    ASSERT_EQ(0, fConfig.load());
    set(L"shift", L"1");
    EXPECT_EQ((std::vector<int>{-5, 1, 2}), values);
}

TEST_F(KeyedConfigTest, DeliversTheLastOfConcurrentChangesLast)
{
    start();
    int inside = 0;
    int last = 0;
    fConfig.shift.onChange(
        [&](int iValue)
        {
            EXPECT_EQ(1, ++inside);
            last = iValue;
            --inside;
        });
    ASSERT_EQ(0, fConfig.load());
    std::vector<std::thread> threads;
    for (const wchar_t* value : {L"1", L"2", L"3"})
    {
        threads.emplace_back(
            [this, value]
            {
                for (int i = 0; i < 200; ++i)
                {
                    set(L"shift", value);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(fConfig.shift.get(), last);
}

TEST_F(KeyedConfigTest, LogsExceptionsOfCallbacks)
{
    start();
    bool fails = false;
    fConfig.shift.onChange(
        [&](int iValue)
        {
            if (fails)
            {
                throw std::runtime_error("no " + std::to_string(iValue));
            }
        });
    ASSERT_EQ(0, fConfig.load());
    fails = true;
    set(L"shift", L"1");
    set(L"shift", L"2");
    EXPECT_EQ(1, logged("Exception: no 1"));
    EXPECT_EQ(1, logged("Exception: no 2"));
}

TEST_F(KeyedConfigTest, PassesOnExceptionsOfCallbacksWhileLoading)
{
    start();
    fConfig.shift.onChange([](int) { throw std::runtime_error("why"); });
    EXPECT_THROW((void)fConfig.load(), std::runtime_error);
}

TEST_F(KeyedConfigTest, EndsItsCallbacksWithItsScope)
{
    start();
    int calls = 0;
    {
        TestConfig config;
        config.shift.onChange([&](int) { ++calls; });
        ASSERT_EQ(0, config.load());
    }
    set(L"shift", L"1");
    EXPECT_EQ(1, calls);
}

TEST_F(KeyedConfigTest, LeavesOtherKeysReadable)
{
    load("speed = 7\n");
    int speed = 0;
    EXPECT_EQ(0, fConfig.config()->getInt32(L"speed", speed));
    EXPECT_EQ(7, speed);
}

TEST_F(KeyedConfigTest, RequiresACore)
{
    EXPECT_EQ(eIxlaCoreNotStarted, fConfig.load());
}

TEST_F(KeyedConfigTest, LackOfMemoryReturnsACode)
{
    start("order = random\n");
    int result = eIxlaNoMemory;
    int skipped = 0;
    for (bool struck = true; struck; ++skipped)
    {
        TestConfig config;
        AllocationFaults::failOnceAfter(skipped);
        result = config.load();
        struck = AllocationFaults::struck();
        AllocationFaults::disarm();
        EXPECT_TRUE(result == eIxlaOk || (struck && result == eIxlaNoMemory)) << result;
    }
    EXPECT_EQ(0, result);
    EXPECT_LT(10, skipped);
}
} // namespace
