// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"
#include "config/TypedWrites.h"

#include "Ixla.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <memory>
#include <type_traits>

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
    /// Each operation returns the result of the operation on texts, which it calls with its names
    /// and the text of its value.
    template <class... TNames>
    void expectForms(const TypedWrites<TNames...>& iWrites, std::vector<std::string> iCall,
                     std::type_identity_t<TNames>... iNames)
    {
        iCall.emplace_back();
        const auto expect = [&](const char* iText, auto iWrite, auto... iValue)
        {
            iCall.back() = iText;
            EXPECT_EQ((noting->*iWrite)(iNames..., iValue...), 42);
            EXPECT_EQ(noting->noted, iCall);
        };
        expect("-7", iWrites.int32, -7);
        expect("4294967295", iWrites.uint32, 4294967295u);
        expect("-5000000000", iWrites.int64, -5000000000LL);
        expect("18446744073709551615", iWrites.uint64, 18446744073709551615ULL);
        expect("false", iWrites.truth, false);
        expect("true", iWrites.truth, true);
        expect("00abff", iWrites.binary, static_cast<const unsigned char*>(bytes), 3u);
    }

    NotingManager* noting = new NotingManager;
    PBaseptr<IConfigManager> manager{noting};
    const unsigned char bytes[3] = {0x00, 0xab, 0xff};
};
} // namespace

TEST_F(TypedForwarding, SetFormsCallSetString)
{
    expectForms(kSetWrites, {"setString", "i", "k"}, L"i", L"k");
}

TEST_F(TypedForwarding, SetAttrFormsCallSetAttrString)
{
    expectForms(kSetAttrWrites, {"setAttrString", "i", "k", "a"}, L"i", L"k", L"a");
}

TEST_F(TypedForwarding, StoreFormsCallStoreString)
{
    expectForms(kStoreWrites, {"storeString", "i", "k"}, L"i", L"k");
}

TEST_F(TypedForwarding, StoreAttrFormsCallStoreAttrString)
{
    expectForms(kStoreAttrWrites, {"storeAttrString", "i", "k", "a"}, L"i", L"k", L"a");
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
