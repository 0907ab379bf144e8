// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "config/PConfig.h"
#include "config/PConfigRecords.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <memory>

using testing::ElementsAre;

namespace
{
typedef ConfigTest ConfigReading;

/// Returns the same text for every read.
class FixedTextConfig : public PConfig
{
public:
    FixedTextConfig() : PConfig(nullptr, PLiteral())
    {
    }

    int getString(const PLiteral&, PString& oValue) noexcept override
    {
        return oValue.set(L"17");
    }

    int getAttrString(const PLiteral&, const PLiteral&, PString& oValue) noexcept override
    {
        return oValue.set(L"18");
    }
};
} // namespace

TEST_F(ConfigReading, FileConfigurationIgnoresRunTimeValues)
{
    const PBaseptr<IConfig> config = byFile("a = 1");
    set("net", "a", "2");
    set("", "a", "2");

    EXPECT_EQ(valueOf(config, "a"), "1");
}

TEST_F(ConfigReading, RunTimeValueWinsOverFileValue)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80");
    set("net", "port", "8080");

    EXPECT_EQ(valueOf(config, "port"), "8080");
}

TEST_F(ConfigReading, PinnedFileValueWinsOverRunTimeValue)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const=true");
    set("net", "port", "8080");

    EXPECT_EQ(valueOf(config, "port"), "80");
}

TEST_F(ConfigReading, PinnedStoredValueWinsOverRunTimeValue)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80");
    store("net", "port", "90");
    storeAttr("net", "port", "const", "true");
    set("net", "port", "8080");

    EXPECT_EQ(valueOf(config, "port"), "90");
}

TEST_F(ConfigReading, PinnedFileValueWinsOverPinnedStoredValue)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const = yes");
    store("net", "port", "90");
    storeAttr("net", "port", "const", "true");

    EXPECT_EQ(valueOf(config, "port"), "80");
}

TEST_F(ConfigReading, StoredValueWinsOverFileValueAndLosesToRunTimeValue)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80");
    store("net", "port", "90");

    EXPECT_EQ(valueOf(config, "port"), "90");
    set("net", "port", "8080");
    EXPECT_EQ(valueOf(config, "port"), "8080");
}

TEST_F(ConfigReading, ConstOfRunTimeValueIsNotConsulted)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const = true");
    set("net", "port", "8080");
    setAttr("net", "port", "const", "true");

    EXPECT_EQ(valueOf(config, "port"), "80");
}

TEST_F(ConfigReading, AttributeComesFromTheFirstRecordThatHasIt)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:unit = tcp\nport:own = file");
    set("net", "port", "8080");
    setAttr("net", "port", "own", "run-time");

    EXPECT_EQ(attrOf(config, "port", "unit"), "tcp");
    EXPECT_EQ(attrOf(config, "port", "own"), "run-time");
}

TEST_F(ConfigReading, StoredAttributePrecedesTheFileAndFollowsRunTime)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:a = file\nport:b = file");
    store("net", "port", "90");
    storeAttr("net", "port", "a", "stored");
    storeAttr("net", "port", "b", "stored");
    set("net", "port", "8080");
    setAttr("net", "port", "b", "run-time");

    EXPECT_EQ(attrOf(config, "port", "a"), "stored");
    EXPECT_EQ(attrOf(config, "port", "b"), "run-time");
}

TEST_F(ConfigReading, PinnedFileValueHidesAttributesItLacks)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const = true");
    set("net", "port", "8080");
    setAttr("net", "port", "unit", "tcp");

    EXPECT_EQ(attrOf(config, "port", "unit"), "<-504>");
}

TEST_F(ConfigReading, PinnedStoredValueHidesAttributesItLacks)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:unit = tcp");
    store("net", "port", "90");
    storeAttr("net", "port", "const", "on");

    EXPECT_EQ(attrOf(config, "port", "unit"), "<-504>");
}

TEST_F(ConfigReading, GetKeysReplacesTheVectorInAscendingOrder)
{
    const PBaseptr<IConfig> config = byFile("b = 1\na = 2\nB = 3");
    std::vector<PString> keys = {PString(L"old"), PString(L"older")};

    EXPECT_EQ(config->getKeys(keys), 0);
    EXPECT_THAT(narrow(keys), ElementsAre("B", "a", "b"));
}

TEST_F(ConfigReading, GetAttributesAppendsToTheVector)
{
    const PBaseptr<IConfig> config = byFile("a:y = 1\na:x = 2");
    std::vector<PString> attributes = {PString(L"old")};

    EXPECT_EQ(config->getAttributes(L"a", attributes), 0);
    EXPECT_THAT(narrow(attributes), ElementsAre("old", "x", "y"));
}

TEST_F(ConfigReading, GetAttributesOfUnknownKeyIsNotFoundAndKeepsTheVector)
{
    std::vector<PString> attributes = {PString(L"old")};

    EXPECT_EQ(byFile("a = 1")->getAttributes(L"b", attributes), -504);
    EXPECT_THAT(narrow(attributes), ElementsAre("old"));
}

TEST_F(ConfigReading, GetAttributesListsOwnAttributesOnly)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:unit = tcp");
    set("net", "port", "8080");
    setAttr("net", "port", "extra", "1");

    EXPECT_THAT(attributesOf(config, "port"), ElementsAre("unit"));
}

TEST_F(ConfigReading, ListedKeyWithSeparatorIsRefusedByEveryGetter)
{
    const PBaseptr<IConfig> config = byFile("e|f = 1");
    PString text;
    int number = 0;
    unsigned char* data = nullptr;
    unsigned int size = 0;
    std::vector<PString> names;

    EXPECT_THAT(keysOf(config), ElementsAre("e|f"));
    EXPECT_EQ(config->getString(L"e|f", text), -3004);
    EXPECT_EQ(config->getInt32(L"e|f", number), -3004);
    EXPECT_EQ(config->getBinary(L"e|f", data, size), -3004);
    EXPECT_EQ(config->getAttrString(L"e|f", L"a", text), -3004);
    EXPECT_EQ(config->getAttrInt32(L"e|f", L"a", number), -3004);
    EXPECT_EQ(config->getAttributes(L"e|f", names), -3004);
}

TEST_F(ConfigReading, AttributeNameWithSeparatorIsRefused)
{
    const PBaseptr<IConfig> config = byFile("a = 1");

    for (const char* attribute : {"x=y", "x:y", "x|y"})
    {
        EXPECT_EQ(attrOf(config, "a", attribute), "<-3004>") << attribute;
    }
}

TEST_F(ConfigReading, TypedReadReturnsTheConversionsCodeAndKeepsTheArgument)
{
    const PBaseptr<IConfig> config = byFile("a = twelve\na:b = 99999999999");
    int number = 5;
    bool truth = true;

    EXPECT_EQ(config->getInt32(L"a", number), -22);
    EXPECT_EQ(config->getBool(L"a", truth), -22);
    EXPECT_EQ(config->getAttrInt32(L"a", L"b", number), -34);
    EXPECT_EQ(number, 5);
    EXPECT_TRUE(truth);
}

TEST_F(ConfigReading, EmptyAttributeNameIsNotFound)
{
    const PBaseptr<IConfig> config = byFile("a = 1\na:b = 2\np:const = true");

    EXPECT_EQ(attrOf(config, "a", ""), "<-504>");
    EXPECT_EQ(attrOf(config, "p", ""), "<-504>");
    EXPECT_EQ(attrOf(config, "absent", ""), "<-504>");
}

TEST_F(ConfigReading, FailedReadKeepsTheArgument)
{
    PString text(L"before");

    EXPECT_EQ(byFile("a = 1")->getString(L"b", text), -504);
    EXPECT_EQ(text, L"before");
}

TEST_F(ConfigReading, PinOutlivesTheRemovalOfItsAttributeOnceSeen)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80");
    store("net", "port", "90");
    storeAttr("net", "port", "const", "true");
    set("net", "port", "8080");

    EXPECT_EQ(valueOf(config, "port"), "90");
    EXPECT_EQ(manager.removeStoredAttr(L"net", L"port", L"const"), 0);
    EXPECT_EQ(attrOf(config, "port", "const"), "<-504>");
    EXPECT_EQ(valueOf(config, "port"), "90");
}

TEST_F(ConfigReading, ConstThatIsNotTrueIsReadAgainAtEveryLookup)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const = perhaps");
    set("net", "port", "8080");
    EXPECT_EQ(valueOf(config, "port"), "8080");

    PConfigValue& record = *static_cast<PConfig&>(*config).values().find(L"port");
    record.fAttributes.remove(L"const");
    record.fAttributes.add(L"const", L"true");
    EXPECT_EQ(valueOf(config, "port"), "80");
}

TEST_F(ConfigReading, FalseConstDoesNotPin)
{
    const PBaseptr<IConfig> config = loadID("net", "port = 80\nport:const = false");
    set("net", "port", "8080");

    EXPECT_EQ(valueOf(config, "port"), "8080");
}

TEST_F(ConfigReading, ReadsNumbersOfEveryWidth)
{
    const PBaseptr<IConfig> config = byFile("i = -2147483648\nu = 4294967295\n"
                                            "l = -9223372036854775808\nm = 18446744073709551615");
    int i = 0;
    unsigned int u = 0;
    long long l = 0;
    unsigned long long m = 0;

    EXPECT_EQ(config->getInt32(L"i", i), 0);
    EXPECT_EQ(config->getUint32(L"u", u), 0);
    EXPECT_EQ(config->getInt64(L"l", l), 0);
    EXPECT_EQ(config->getUint64(L"m", m), 0);
    EXPECT_EQ(i, -2147483647 - 1);
    EXPECT_EQ(u, 4294967295u);
    EXPECT_EQ(l, -9223372036854775807LL - 1);
    EXPECT_EQ(m, 18446744073709551615ULL);
}

TEST_F(ConfigReading, ReadsNumbersOfEveryWidthFromAttributes)
{
    const PBaseptr<IConfig> config = byFile("k:i = -1\nk:u = 4000000000\nk:l = -5000000000\n"
                                            "k:m = 18446744073709551615");
    int i = 0;
    unsigned int u = 0;
    long long l = 0;
    unsigned long long m = 0;

    EXPECT_EQ(config->getAttrInt32(L"k", L"i", i), 0);
    EXPECT_EQ(config->getAttrUint32(L"k", L"u", u), 0);
    EXPECT_EQ(config->getAttrInt64(L"k", L"l", l), 0);
    EXPECT_EQ(config->getAttrUint64(L"k", L"m", m), 0);
    EXPECT_EQ(i, -1);
    EXPECT_EQ(u, 4000000000u);
    EXPECT_EQ(l, -5000000000LL);
    EXPECT_EQ(m, 18446744073709551615ULL);
}

TEST_F(ConfigReading, ReadsTruthValuesAndAttributesOfThem)
{
    const PBaseptr<IConfig> config = byFile("k = on\nk:off = no");
    bool value = false;
    bool attribute = true;

    EXPECT_EQ(config->getBool(L"k", value), 0);
    EXPECT_EQ(config->getAttrBool(L"k", L"off", attribute), 0);
    EXPECT_TRUE(value);
    EXPECT_FALSE(attribute);
}

TEST_F(ConfigReading, BinaryBlocksBelongToTheCaller)
{
    const PBaseptr<IConfig> config = byFile("k = 00ff\nk:b = 7F");
    unsigned char* value = nullptr;
    unsigned char* attribute = nullptr;
    unsigned int valueSize = 0;
    unsigned int attributeSize = 0;

    ASSERT_EQ(config->getBinary(L"k", value, valueSize), 0);
    ASSERT_EQ(config->getAttrBinary(L"k", L"b", attribute, attributeSize), 0);
    const std::unique_ptr<unsigned char[]> valueOwner(value);
    const std::unique_ptr<unsigned char[]> attributeOwner(attribute);
    EXPECT_THAT(std::vector<int>(value, value + valueSize), ElementsAre(0, 255));
    EXPECT_THAT(std::vector<int>(attribute, attribute + attributeSize), ElementsAre(127));
}

TEST_F(ConfigReading, TypedReadsCallTheTextReads)
{
    const PBaseptr<IConfig> config = PBaseptr<IConfig>::adopt(new FixedTextConfig);
    int value = 0;
    long long attribute = 0;

    EXPECT_EQ(config->getInt32(L"any", value), 0);
    EXPECT_EQ(config->getAttrInt64(L"any", L"any", attribute), 0);
    EXPECT_EQ(value, 17);
    EXPECT_EQ(attribute, 18);
}

TEST_F(ConfigReading, LongTextsAreReadCompletely)
{
    const std::string zeros(5000, '0');
    const PBaseptr<IConfig> config = byFile("a = " + zeros + "7");
    int number = 0;

    EXPECT_EQ(valueOf(config, "a"), zeros + "7");
    EXPECT_EQ(config->getInt32(L"a", number), 0);
    EXPECT_EQ(number, 7);
}

TEST_F(ConfigReading, ConfigurationWithoutManagerReturnsItsOwnValues)
{
    const PBaseptr<IConfig> config = PBaseptr<IConfig>::adopt(new PConfig(nullptr, L"net"));
    PConfigValues& values = static_cast<PConfig&>(*config).values();
    ASSERT_EQ(PConfigRecords::_addValue(values, L"a", L"1"), 0);

    EXPECT_EQ(valueOf(config, "a"), "1");
    EXPECT_EQ(valueOf(config, "b"), "<-504>");
}

TEST_F(ConfigReading, ConfigurationHoldsItsManager)
{
    PBaseptr<IConfigManager> own(new PConfigManager);
    std::vector<PString> args = {PString(L"a=1")};
    PBaseptr<IConfig> config;
    ASSERT_EQ(own->loadByArgs(args, config), 0);
    own.clear();

    EXPECT_EQ(valueOf(config, "a"), "1");
}

TEST_F(ConfigReading, CountsReferencesAndHoldsOneOnItsManager)
{
    const int before = manager.incRef();
    const PBaseptr<IConfig> config = byFile("a = 1");

    EXPECT_EQ(manager.incRef(), before + 2);
    EXPECT_EQ(config->incRef(), 2);
    EXPECT_EQ(config->decRef(), 1);
    EXPECT_EQ(manager.decRef(), before + 1);
    EXPECT_EQ(manager.decRef(), before);
}

TEST_F(ConfigReading, FinderOfOwnRecordsFindsOnlyThem)
{
    const PBaseptr<IConfig> config = loadID("net", "a = 1");
    set("net", "b", "2");
    PConfig& implementation = static_cast<PConfig&>(*config);
    PConfigValue* record = nullptr;

    EXPECT_EQ(implementation.__findValue(L"b", record), -504);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(implementation.__findValue(L"a", record), 0);
    EXPECT_EQ(record, implementation.values().find(L"a"));
}
