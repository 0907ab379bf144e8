// SPDX-License-Identifier: MIT
// Sweeps of the operations of the configuration manager.

#include "Ixla.h"
#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"
#include "config/PConfigRecords.h"
#include "memory/SweepTexts.h"
#include "support/AllocationSweep.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const std::vector<unsigned char> sBlock(200, 0xab);

/// More than the reserved room of a configuration.
const std::string sManyChars(5000, 'x');

/// More than the blocks that a freed configuration leaves to the next one.
const std::string sLargeText(20000, 'x');

/// An operation that writes, and the text that a reader gets afterwards.
struct Write
{
    std::string operation;
    std::function<int()> run;
    std::string text;
};

std::string _digits(const std::vector<unsigned char>& iBytes)
{
    std::string text;
    for (std::size_t i = 0; i < iBytes.size(); ++i)
    {
        text += "ab";
    }
    return text;
}

class ManagerMemorySweep : public ConfigTest
{
protected:
    /// A configuration with only the key "own".
    void renew()
    {
        config = byArgs({"own=1"});
    }

    void sweepLoad(const std::string& iOperation, const std::function<int()>& iRun,
                   const std::vector<std::string>& iKeys)
    {
        config.clear();
        sweepAllocations({.operation = iOperation,
                          .before = [&] { manager.cleanup(); },
                          .run = iRun,
                          .unchanged = [&] { EXPECT_FALSE(config); },
                          .done = [&] { EXPECT_EQ(iKeys, keysOf(config)); },
                          .undo = [&] { config.clear(); },
                          .spares = sExactRoom});
    }

    void sweepAppend(const std::string& iOperation, const std::function<int()>& iRun,
                     const std::vector<std::string>& iKeys)
    {
        sweepAllocations({.operation = iOperation,
                          .before =
                              [&]
                          {
                              manager.cleanup();
                              renew();
                          },
                          .run = iRun,
                          .unchanged = [&] { EXPECT_EQ("1", valueOf(config, "own")); },
                          .done = [&] { EXPECT_EQ(iKeys, keysOf(config)); },
                          .undo = [&] { config.clear(); },
                          .spares = sExactRoom});
    }

    /// An append of four entries with the value iValue, whose keys come after "own". A failed run
    /// must leave the first of them, each complete; at least one run must leave some.
    void sweepBeginnings(const std::string& iOperation, const std::string& iValue,
                         const std::function<int()>& iRun)
    {
        const std::vector<std::string> keys = {"own", "p1", "p2", "p3", "p4"};
        std::size_t most = 0;
        sweepAllocations({.operation = iOperation,
                          .before = [&] { renew(); },
                          .run = iRun,
                          .unchanged =
                              [&]
                          {
                              const std::vector<std::string> left = keysOf(config);
                              ASSERT_LT(left.size(), keys.size());
                              EXPECT_TRUE(std::equal(left.begin(), left.end(), keys.begin()));
                              for (std::size_t i = 1; i < left.size(); ++i)
                              {
                                  EXPECT_EQ(iValue, valueOf(config, left[i]));
                              }
                              most = std::max(most, left.size() - 1);
                          },
                          .done = [&] { EXPECT_EQ(keys, keysOf(config)); },
                          .undo = [&] { config.clear(); },
                          .spares = sExactRoom});
        EXPECT_EQ(3u, most) << iOperation;
    }

    /// Writes of the run-time value of the long key.
    void sweepSet(const Write& iWrite)
    {
        sweepAllocations(
            {.operation = iWrite.operation,
             .run = iWrite.run,
             .unchanged = [&] { EXPECT_EQ("<-504>", dynamicOf(manager, "net", sLongKey)); },
             .done = [&] { EXPECT_EQ(iWrite.text, dynamicOf(manager, "net", sLongKey)); },
             .undo = [&] { EXPECT_EQ(0, manager.removeSetKey(L"net", key)); },
             .spares = sExactRoom});
    }

    /// Writes of the attribute with the long name.
    void sweepSetAttr(const Write& iWrite)
    {
        sweepAllocations({.operation = iWrite.operation,
                          .run = iWrite.run,
                          .unchanged = [&] { EXPECT_EQ("<-504>", attrOf(config, "k", sLongKey)); },
                          .done = [&] { EXPECT_EQ(iWrite.text, attrOf(config, "k", sLongKey)); },
                          .undo = [&] { EXPECT_EQ(0, manager.removeSetAttr(L"net", L"k", key)); },
                          .spares = sExactRoom});
    }

    /// Sets the manager's store file, which survives a cleanup.
    void openStore()
    {
        loadID("net");
        store("net", "k", "1");
    }

    /// An operation on the store file that changes its content from iBefore to iAfter.
    void sweepStore(const Write& iWrite, const std::string& iBefore, const std::string& iAfter)
    {
        sweepAllocations({.operation = iWrite.operation,
                          .before =
                              [&]
                          {
                              manager.cleanup();
                              dir.write("store.txt", iBefore);
                          },
                          .run = iWrite.run,
                          .unchanged = [&] { EXPECT_EQ(iBefore, storeText()); },
                          .done = [&] { EXPECT_EQ(iAfter, storeText()); },
                          .spares = sExactRoom});
    }

    const PString key = wide(sLongKey);
    const PString value = wide(sLong);
    PBaseptr<IConfig> config;
};

class ManagerEventMemorySweep : public ConfigEventsTest
{
protected:
    std::string dynamic(const std::string& iKey) const
    {
        return dynamicOf(static_cast<PConfigManager&>(*manager), "A", iKey);
    }
};
} // namespace

TEST_F(ManagerMemorySweep, References)
{
    sweepReferences(manager, "IConfigManager::incRef", "IConfigManager::decRef");
}

TEST_F(ManagerMemorySweep, ListOfIDs)
{
    mapIDs("net = a.prs\n" + sLongKey + " = b.prs");
    byID("net");
    store(sLong, "k", "1");
    std::vector<PString> ids;
    sweepAllocations(
        {.operation = "IConfigManager::listIDs",
         .before = [&] { ids = {PString(L"old")}; },
         .run = [&] { return manager.listIDs(ids); },
         .unchanged = [&] { EXPECT_THAT(ids, IsEmpty()); },
         .done = [&] { EXPECT_THAT(narrow(ids), ElementsAre(sLong, sLongKey, "net")); },
         .undo = [&] { ids = std::vector<PString>(); },
         .spares = sExactRoom});
}

TEST_F(ManagerMemorySweep, Loads)
{
    mapIDs("net = a.prs, b.prs");
    const PString file = wide(dir.write("a.prs", "a:" + sLongKey + " = " + sLong));
    dir.write("b.prs", "b = " + sLong);
    const std::vector<PString> args = {wide(sLongKey + "=" + sLong), PString(L"a:b=c")};
    sweepLoad("IConfigManager::loadByID", [&] { return manager.loadByID(L"net", config); },
              {"a", "b"});
    sweepLoad("IConfigManager::loadByFile", [&] { return manager.loadByFile(file, config); },
              {"a"});
    sweepLoad("IConfigManager::loadByArgs", [&] { return manager.loadByArgs(args, config); },
              {"a", sLongKey});
    sweepLoad("IConfigManager::loadByArgs of an array",
              [&] { return manager.loadByArgs(args.data(), 2, config); }, {"a", sLongKey});
}

TEST_F(ManagerMemorySweep, Appends)
{
    mapIDs("net = a.prs, b.prs");
    const PString file = wide(dir.write("a.prs", "a:" + sLongKey + " = " + sLong));
    dir.write("b.prs", "b = " + sLong);
    const std::vector<PString> args = {wide(sLongKey + "=" + sLong), PString(L"a:b=c")};
    sweepAppend("IConfigManager::appendByID", [&] { return manager.appendByID(L"net", config); },
                {"a", "b", "own"});
    sweepAppend("IConfigManager::appendByFile", [&] { return manager.appendByFile(file, config); },
                {"a", "own"});
    sweepAppend("IConfigManager::appendByArgs", [&] { return manager.appendByArgs(args, config); },
                {"a", sLongKey, "own"});
    sweepAppend("IConfigManager::appendByArgs of an array",
                [&] { return manager.appendByArgs(args.data(), 2, config); },
                {"a", sLongKey, "own"});
}

TEST_F(ManagerMemorySweep, AppendsKeepTheEntriesBeforeTheOneThatFailed)
{
    const std::string end = "=" + sManyChars;
    const std::vector<PString> args = {wide("p1=" + sLargeText), wide("p2=" + sLargeText),
                                       wide("p3=" + sLargeText), wide("p4=" + sLargeText)};
    const std::string lines[] = {"p1" + end + "\n", "p2" + end + "\n", "p3" + end + "\n",
                                 "p4" + end + "\n"};
    const PString file = wide(dir.write("a.prs", lines[0] + lines[1] + lines[2] + lines[3]));
    dir.write("b.prs", lines[2] + lines[3]);
    dir.write("a2.prs", lines[0] + lines[1]);
    mapIDs("net = a2.prs, b.prs");

    sweepBeginnings("IConfigManager::appendByFile of many lines", sManyChars,
                    [&] { return manager.appendByFile(file, config); });
    sweepBeginnings("IConfigManager::appendByArgs of many arguments", sLargeText,
                    [&] { return manager.appendByArgs(args, config); });
    sweepBeginnings("IConfigManager::appendByArgs of an array of many arguments", sLargeText,
                    [&] { return manager.appendByArgs(args.data(), 4, config); });
    sweepBeginnings("IConfigManager::appendByID of two files", sManyChars,
                    [&] { return manager.appendByID(L"net", config); });
}

TEST_F(ManagerMemorySweep, RunTimeValues)
{
    const Write writes[] = {
        {"IConfigManager::setString", [&] { return manager.setString(L"net", key, value); }, sLong},
        {"IConfigManager::setInt32", [&] { return manager.setInt32(L"net", key, -5); }, "-5"},
        {"IConfigManager::setUint32", [&] { return manager.setUint32(L"net", key, 5); }, "5"},
        {"IConfigManager::setInt64", [&] { return manager.setInt64(L"net", key, -5); }, "-5"},
        {"IConfigManager::setUint64", [&] { return manager.setUint64(L"net", key, 5); }, "5"},
        {"IConfigManager::setBool", [&] { return manager.setBool(L"net", key, true); }, "true"},
        {"IConfigManager::setBinary",
         [&] { return manager.setBinary(L"net", key, sBlock.data(), 200); }, _digits(sBlock)}};
    for (const Write& write : writes)
    {
        sweepSet(write);
    }
}

TEST_F(ManagerMemorySweep, RunTimeAttributes)
{
    config = loadID("net");
    set("net", "k", "1");
    const Write writes[] = {
        {"IConfigManager::setAttrString",
         [&] { return manager.setAttrString(L"net", L"k", key, value); }, sLong},
        {"IConfigManager::setAttrInt32",
         [&] { return manager.setAttrInt32(L"net", L"k", key, -5); }, "-5"},
        {"IConfigManager::setAttrUint32",
         [&] { return manager.setAttrUint32(L"net", L"k", key, 5); }, "5"},
        {"IConfigManager::setAttrInt64",
         [&] { return manager.setAttrInt64(L"net", L"k", key, -5); }, "-5"},
        {"IConfigManager::setAttrUint64",
         [&] { return manager.setAttrUint64(L"net", L"k", key, 5); }, "5"},
        {"IConfigManager::setAttrBool",
         [&] { return manager.setAttrBool(L"net", L"k", key, true); }, "true"},
        {"IConfigManager::setAttrBinary",
         [&] { return manager.setAttrBinary(L"net", L"k", key, sBlock.data(), 200); },
         _digits(sBlock)}};
    for (const Write& write : writes)
    {
        sweepSetAttr(write);
    }
}

TEST_F(ManagerMemorySweep, RemovalOfRunTimeValues)
{
    config = loadID("net");
    sweepAllocations({
        .operation = "IConfigManager::removeSetKey",
        .before = [&] { set("net", sLongKey, "1"); },
        .run = [&] { return manager.removeSetKey(L"net", key); },
        .done = [&] { EXPECT_EQ("<-504>", dynamicOf(manager, "net", sLongKey)); },
    });
    set("net", "k", "1");
    sweepAllocations({
        .operation = "IConfigManager::removeSetAttr",
        .before = [&] { setAttr("net", "k", sLongKey, "1"); },
        .run = [&] { return manager.removeSetAttr(L"net", L"k", key); },
        .done = [&] { EXPECT_EQ("<-504>", attrOf(config, "k", sLongKey)); },
    });
}

TEST_F(ManagerMemorySweep, StoredValues)
{
    openStore();
    const std::string before = "net|old = " + sLong + "\n";
    const Write writes[] = {
        {"IConfigManager::storeString", [&] { return manager.storeString(L"net", key, value); },
         sLong},
        {"IConfigManager::storeInt32", [&] { return manager.storeInt32(L"net", key, -5); }, "-5"},
        {"IConfigManager::storeUint32", [&] { return manager.storeUint32(L"net", key, 5); }, "5"},
        {"IConfigManager::storeInt64", [&] { return manager.storeInt64(L"net", key, -5); }, "-5"},
        {"IConfigManager::storeUint64", [&] { return manager.storeUint64(L"net", key, 5); }, "5"},
        {"IConfigManager::storeBool", [&] { return manager.storeBool(L"net", key, true); }, "true"},
        {"IConfigManager::storeBinary",
         [&] { return manager.storeBinary(L"net", key, sBlock.data(), 200); }, _digits(sBlock)}};
    const std::string name = "net|" + sLongKey + " = ";
    for (const Write& write : writes)
    {
        sweepStore(write, before, (name + write.text).append("\n").append(before));
    }
}

TEST_F(ManagerMemorySweep, StoredAttributes)
{
    openStore();
    const std::string before = "net|old = " + sLong + "\n";
    const Write writes[] = {
        {"IConfigManager::storeAttrString",
         [&] { return manager.storeAttrString(L"net", L"old", key, value); }, sLong},
        {"IConfigManager::storeAttrInt32",
         [&] { return manager.storeAttrInt32(L"net", L"old", key, -5); }, "-5"},
        {"IConfigManager::storeAttrUint32",
         [&] { return manager.storeAttrUint32(L"net", L"old", key, 5); }, "5"},
        {"IConfigManager::storeAttrInt64",
         [&] { return manager.storeAttrInt64(L"net", L"old", key, -5); }, "-5"},
        {"IConfigManager::storeAttrUint64",
         [&] { return manager.storeAttrUint64(L"net", L"old", key, 5); }, "5"},
        {"IConfigManager::storeAttrBool",
         [&] { return manager.storeAttrBool(L"net", L"old", key, true); }, "true"},
        {"IConfigManager::storeAttrBinary",
         [&] { return manager.storeAttrBinary(L"net", L"old", key, sBlock.data(), 200); },
         _digits(sBlock)}};
    const std::string name = before + "net|old:" + sLongKey + " = ";
    for (const Write& write : writes)
    {
        sweepStore(write, before, (name + write.text).append("\n"));
    }
}

TEST_F(ManagerMemorySweep, RemovalOfStoredValues)
{
    openStore();
    const std::string kept = "net|k = 1\n";
    sweepStore({"IConfigManager::removeStoredKey",
                [&] { return manager.removeStoredKey(L"net", key); }, ""},
               kept + "net|" + sLongKey + " = " + sLong + "\n", kept);
    sweepStore({"IConfigManager::removeStoredAttr",
                [&] { return manager.removeStoredAttr(L"net", L"k", key); }, ""},
               kept + "net|k:" + sLongKey + " = " + sLong + "\n", kept);
}

// The value also stays for readers that have already read the store.
TEST_F(ManagerMemorySweep, RemovalOfAStoredValueThatWasRead)
{
    openStore();
    config = byID("net");
    const std::string before = "net|" + sLongKey + " = " + sLong + "\n";
    sweepAllocations({.operation = "IConfigManager::removeStoredKey of a value that was read",
                      .before =
                          [&]
                      {
                          dir.write("store.txt", before);
                          manager.cleanup();
                          EXPECT_EQ(sLong, valueOf(config, sLongKey));
                      },
                      .run = [&] { return manager.removeStoredKey(L"net", key); },
                      .unchanged =
                          [&]
                      {
                          EXPECT_EQ(before, storeText());
                          EXPECT_EQ(sLong, valueOf(config, sLongKey));
                      },
                      .done = [&] { EXPECT_EQ("<-504>", valueOf(config, sLongKey)); },
                      .spares = sExactRoom});
}

TEST_F(ManagerMemorySweep, Registrations)
{
    const auto undo = [&]
    {
        EXPECT_EQ(0, manager.removeListener(L"net", value));
    };
    sweepAllocations({.operation = "IConfigManager::addListener",
                      .run = [&] { return manager.addListener(L"net", value); },
                      .unchanged = [&] { EXPECT_EQ(-504, manager.removeListener(L"net", value)); },
                      .undo = undo});
    sweepAllocations({.operation = "IConfigManager::addListener of a second topic",
                      .before = [&] { ASSERT_EQ(0, manager.addListener(L"net", L"T")); },
                      .run = [&] { return manager.addListener(L"net", value); },
                      .unchanged = [&] { EXPECT_EQ(-512, manager.addListener(L"net", L"T")); },
                      .undo =
                          [&]
                      {
                          undo();
                          EXPECT_EQ(0, manager.removeListener(L"net", L"T"));
                      }});
    sweepAllocations({
        .operation = "IConfigManager::removeListener",
        .before = [&] { ASSERT_EQ(0, manager.addListener(L"net", value)); },
        .run = [&] { return manager.removeListener(L"net", value); },
        .done = [&] { EXPECT_EQ(-504, manager.removeListener(L"net", value)); },
    });
}

TEST_F(ManagerMemorySweep, BuildingBlocks)
{
    const PString line = wide(sLongKey + ":" + sLongKey + " = " + sLong);
    PConfigValues values;
    const auto sweep = [&](const char* iOperation, const std::function<int()>& iRun)
    {
        sweepAllocations({
            .operation = iOperation,
            .run = iRun,
            .unchanged = [&] { EXPECT_EQ(0u, values.size()); },
            .done = [&] { EXPECT_NE(nullptr, values.find(key)); },
            .undo = [&] { values.clear(); },
        });
    };
    sweep("PConfigRecords::_addValue",
          [&] { return PConfigRecords::_addValue(values, key, value); });
    sweep("PConfigRecords::_addAttrValue",
          [&] { return PConfigRecords::_addAttrValue(values, key, key, value); });
}

TEST_F(ManagerEventMemorySweep, SetsThatAreAnnounced)
{
    announce(L"A", L"T");
    const PString key = wide(sLongKey);
    PBaseptr<IConfig> config;
    ASSERT_EQ(0, manager->loadByID(L"A", config));
    sweepAllocations({.operation = "IConfigManager::setString with a topic",
                      .run = [&] { return manager->setString(L"A", key, L"1"); },
                      .unchanged = [&] { EXPECT_EQ("<-504>", dynamic(sLongKey)); },
                      .done = [&] { EXPECT_EQ("1", dynamic(sLongKey)); },
                      .undo = [&] { EXPECT_EQ(0, manager->removeSetKey(L"A", key)); },
                      .spares = sExactRoom});
    ASSERT_EQ(0, manager->setString(L"A", L"k", L"1"));
    sweepAllocations({.operation = "IConfigManager::setAttrString with a topic",
                      .run = [&] { return manager->setAttrString(L"A", L"k", key, L"1"); },
                      .unchanged = [&] { EXPECT_EQ("<-504>", attrOf(config, "k", sLongKey)); },
                      .done = [&] { EXPECT_EQ("1", attrOf(config, "k", sLongKey)); },
                      .undo = [&] { EXPECT_EQ(0, manager->removeSetAttr(L"A", L"k", key)); },
                      .spares = sExactRoom});
}

// The first use of the store allocates its path.
TEST_F(ManagerEventMemorySweep, FirstStoreOfAManager)
{
    PBaseptr<IConfigManager> own;
    const PString dir = core.dir.wideFile("config");
    const PString text = wide(sLong);
    sweepAllocations(
        {.operation = "IConfigManager::storeString for the first time",
         .before =
             [&]
         {
             own = PBaseptr<IConfigManager>::adopt(new PConfigManager);
             ASSERT_EQ(0, own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir", dir));
             PBaseptr<IConfig> config;
             ASSERT_EQ(0, own->loadByID(L"A", config));
         },
         .run = [&] { return own->storeString(L"A", L"k", text); },
         .done = [&] { EXPECT_EQ("A|k = " + sLong + "\n", readFile(core.storeFile())); },
         .undo =
             [&]
         {
             static_cast<PConfigManager&>(*own).cleanup();
             own.clear();
         },
         .spares = sExactRoom});
}

// A separate manager in a running core: its first operation looks up the logging service.
TEST_F(ManagerEventMemorySweep, FirstLoadOfAManager)
{
    PBaseptr<IConfigManager> own;
    PBaseptr<IConfig> config;
    sweepAllocations({.operation = "IConfigManager::loadByID for the first time",
                      .before =
                          [&]
                      {
                          own = PBaseptr<IConfigManager>::adopt(new PConfigManager);
                          ASSERT_EQ(0,
                                    own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir",
                                                   core.dir.wideFile("config")));
                      },
                      .run = [&] { return own->loadByID(L"fresh", config); },
                      .unchanged = [&] { EXPECT_FALSE(config); },
                      .done = [&] { EXPECT_TRUE(config); },
                      .undo =
                          [&]
                      {
                          config.clear();
                          static_cast<PConfigManager&>(*own).cleanup();
                          own.clear();
                      },
                      .spares = sExactRoom});
}
