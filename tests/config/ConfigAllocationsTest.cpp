#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "config/PConfigChanged.h"
#include "config/PConfigPlugin.h"
#include "support/AllocationFaults.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{
/// Long enough for a buffer of its own everywhere.
const std::string sLong(300, 'x');
const std::string sLongKey(200, 'k');

/// Runs iOperation with its first, second, ... allocation failing until it needs no more, once
/// with all later ones failing too and once with just that one. It must return -501 or, having
/// found another way, 0; iUnchanged and iDone check what it left, and iUndo takes that back.
struct Sweep
{
    std::function<int()> operation;
    std::function<void()> unchanged = [] {
    };
    std::function<void()> done = [] {
    };
    std::function<void()> undo = [] {
    };

    void run() const
    {
        run(&AllocationFaults::failAfter);
        undo();
        run(&AllocationFaults::failOnceAfter);
    }

private:
    void run(void (*iArm)(int)) const
    {
        for (int skip = 0; skip < 2000; ++skip)
        {
            SCOPED_TRACE("allocations before the failing one: " + std::to_string(skip));
            iArm(skip);
            const int result = operation();
            AllocationFaults::disarm();
            const bool struck = AllocationFaults::struck();
            if (result == 0)
            {
                done();
            }
            else
            {
                EXPECT_EQ(result, -501);
                unchanged();
            }
            if (!struck)
            {
                EXPECT_EQ(result, 0);
                return;
            }
            if (result == 0)
            {
                undo();
            }
            if (testing::Test::HasFailure())
            {
                return;
            }
        }
        ADD_FAILURE() << "the operation never ran through";
    }
};

class ConfigAllocations : public ConfigTest
{
protected:
    /// A file of one entry; its key and its value are long.
    PString longFile() const
    {
        return wide(dir.write("long.prs", sLongKey + ":" + sLongKey + " = " + sLong + "\n" +
                                              sLongKey + " = " + sLong));
    }

    const PString key = wide(sLongKey);
    const PString value = wide(sLong);
    PBaseptr<IConfig> config;
};

class ConfigEventAllocations : public ConfigEventsTest
{
protected:
    /// The run-time value of an ID.
    std::string dynamic(const std::string& iID, const std::string& iKey)
    {
        return dynamicOf(static_cast<PConfigManager&>(*manager), iID, iKey);
    }
};
} // namespace

TEST_F(ConfigAllocations, TypedReadsOfShortValuesAllocateNothing)
{
    config = loadID("net", "own = 1\nown:a = 2\npinned = 3\npinned:const = true");
    store("net", "stored", "4");
    set("net", "dynamic", "5");
    int number = 0;
    ASSERT_EQ(config->getInt32(L"own", number), 0);
    bool truth = false;
    AllocationFaults::startCounting();
    for (const wchar_t* name : {L"own", L"pinned", L"stored", L"dynamic"})
    {
        EXPECT_EQ(config->getInt32(name, number), 0);
    }
    EXPECT_EQ(config->getAttrInt32(L"own", L"a", number), 0);
    EXPECT_EQ(config->getBool(L"own", truth), 0);
    EXPECT_EQ(config->getInt32(L"absent", number), -504);

    EXPECT_EQ(AllocationFaults::counted(), 0);
}

TEST_F(ConfigAllocations, ReadsWithoutAStoreFileAllocateNothingEither)
{
    dir.write("ixlap.configmanager.prs", "net = net.prs");
    dir.write("net.prs", "own = 1");
    config = byID("net");
    int number = 0;
    AllocationFaults::startCounting();
    EXPECT_EQ(config->getInt32(L"own", number), 0);

    EXPECT_EQ(AllocationFaults::counted(), 0);
}

TEST_F(ConfigAllocations, TextReadIntoARoomyTextAllocatesNothing)
{
    config = loadID("net", "own = some text\nown:a = " + sLong);
    PString text;
    ASSERT_EQ(text.reserve(400), 0);
    ASSERT_EQ(config->getString(L"own", text), 0);
    AllocationFaults::startCounting();
    EXPECT_EQ(config->getString(L"own", text), 0);
    EXPECT_EQ(config->getAttrString(L"own", L"a", text), 0);

    EXPECT_EQ(AllocationFaults::counted(), 0);
}

TEST_F(ConfigAllocations, SetOfAnExistingValueAllocatesNothing)
{
    set("net", "k", "1");
    setAttr("net", "k", "a", "1");
    AllocationFaults::startCounting();
    EXPECT_EQ(manager.setInt32(L"net", L"k", 2), 0);
    EXPECT_EQ(manager.setAttrInt32(L"net", L"k", L"a", 2), 0);
    EXPECT_EQ(manager.removeSetAttr(L"net", L"k", L"b"), 0);
    EXPECT_EQ(manager.removeListener(L"net", L"T"), -504);

    EXPECT_EQ(AllocationFaults::counted(), 0);
}

TEST_F(ConfigAllocations, FailedKeyListingKeepsTheVector)
{
    config = byFile(sLongKey + " = 1\na = 1\nb = 1");
    std::vector<PString> keys = {PString(L"old")};
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getKeys(keys);
    };
    sweep.unchanged = [&]
    {
        EXPECT_THAT(narrow(keys), ElementsAre("old"));
    };
    sweep.done = [&]
    {
        EXPECT_THAT(keys, SizeIs(3));
    };
    sweep.undo = [&]
    {
        keys = {PString(L"old")};
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedAttributeListingKeepsTheVector)
{
    config = byFile("a:" + sLongKey + " = 1\na:b = 1\na:c = 1");
    std::vector<PString> names = {PString(L"old")};
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getAttributes(L"a", names);
    };
    sweep.unchanged = [&]
    {
        EXPECT_THAT(narrow(names), ElementsAre("old"));
    };
    sweep.done = [&]
    {
        EXPECT_THAT(names, SizeIs(4));
    };
    sweep.undo = [&]
    {
        names = {PString(L"old")};
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedTextReadKeepsTheText)
{
    config = loadID("net");
    set("net", sLongKey, sLong);
    PString text;
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getString(key, text);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(text, L"");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(narrow(text), sLong);
    };
    sweep.undo = [&]
    {
        text = PString();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedAttributeReadKeepsTheText)
{
    config = loadID("net");
    store("net", sLongKey, "1");
    storeAttr("net", sLongKey, "a", sLong);
    PString text;
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getAttrString(key, L"a", text);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(text, L"");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(narrow(text), sLong);
    };
    sweep.undo = [&]
    {
        text = PString();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedTypedReadKeepsTheNumber)
{
    config = byFile("a = " + std::string(300, '0') + "7");
    int number = 1;
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getInt32(L"a", number);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(number, 1);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(number, 7);
    };
    sweep.undo = [&]
    {
        number = 1;
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedBinaryReadKeepsThePointer)
{
    config = byFile("a = 0102");
    unsigned char* data = nullptr;
    unsigned int size = 0;
    Sweep sweep;
    sweep.operation = [&]
    {
        return config->getBinary(L"a", data, size);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(data, nullptr);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(size, 2u);
    };
    sweep.undo = [&]
    {
        delete[] data;
        data = nullptr;
        size = 0;
    };
    sweep.run();
    sweep.undo();
}

TEST_F(ConfigAllocations, FirstReadOfAStoredValueNeverAnswersWithAnotherOne)
{
    config = loadID("net", sLongKey + " = own");
    store("net", sLongKey, "stored");
    PString text;
    Sweep sweep;
    sweep.operation = [&]
    {
        manager.cleanup();
        return config->getString(key, text);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(text, L"");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(text, L"stored");
    };
    sweep.undo = [&]
    {
        text = PString();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedFileLoadKeepsTheArgument)
{
    const PString path = longFile();
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.loadByFile(path, config);
    };
    sweep.unchanged = [&]
    {
        EXPECT_FALSE(config);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(attrOf(config, sLongKey, sLongKey), sLong);
    };
    sweep.undo = [&]
    {
        config.clear();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedArgumentLoadKeepsTheArgument)
{
    const std::vector<PString> args = {wide(sLongKey + "=" + sLong), PString(L"a:b=c")};
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.loadByArgs(args, config);
    };
    sweep.unchanged = [&]
    {
        EXPECT_FALSE(config);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(valueOf(config, sLongKey), sLong);
    };
    sweep.undo = [&]
    {
        config.clear();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedLoadByIdKeepsTheArgument)
{
    mapIDs("net = a.prs, b.prs");
    dir.write("a.prs", "a = " + sLong);
    dir.write("b.prs", "b = " + sLong);
    Sweep sweep;
    sweep.operation = [&]
    {
        manager.cleanup();
        return manager.loadByID(L"net", config);
    };
    sweep.unchanged = [&]
    {
        EXPECT_FALSE(config);
    };
    sweep.done = [&]
    {
        EXPECT_THAT(keysOf(config), ElementsAre("a", "b"));
    };
    sweep.undo = [&]
    {
        config.clear();
    };
    sweep.run();
}

TEST_F(ConfigAllocations, AppendByIdEndsWithTheMissingFileOfLackingMemory)
{
    mapIDs("net = a.prs, b.prs");
    dir.write("a.prs", "a = 1");
    dir.write("b.prs", "b = 1");
    config = byArgs({"own=1"});
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.appendByID(L"net", config);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(valueOf(config, "own"), "1");
    };
    sweep.done = [&]
    {
        EXPECT_THAT(keysOf(config), ElementsAre("a", "b", "own"));
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedListingLeavesAnEmptyVector)
{
    mapIDs("net = a.prs\n" + sLongKey + " = b.prs");
    byID("net");
    store(sLong, "k", "1");
    std::vector<PString> ids;
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.listIDs(ids);
    };
    sweep.unchanged = [&]
    {
        EXPECT_THAT(ids, IsEmpty());
    };
    sweep.done = [&]
    {
        EXPECT_THAT(narrow(ids), ElementsAre(sLong, sLongKey, "net"));
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedSetLeavesNoKey)
{
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.setString(L"net", key, value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(dynamicOf(manager, "net", sLongKey), "<-504>");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(dynamicOf(manager, "net", sLongKey), sLong);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeSetKey(L"net", key), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedAttributeSetLeavesNoAttribute)
{
    config = loadID("net");
    set("net", "k", "1");
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.setAttrString(L"net", L"k", key, value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(attrOf(config, "k", sLongKey), "<-504>");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(attrOf(config, "k", sLongKey), sLong);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeSetAttr(L"net", L"k", key), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedBinarySetLeavesNoKey)
{
    const std::vector<unsigned char> block(400, 0xab);
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.setBinary(L"net", L"k", block.data(), 400);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(dynamicOf(manager, "net", "k"), "<-504>");
    };
    sweep.done = [&]
    {
        EXPECT_THAT(dynamicOf(manager, "net", "k"), SizeIs(800));
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeSetKey(L"net", L"k"), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedRegistrationLeavesNone)
{
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.addListener(L"net", value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(manager.removeListener(L"net", value), -504);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeListener(L"net", value), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedSecondRegistrationKeepsTheFirst)
{
    ASSERT_EQ(manager.addListener(L"net", L"T"), 0);
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.addListener(L"net", value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(manager.addListener(L"net", L"T"), -512);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeListener(L"net", value), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedStoreNeverCostsTheOldContent)
{
    loadID("net");
    store("net", "old", sLong);
    const std::string before = storeText();
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.storeString(L"net", key, value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(storeText(), before);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(storeText(), "net|" + sLongKey + " = " + sLong + "\n" + before);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeStoredKey(L"net", key), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedAttributeStoreNeverCostsTheOldContent)
{
    loadID("net");
    store("net", "old", sLong);
    const std::string before = storeText();
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.storeAttrString(L"net", L"old", key, value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(storeText(), before);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(storeText(), before + "net|old:" + sLongKey + " = " + sLong + "\n");
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager.removeStoredAttr(L"net", L"old", key), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedRemovalOfAStoredKeyKeepsItForReadersToo)
{
    config = loadID("net");
    store("net", sLongKey, sLong);
    const std::string before = storeText();
    EXPECT_EQ(valueOf(config, sLongKey), sLong);
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.removeStoredKey(L"net", key);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(storeText(), before);
        EXPECT_EQ(valueOf(config, sLongKey), sLong);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(storeText(), "");
    };
    sweep.undo = [&]
    {
        manager.cleanup();
        store("net", sLongKey, sLong);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedRemovalOfAStoredAttributeKeepsIt)
{
    loadID("net");
    store("net", "k", "1");
    storeAttr("net", "k", sLongKey, sLong);
    const std::string before = storeText();
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager.removeStoredAttr(L"net", L"k", key);
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(storeText(), before);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(storeText(), "net|k = 1\n");
    };
    sweep.undo = [&]
    {
        storeAttr("net", "k", sLongKey, sLong);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedPrimitivesLeaveTheMapAsItWas)
{
    PConfigValues values;
    Sweep sweep;
    sweep.operation = [&]
    {
        return PConfigManager::_addValue(values, key, value);
    };
    sweep.unchanged = [&]
    {
        EXPECT_TRUE(values.empty());
    };
    sweep.undo = [&]
    {
        values.clear();
    };
    sweep.run();
    values.clear();
    sweep.operation = [&]
    {
        return PConfigManager::_addAttrValue(values, key, key, value);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedPluginInitKeepsTheEarlierManager)
{
    const PBaseptr<IPlugin> plugin(new PConfigPlugin);
    IBase* before = nullptr;
    ASSERT_EQ(plugin->init(), 0);
    ASSERT_EQ(plugin->getInstance(kIxlaConfigManagerId, before), 0);
    Sweep sweep;
    sweep.operation = [&]
    {
        return plugin->init();
    };
    sweep.unchanged = [&]
    {
        IBase* instance = nullptr;
        EXPECT_EQ(plugin->getInstance(kIxlaConfigManagerId, instance), 0);
        EXPECT_EQ(instance, before);
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(plugin->getInstance(kIxlaConfigManagerId, before), 0);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedInterfaceListIsNullWithACountOfZero)
{
    const PBaseptr<IPlugin> plugin(new PConfigPlugin);
    std::unique_ptr<PString[]> ids;
    unsigned int count = 7;
    Sweep sweep;
    sweep.operation = [&]
    {
        count = 7;
        ids.reset(plugin->getInterfaces(count));
        return ids ? 0 : -501;
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(count, 0u);
    };
    sweep.done = [&]
    {
        EXPECT_EQ(count, 1u);
    };
    sweep.run();
}

TEST_F(ConfigAllocations, FailedReadOfAnEventKeepsTheText)
{
    const PBaseptr<IConfigChanged> event(
        new PConfigChanged(IConfigChanged::eValueSet, value, value, value));
    PString text;
    Sweep sweep;
    sweep.unchanged = [&]
    {
        EXPECT_EQ(text, L"");
    };
    sweep.undo = [&]
    {
        text = PString();
    };
    sweep.operation = [&]
    {
        return event->getID(text);
    };
    sweep.run();
    text = PString();
    sweep.operation = [&]
    {
        return event->getKey(text);
    };
    sweep.run();
    text = PString();
    sweep.operation = [&]
    {
        return event->getAttribute(text);
    };
    sweep.run();
}

TEST_F(ConfigEventAllocations, SetThatLacksMemoryChangesNothingAndAnnouncesNothing)
{
    announce(L"A", L"T");
    const PString key = wide(sLongKey);
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager->setString(L"A", key, L"1");
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(dynamic("A", sLongKey), "<-504>");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(dynamic("A", sLongKey), "1");
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager->removeSetKey(L"A", key), 0);
    };
    sweep.run();
}

TEST_F(ConfigEventAllocations, AttributeSetThatLacksMemoryChangesNothing)
{
    announce(L"A", L"T");
    const PString name = wide(sLongKey);
    ASSERT_EQ(manager->setString(L"A", L"k", L"1"), 0);
    PBaseptr<IConfig> config;
    ASSERT_EQ(manager->loadByID(L"A", config), 0);
    Sweep sweep;
    sweep.operation = [&]
    {
        return manager->setAttrString(L"A", L"k", name, L"1");
    };
    sweep.unchanged = [&]
    {
        EXPECT_EQ(attrOf(config, "k", sLongKey), "<-504>");
    };
    sweep.done = [&]
    {
        EXPECT_EQ(attrOf(config, "k", sLongKey), "1");
    };
    sweep.undo = [&]
    {
        EXPECT_EQ(manager->removeSetAttr(L"A", L"k", name), 0);
    };
    sweep.run();
}

TEST_F(ConfigEventAllocations, FirstLoadThatLacksMemoryCanBeRepeated)
{
    const PBaseptr<IConfigManager> own(new PConfigManager);
    PConfigManager& implementation = static_cast<PConfigManager&>(*own);
    ASSERT_EQ(own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir",
                             core.dir.wideFile("config")),
              0);
    PBaseptr<IConfig> config;
    Sweep sweep;
    sweep.operation = [&]
    {
        return implementation.loadByID(L"fresh", config);
    };
    sweep.unchanged = [&]
    {
        EXPECT_FALSE(config);
    };
    sweep.done = [&]
    {
        EXPECT_TRUE(config);
    };
    sweep.undo = [&]
    {
        config.clear();
        implementation.cleanup();
    };
    sweep.run();
    implementation.cleanup();
}
