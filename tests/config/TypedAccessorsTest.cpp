// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <memory>

using testing::ElementsAre;

namespace
{
/// Records the calls of the text operations.
class NotingManager : public PConfigManager
{
public:
    int setString(const PLiteral& iID, const PLiteral& iKey,
                  const PLiteral& iValue) noexcept override
    {
        return note({"setString", narrow(iID), narrow(iKey), narrow(iValue)});
    }

    int storeString(const PLiteral& iID, const PLiteral& iKey,
                    const PLiteral& iValue) noexcept override
    {
        return note({"storeString", narrow(iID), narrow(iKey), narrow(iValue)});
    }

    int setAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                      const PLiteral& iValue) noexcept override
    {
        return note(
            {"setAttrString", narrow(iID), narrow(iKey), narrow(iAttribute), narrow(iValue)});
    }

    int storeAttrString(const PLiteral& iID, const PLiteral& iKey, const PLiteral& iAttribute,
                        const PLiteral& iValue) noexcept override
    {
        return note(
            {"storeAttrString", narrow(iID), narrow(iKey), narrow(iAttribute), narrow(iValue)});
    }

    std::vector<std::string> noted;

private:
    int note(const std::vector<std::string>& iCall)
    {
        noted = iCall;
        return 42;
    }
};

typedef ConfigTest TypedAccessors;

class TypedForwarding : public testing::Test
{
protected:
    NotingManager* noting = new NotingManager;
    PBaseptr<IConfigManager> manager{noting};
    const unsigned char bytes[3] = {0x00, 0xab, 0xff};
};
} // namespace

TEST_F(TypedForwarding, SetFormsCallSetString)
{
    EXPECT_EQ(manager->setInt32(L"i", L"k", -7), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "-7"));
    EXPECT_EQ(manager->setUint32(L"i", L"k", 4294967295u), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "4294967295"));
    EXPECT_EQ(manager->setInt64(L"i", L"k", -5000000000LL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "-5000000000"));
    EXPECT_EQ(manager->setUint64(L"i", L"k", 18446744073709551615ULL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "18446744073709551615"));
    EXPECT_EQ(manager->setBool(L"i", L"k", false), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "false"));
    EXPECT_EQ(manager->setBinary(L"i", L"k", bytes, 3), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setString", "i", "k", "00abff"));
}

TEST_F(TypedForwarding, SetAttrFormsCallSetAttrString)
{
    EXPECT_EQ(manager->setAttrInt32(L"i", L"k", L"a", -7), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "-7"));
    EXPECT_EQ(manager->setAttrUint32(L"i", L"k", L"a", 4294967295u), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "4294967295"));
    EXPECT_EQ(manager->setAttrInt64(L"i", L"k", L"a", -5000000000LL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "-5000000000"));
    EXPECT_EQ(manager->setAttrUint64(L"i", L"k", L"a", 18446744073709551615ULL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "18446744073709551615"));
    EXPECT_EQ(manager->setAttrBool(L"i", L"k", L"a", true), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "true"));
    EXPECT_EQ(manager->setAttrBinary(L"i", L"k", L"a", bytes, 3), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", "00abff"));
}

TEST_F(TypedForwarding, StoreFormsCallStoreString)
{
    EXPECT_EQ(manager->storeInt32(L"i", L"k", -7), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "-7"));
    EXPECT_EQ(manager->storeUint32(L"i", L"k", 4294967295u), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "4294967295"));
    EXPECT_EQ(manager->storeInt64(L"i", L"k", -5000000000LL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "-5000000000"));
    EXPECT_EQ(manager->storeUint64(L"i", L"k", 18446744073709551615ULL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "18446744073709551615"));
    EXPECT_EQ(manager->storeBool(L"i", L"k", true), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "true"));
    EXPECT_EQ(manager->storeBinary(L"i", L"k", bytes, 3), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeString", "i", "k", "00abff"));
}

TEST_F(TypedForwarding, StoreAttrFormsCallStoreAttrString)
{
    EXPECT_EQ(manager->storeAttrInt32(L"i", L"k", L"a", -7), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeAttrString", "i", "k", "a", "-7"));
    EXPECT_EQ(manager->storeAttrUint32(L"i", L"k", L"a", 4294967295u), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeAttrString", "i", "k", "a", "4294967295"));
    EXPECT_EQ(manager->storeAttrInt64(L"i", L"k", L"a", -5000000000LL), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeAttrString", "i", "k", "a", "-5000000000"));
    EXPECT_EQ(manager->storeAttrUint64(L"i", L"k", L"a", 18446744073709551615ULL), 42);
    EXPECT_THAT(noting->noted,
                ElementsAre("storeAttrString", "i", "k", "a", "18446744073709551615"));
    EXPECT_EQ(manager->storeAttrBool(L"i", L"k", L"a", false), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeAttrString", "i", "k", "a", "false"));
    EXPECT_EQ(manager->storeAttrBinary(L"i", L"k", L"a", bytes, 3), 42);
    EXPECT_THAT(noting->noted, ElementsAre("storeAttrString", "i", "k", "a", "00abff"));
}

TEST_F(TypedForwarding, EmptyBlockIsAnEmptyText)
{
    EXPECT_EQ(manager->setAttrBinary(L"i", L"k", L"a", nullptr, 0), 42);
    EXPECT_THAT(noting->noted, ElementsAre("setAttrString", "i", "k", "a", ""));
}

TEST_F(TypedForwarding, FailedConversionReturnsItsCodeAndCallsNothing)
{
    EXPECT_EQ(manager->setBinary(L"i", L"k", nullptr, 1), -22);
    EXPECT_EQ(manager->setAttrBinary(L"i", L"k", L"a", nullptr, 1), -22);
    EXPECT_EQ(manager->storeBinary(L"i", L"k", nullptr, 1), -22);
    EXPECT_EQ(manager->storeAttrBinary(L"i", L"k", L"a", nullptr, 1), -22);
    EXPECT_TRUE(noting->noted.empty());
}

TEST_F(TypedAccessors, SetTruthReadsBackAsTruthAndAsText)
{
    const PBaseptr<IConfig> config = loadID("net");
    bool value = false;

    EXPECT_EQ(manager.setBool(L"net", L"on", true), 0);
    EXPECT_EQ(config->getBool(L"on", value), 0);
    EXPECT_TRUE(value);
    EXPECT_EQ(valueOf(config, "on"), "true");
}

TEST_F(TypedAccessors, SetNumberKeepsAnEarlierRunTimeValue)
{
    set("net", "port", "80");

    EXPECT_EQ(manager.setInt32(L"net", L"port", 8080), 0);
    EXPECT_EQ(dynamicOf(manager, "net", "port"), "80");
}

TEST_F(TypedAccessors, LargestNumberIsStoredInFull)
{
    const PBaseptr<IConfig> config = loadID("net");

    EXPECT_EQ(manager.storeUint64(L"net", L"n", std::numeric_limits<unsigned long long>::max()), 0);
    EXPECT_EQ(storeText(), "net|n = 18446744073709551615\n");
}

TEST_F(TypedAccessors, EmptyBlockReadsBackEmpty)
{
    const PBaseptr<IConfig> config = loadID("net");
    set("net", "k", "v");
    unsigned char* data = nullptr;
    unsigned int size = 9;

    EXPECT_EQ(manager.setAttrBinary(L"net", L"k", L"b", nullptr, 0), 0);
    EXPECT_EQ(attrOf(config, "k", "b"), "");
    EXPECT_EQ(config->getAttrBinary(L"k", L"b", data, size), 0);
    const std::unique_ptr<unsigned char[]> owner(data);
    EXPECT_EQ(size, 0u);
}

TEST_F(TypedAccessors, NumbersReadBackAsTheyWereSet)
{
    const PBaseptr<IConfig> config = loadID("net");
    long long lowest = 0;
    unsigned long long highest = 0;

    EXPECT_EQ(manager.setInt64(L"net", L"l", std::numeric_limits<long long>::min()), 0);
    EXPECT_EQ(manager.setUint64(L"net", L"h", std::numeric_limits<unsigned long long>::max()), 0);
    EXPECT_EQ(config->getInt64(L"l", lowest), 0);
    EXPECT_EQ(config->getUint64(L"h", highest), 0);
    EXPECT_EQ(lowest, std::numeric_limits<long long>::min());
    EXPECT_EQ(highest, std::numeric_limits<unsigned long long>::max());
}

TEST_F(TypedAccessors, AttributesNeedAValueToo)
{
    loadID("net");

    EXPECT_EQ(manager.setAttrInt32(L"net", L"k", L"a", 1), -3002);
    EXPECT_EQ(manager.storeAttrInt32(L"net", L"k", L"a", 1), -3002);
    EXPECT_EQ(manager.setInt32(L"n|t", L"k", 1), -3004);
}
