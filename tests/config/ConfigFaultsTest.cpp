// SPDX-License-Identifier: MIT
#include "config/ConfigEventsTest.h"
#include "config/ConfigTest.h"
#include "config/PConfig.h"

#include "Ixla.h"
#include "support/PortFaults.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <utility>

using testing::ElementsAre;

namespace fs = std::filesystem;

namespace
{
class ConfigFaults : public ConfigTest
{
protected:
    explicit ConfigFaults(PConfigManager* iManager = new PConfigManager) : ConfigTest(iManager)
    {
    }

    ~ConfigFaults() override
    {
        PortFaults::reset();
    }
};

/// A manager with a loaded configuration and one stored value.
class ConfigLockFaults : public ConfigFaults
{
protected:
    ConfigLockFaults() : config(loadID("net", "own = 1\nown:const = true\nport = 80"))
    {
        store("net", "port", "90");
        set("net", "port", "8080");
        setAttr("net", "port", "unit", "tcp");
        EXPECT_EQ(manager.addListener(L"net", L"T"), 0);
    }

    typedef std::pair<std::function<int()>, std::string> Operation;

    /// Every operation that takes the lock, with its name.
    std::vector<Operation> operations()
    {
        return {
            {[this] { return manager.listIDs(ids); }, "listIDs"},
            {[this] { return manager.loadByID(L"net", config); }, "loadByID"},
            {[this] { return manager.appendByID(L"net", config); }, "appendByID"},
            {[this] { return manager.setString(L"net", L"new", L"1"); }, "setString"},
            {[this] { return manager.setInt32(L"net", L"new", 1); }, "setInt32"},
            {[this] { return manager.removeSetKey(L"net", L"port"); }, "removeSetKey"},
            {[this] { return manager.setAttrString(L"net", L"port", L"new", L"1"); },
             "setAttrString"},
            {[this] { return manager.removeSetAttr(L"net", L"port", L"unit"); }, "removeSetAttr"},
            {[this] { return manager.storeString(L"net", L"new", L"1"); }, "storeString"},
            {[this] { return manager.removeStoredKey(L"net", L"port"); }, "removeStoredKey"},
            {[this] { return manager.storeAttrString(L"net", L"port", L"new", L"1"); },
             "storeAttrString"},
            {[this] { return manager.removeStoredAttr(L"net", L"port", L"unit"); },
             "removeStoredAttr"},
            {[this] { return manager.addListener(L"net", L"U"); }, "addListener"},
            {[this] { return manager.removeListener(L"net", L"T"); }, "removeListener"},
            {[this] { return manager.findDynamicValue(L"net", L"port", record); },
             "findDynamicValue"},
            {[this] { return manager.getDynamicString(L"net", L"port", text); },
             "getDynamicString"},
            {[this] { return manager.findLoadedValue(L"net", L"port", record); },
             "findLoadedValue"},
            {[this] { return manager.getLoadedString(L"net", L"port", text); }, "getLoadedString"},
        };
    }

    PBaseptr<IConfig> config;
    std::vector<PString> ids;
    PConfigValue* record = nullptr;
    PString text;
};

class ConfigStoreFaults : public ConfigEventsTest
{
protected:
    ConfigStoreFaults()
    {
        PBaseptr<IConfig> config;
        EXPECT_EQ(manager->loadByID(L"net", config), 0);
        EXPECT_EQ(manager->storeString(L"net", L"port", L"1"), 0);
    }

    ~ConfigStoreFaults() override
    {
        PortFaults::reset();
    }

    int storeIt()
    {
        return manager->storeString(L"net", L"port", L"2");
    }

    int logged(const std::string& iText) const
    {
        return countLines(core.pluginLogFile(), iText);
    }
};
} // namespace

TEST_F(ConfigLockFaults, EveryOperationReturnsTheCodeOfAFailedLock)
{
    for (const auto& [operation, name] : operations())
    {
        PortFaults::mutexLock.armOnThisThread(-77);
        EXPECT_EQ(operation(), -77) << name;
        PortFaults::mutexLock.disarm();
    }
    EXPECT_EQ(record, nullptr);
}

TEST_F(ConfigLockFaults, OperationsThatCannotLockChangeNothing)
{
    PortFaults::mutexLock.armOnThisThread(-77);
    for (const auto& [operation, name] : operations())
    {
        EXPECT_NE(operation(), 0) << name;
    }
    PortFaults::mutexLock.disarm();

    EXPECT_EQ(storeText(), "net|port = 90\n");
    EXPECT_EQ(valueOf(config, "port"), "8080");
    EXPECT_EQ(attrOf(config, "port", "unit"), "tcp");
    EXPECT_EQ(valueOf(config, "new"), "<-504>");
    EXPECT_EQ(manager.removeListener(L"net", L"T"), 0);
    EXPECT_EQ(manager.removeListener(L"net", L"U"), -504);
}

// The effect stays; the code of a failed unlock is not returned.
TEST_F(ConfigLockFaults, FailedUnlockIsNotReturned)
{
    for (const auto& [operation, name] : operations())
    {
        PortFaults::mutexUnlock.armOnThisThread(-78, 0, 1);
        EXPECT_NE(operation(), -78) << name;
        EXPECT_EQ(PortFaults::mutexUnlock.hits(), 1) << name;
        PortFaults::mutexUnlock.disarm();
    }
    EXPECT_EQ(dynamicOf(manager, "net", "new"), "1");
}

TEST_F(ConfigLockFaults, ReadersThatCannotLockReturnTheirOwnValues)
{
    PortFaults::mutexLock.armOnThisThread(-77);

    EXPECT_EQ(valueOf(config, "port"), "80");
    EXPECT_EQ(valueOf(config, "own"), "1");
    EXPECT_EQ(attrOf(config, "own", "const"), "true");
    EXPECT_EQ(attrOf(config, "port", "unit"), "<-504>");
}

TEST_F(ConfigLockFaults, ReadersThatKnowTheStoreLockNothing)
{
    EXPECT_EQ(valueOf(config, "port"), "8080");
    PortFaults::mutexLock.armOnThisThread(-77);

    EXPECT_EQ(valueOf(config, "port"), "8080");
    EXPECT_EQ(attrOf(config, "port", "unit"), "tcp");
    EXPECT_EQ(PortFaults::mutexLock.hits(), 0);
}

TEST_F(ConfigLockFaults, RecordsAreNotUsedWithoutTheReadersOwnLock)
{
    PortFaults::mutexLock.armOnThisThread(-77, 0, 1);

    EXPECT_EQ(valueOf(config, "port"), "80");
    EXPECT_EQ(valueOf(config, "port"), "8080");
}

TEST_F(ConfigLockFaults, ReadersWithoutIdLockNothing)
{
    const PBaseptr<IConfig> file = byFile("a = 1\na:const = true");
    PortFaults::mutexLock.armOnThisThread(-77);

    EXPECT_EQ(valueOf(file, "a"), "1");
    EXPECT_EQ(attrOf(file, "a", "const"), "true");
    EXPECT_EQ(PortFaults::mutexLock.hits(), 0);
}

TEST_F(ConfigLockFaults, FilesAndArgumentsAreReadWithoutTheLock)
{
    PortFaults::mutexLock.armOnThisThread(-77);

    EXPECT_THAT(keysOf(byFile("a = 1")), ElementsAre("a"));
    EXPECT_THAT(keysOf(byArgs({"b=1"})), ElementsAre("b"));
    EXPECT_EQ(PortFaults::mutexLock.hits(), 0);
}

TEST_F(ConfigLockFaults, NamesAreRefusedBeforeTheLockIsTaken)
{
    PortFaults::mutexLock.armOnThisThread(-77);

    EXPECT_EQ(manager.appendByID(L"a|b", config), -3004);
    EXPECT_EQ(manager.setString(L"a|b", L"K", L"1"), -3004);
    EXPECT_EQ(manager.removeSetKey(L"a|b", L"K"), -3004);
    EXPECT_EQ(manager.setAttrString(L"A", L"a|b", L"x", L"1"), -3004);
    EXPECT_EQ(manager.removeSetAttr(L"A", L"K", L"a|b"), -3004);
    EXPECT_EQ(manager.storeString(L"a|b", L"K", L"1"), -3004);
    EXPECT_EQ(manager.removeStoredKey(L"A", L"a|b"), -3004);
    EXPECT_EQ(manager.storeAttrString(L"A", L"K", L"a|b", L"1"), -3004);
    EXPECT_EQ(manager.removeStoredAttr(L"A", L"K", L"a|b"), -3004);
    EXPECT_EQ(PortFaults::mutexLock.hits(), 0);
}

TEST_F(ConfigFaults, ManagerWithoutAMutexRefusesEverything)
{
    PortFaults::mutexInit.armOnThisThread(-12);
    const PBaseptr<IConfigManager> own(new PConfigManager);
    PortFaults::mutexInit.disarm();

    EXPECT_EQ(own->setString(L"A", L"K", L"1"), -22);
    EXPECT_EQ(own->addListener(L"A", L"T"), -22);
}

TEST_F(ConfigFaults, ConfigurationOfAManagerWithoutAMutexReturnsItsOwnValues)
{
    PortFaults::mutexInit.armOnThisThread(-12);
    const PBaseptr<IConfigManager> own(new PConfigManager);
    PortFaults::mutexInit.disarm();
    const PBaseptr<IConfig> config = PBaseptr<IConfig>::adopt(new PConfig(own.get(), L"net"));
    const PString args[] = {L"a = 1"};
    ASSERT_EQ(own->appendByArgs(args, 1, config), 0);

    EXPECT_EQ(valueOf(config, "a"), "1");
    EXPECT_EQ(valueOf(config, "b"), "<-504>");
}

TEST_F(ConfigFaults, FailedConversionReturnsItsCodeAndSetsNothing)
{
    PortFaults::int32ToStr.armOnThisThread(-55);

    EXPECT_EQ(manager.setInt32(L"net", L"k", 1), -55);
    EXPECT_EQ(manager.setAttrInt32(L"net", L"k", L"a", 1), -55);
    EXPECT_EQ(manager.storeInt32(L"net", L"k", 1), -55);
    EXPECT_EQ(manager.storeAttrInt32(L"net", L"k", L"a", 1), -55);
    EXPECT_EQ(dynamicOf(manager, "net", "k"), "<-504>");
}

TEST_F(ConfigFaults, ConversionWithoutMemoryReturnsTheMemoryCode)
{
    PortFaults::int32ToStr.armOnThisThread(-12);

    EXPECT_EQ(manager.setInt32(L"net", L"k", 1), -501);
}

TEST_F(ConfigFaults, StoreFileThatCannotBeCreatedIsReportedByTheLoad)
{
    loadID("net");
    PortFaults::fileOpen.armOnThisThread(-13, 0, 1);

    EXPECT_EQ(manager.storeString(L"net", L"k", L"1"), -2);
    EXPECT_EQ(PortFaults::fileOpen.hits(), 1);
    EXPECT_EQ(manager.storeString(L"net", L"k", L"1"), 0);
}

TEST_F(ConfigStoreFaults, FailedDeleteIsLoggedAndKeepsTheFile)
{
    PortFaults::fileDelete.armOnThisThread(-13);
    EXPECT_EQ(storeIt(), -13);

    EXPECT_EQ(readFile(core.storeFile()), "net|port = 1\n");
    EXPECT_EQ(logged(" E pgs [nl_saveStore] Failed to delete old store file: (" + core.storeFile() +
                     ") err: -13"),
              1);
}

TEST_F(ConfigStoreFaults, FailedCreationIsLoggedAndTheFileIsLost)
{
    PortFaults::fileOpen.armOnThisThread(-28, 1);
    EXPECT_EQ(storeIt(), -28);

    EXPECT_FALSE(fs::exists(core.storeFile()));
    EXPECT_EQ(logged(" E pgs [nl_saveStore] Failed to create store file: (" + core.storeFile() +
                     ") err: -28"),
              1);
}

TEST_F(ConfigStoreFaults, ReturnsTheResultOfClosing)
{
    PortFaults::fileClose.armOnThisThread(-28, 1);

    EXPECT_EQ(storeIt(), -28);
}

TEST_F(ConfigFaults, RemovalFromTheSnapshotPrecedesAFailedSave)
{
    const PBaseptr<IConfig> config = loadID("net");
    store("net", "port", "1");
    EXPECT_EQ(valueOf(config, "port"), "1");
    PortFaults::fileDelete.armOnThisThread(-13);

    EXPECT_EQ(manager.removeStoredKey(L"net", L"port"), -13);
    EXPECT_EQ(valueOf(config, "port"), "<-504>");
    EXPECT_EQ(storeText(), "net|port = 1\n");
}

TEST_F(ConfigStoreFaults, UnreadableFileListIsLogged)
{
    core.writeManagerConfig("net = net.prs");
    const PBaseptr<IConfigManager> own(new PConfigManager);
    ASSERT_EQ(own->setString(kIxlaGlobalConfigId, L"core.plugins.config.dir",
                             core.dir.wideFile("config")),
              0);
    PBaseptr<IConfig> config;
    ASSERT_EQ(own->loadByID(L"net", config), 0);
    const std::string message = " E pgs [appendByID] Failed to load config for iID(net) err: -7";
    int result = 0;
    // The test does not assume which copy belongs to the list.
    for (int skip = 0; skip < 50 && logged(message) == 0; ++skip)
    {
        PortFaults::stringSet.armOnThisThread(-7, skip, 1);
        result = own->appendByID(L"net", config);
        PortFaults::stringSet.disarm();
    }

    EXPECT_EQ(logged(message), 1);
    EXPECT_EQ(result, -7);
    static_cast<PConfigManager&>(*own).cleanup();
}
