// SPDX-License-Identifier: MIT
// Sweeps of the operations of configurations and of change events.

#include "config/ConfigTest.h"
#include "config/PConfigChanged.h"
#include "memory/SweepTexts.h"
#include "support/AllocationSweep.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <optional>

using testing::ElementsAre;

namespace
{
const std::string sZeros(300, '0');

/// Reads of stored values by ID; each run reads the store again.
class ReadMemorySweep : public ConfigTest
{
protected:
    ReadMemorySweep()
    {
        config = loadID("net", "a = 1\n" + sLongKey + " = own\n" + sLongKey + ":own = 1\n" +
                                   sLongKey + ":own2 = 2");
    }

    /// Stores the value, or the attribute "a", of the reads.
    void keep(const std::string& iValue)
    {
        store("net", sLongKey, iValue);
        storeAttr("net", sLongKey, "a", iValue);
    }

    /// The out-argument is new for every read, so that a text has no reserved room.
    template <class TRead, class TValue>
    void sweepRead(const std::string& iOperation, const TRead& iRead, const TValue& iBefore,
                   const TValue& iAfter)
    {
        std::optional<TValue> value;
        sweepAllocations({.operation = iOperation,
                          .before =
                              [&]
                          {
                              manager.cleanup();
                              value.emplace(iBefore);
                          },
                          .run = [&] { return iRead(*value); },
                          .unchanged = [&] { EXPECT_EQ(iBefore, *value); },
                          .done = [&] { EXPECT_EQ(iAfter, *value); },
                          .undo = [&] { value.reset(); },
                          .spares = sExactRoom});
    }

    /// Both the value and the attribute.
    template <class TValue>
    void sweepReads(const std::string& iOperation, const std::string& iAttrOperation,
                    int (IConfig::*iGet)(const PLiteral&, TValue&),
                    int (IConfig::*iGetAttr)(const PLiteral&, const PLiteral&, TValue&),
                    const TValue& iBefore, const TValue& iAfter)
    {
        sweepRead(
            iOperation, [&](TValue& oValue) { return ((*config).*iGet)(key, oValue); }, iBefore,
            iAfter);
        sweepRead(
            iAttrOperation,
            [&](TValue& oValue) { return ((*config).*iGetAttr)(key, L"a", oValue); }, iBefore,
            iAfter);
    }

    void sweepBinary(const std::string& iOperation,
                     const std::function<int(unsigned char*&, unsigned int&)>& iRead)
    {
        unsigned char* data = nullptr;
        unsigned int size = 7;
        sweepAllocations({.operation = iOperation,
                          .before = [&] { manager.cleanup(); },
                          .run = [&] { return iRead(data, size); },
                          .unchanged =
                              [&]
                          {
                              EXPECT_EQ(nullptr, data);
                              EXPECT_EQ(7u, size);
                          },
                          .done = [&] { EXPECT_EQ(150u, size); },
                          .undo =
                              [&]
                          {
                              delete[] data;
                              data = nullptr;
                              size = 7;
                          },
                          .spares = sExactRoom});
    }

    const PString key = wide(sLongKey);
    PBaseptr<IConfig> config;
};
} // namespace

TEST_F(ReadMemorySweep, References)
{
    sweepReferences(*config, "IConfig::incRef", "IConfig::decRef");
}

TEST_F(ReadMemorySweep, Lists)
{
    std::vector<PString> names;
    const auto forget = [&]
    {
        names = {PString(L"old")};
    };
    sweepAllocations({
        .operation = "IConfig::getKeys",
        .before = forget,
        .run = [&] { return config->getKeys(names); },
        .unchanged = [&] { EXPECT_THAT(narrow(names), ElementsAre("old")); },
        .done = [&] { EXPECT_THAT(narrow(names), ElementsAre("a", sLongKey)); },
        .undo = [&] { names = std::vector<PString>(); },
    });
    sweepAllocations({
        .operation = "IConfig::getAttributes",
        .before = forget,
        .run = [&] { return config->getAttributes(key, names); },
        .unchanged = [&] { EXPECT_THAT(narrow(names), ElementsAre("old")); },
        .done = [&] { EXPECT_THAT(narrow(names), ElementsAre("old", "own", "own2")); },
        .undo = [&] { names = std::vector<PString>(); },
    });
}

TEST_F(ReadMemorySweep, Texts)
{
    keep(sLong);
    sweepReads<PString>("IConfig::getString", "IConfig::getAttrString", &IConfig::getString,
                        &IConfig::getAttrString, PString(L"old"), wide(sLong));
}

TEST_F(ReadMemorySweep, RunTimeText)
{
    keep("stored");
    set("net", sLongKey, sLong);
    sweepRead(
        "IConfig::getString of a run-time value",
        [&](PString& oValue) { return config->getString(key, oValue); }, PString(L"old"),
        wide(sLong));
}

TEST_F(ReadMemorySweep, Numbers)
{
    keep(sZeros + "7");
    sweepReads<int>("IConfig::getInt32", "IConfig::getAttrInt32", &IConfig::getInt32,
                    &IConfig::getAttrInt32, 1, 7);
    sweepReads<unsigned int>("IConfig::getUint32", "IConfig::getAttrUint32", &IConfig::getUint32,
                             &IConfig::getAttrUint32, 1u, 7u);
    sweepReads<long long>("IConfig::getInt64", "IConfig::getAttrInt64", &IConfig::getInt64,
                          &IConfig::getAttrInt64, 1, 7);
    sweepReads<unsigned long long>("IConfig::getUint64", "IConfig::getAttrUint64",
                                   &IConfig::getUint64, &IConfig::getAttrUint64, 1u, 7u);
}

TEST_F(ReadMemorySweep, TruthValues)
{
    keep("true");
    sweepReads<bool>("IConfig::getBool", "IConfig::getAttrBool", &IConfig::getBool,
                     &IConfig::getAttrBool, false, true);
}

TEST_F(ReadMemorySweep, Blocks)
{
    keep(std::string(300, 'a'));
    sweepBinary("IConfig::getBinary", [&](unsigned char*& oData, unsigned int& oSize)
                { return config->getBinary(key, oData, oSize); });
    sweepBinary("IConfig::getAttrBinary", [&](unsigned char*& oData, unsigned int& oSize)
                { return config->getAttrBinary(key, L"a", oData, oSize); });
}

TEST(EventObjectMemorySweep, EveryOperation)
{
    const PString text = wide(sLong);
    const PBaseptr<IConfigChanged> event(
        new PConfigChanged(IConfigChanged::eValueSet, text, text, text));
    std::optional<PString> read;
    const auto sweep = [&](const char* iOperation, const std::function<int()>& iRun)
    {
        sweepAllocations({
            .operation = iOperation,
            .before = [&] { read.emplace(L"old"); },
            .run = iRun,
            .unchanged = [&] { EXPECT_EQ(PLiteral(L"old"), *read); },
            .done = [&] { EXPECT_EQ(text, *read); },
            .undo = [&] { read.reset(); },
        });
    };
    sweep("IConfigChanged::getID", [&] { return event->getID(*read); });
    sweep("IConfigChanged::getKey", [&] { return event->getKey(*read); });
    sweep("IConfigChanged::getAttribute", [&] { return event->getAttribute(*read); });
    sweepAllocations({
        .operation = "IConfigChanged::getType",
        .run = [&] { return event->getType() == IConfigChanged::eValueSet ? 0 : -1; },
    });
}
