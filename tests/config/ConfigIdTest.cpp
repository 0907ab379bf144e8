// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "portinglayer/PLockGuard.h"
#include "support/SleepingThread.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class ConfigId : public ConfigTest
{
protected:
    int load(const std::string& iID)
    {
        return manager.loadByID(wide(iID), config);
    }

    int list()
    {
        return manager.listIDs(ids);
    }

    /// The reference count of the manager.
    int references()
    {
        const int count = manager.incRef();
        manager.decRef();
        return count - 1;
    }

    PBaseptr<IConfig> config;
    std::vector<PString> ids = {PString(L"stale")};
};
} // namespace

TEST_F(ConfigId, ReadsTheListedFilesOfTheConfigurationDirectory)
{
    mapIDs("plugin.a = a.prs, b.prs");
    dir.write("a.prs", "k = a\nonly.a = 1");
    dir.write("b.prs", "k = b");

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "b");
    EXPECT_EQ(valueOf(config, "only.a"), "1");
}

TEST_F(ConfigId, MissingFileLosesOnlyItsOwnEntries)
{
    mapIDs("plugin.a = a.prs, b.prs");
    dir.write("b.prs", "k = b");

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("k"));
}

TEST_F(ConfigId, BrokenFileLosesOnlyEntriesFromTheBadLineOn)
{
    mapIDs("plugin.a = a.prs, b.prs");
    dir.write("a.prs", "k1 = a\nbroken\nk2 = a");
    dir.write("b.prs", "k3 = b");

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("k1", "k3"));
}

TEST_F(ConfigId, LaterFilesOverrideValuesButNotAttributes)
{
    mapIDs("plugin.a = a.prs,b.prs");
    dir.write("a.prs", "k = a\nk:unit = a");
    dir.write("b.prs", "k = b\nk:unit = b");

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "b");
    EXPECT_EQ(attrOf(config, "k", "unit"), "a");
}

TEST_F(ConfigId, CustomPathReplacesTheDirectoryPath)
{
    mapIDs("plugin.a = a.prs");
    dir.write("a.prs", "k = directory");
    set("ixlap.global", "custom.config.a.prs", dir.write("elsewhere/other.prs", "k = custom"));

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "custom");
}

TEST_F(ConfigId, BareCustomNameIsLookedUpInTheDirectory)
{
    mapIDs("plugin.a = a.prs");
    dir.write("other.prs", "k = other");
    set("ixlap.global", "custom.config.a.prs", "other.prs");

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "other");
}

TEST_F(ConfigId, NameWithSlashIsUsedUnchanged)
{
    mapIDs("plugin.a = " + dir.write("sub/a.prs", "k = sub"));

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "sub");
}

TEST_F(ConfigId, BackslashesOfANameAreSeparators)
{
    std::string path = dir.write("sub/a.prs", "k = sub");
    std::replace(path.begin(), path.end(), '/', '\\');
    mapIDs("plugin.a = " + path);

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "sub");
}

TEST_F(ConfigId, BackslashesOfACustomPathAreSeparators)
{
    std::string path = dir.write("elsewhere/other.prs", "k = custom");
    std::replace(path.begin(), path.end(), '/', '\\');
    mapIDs("plugin.a = a.prs");
    set("ixlap.global", "custom.config.a.prs", path);

    ASSERT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "custom");
}

TEST_F(ConfigId, DirectoryMayEndWithASlash)
{
    ASSERT_EQ(manager.removeSetKey(L"ixlap.global", L"core.plugins.config.dir"), 0);
    set("ixlap.global", "core.plugins.config.dir", dir.path().string() + "/");

    EXPECT_EQ(valueOf(loadID("plugin.a", "k = 1"), "k"), "1");
}

TEST_F(ConfigId, WithoutDirectoryNamesAreRelativeToTheWorkingDirectory)
{
    ASSERT_EQ(manager.removeSetKey(L"ixlap.global", L"core.plugins.config.dir"), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    const std::string value = valueOf(loadID("plugin.a", "k = 1"), "k");
    std::filesystem::current_path(before);

    EXPECT_EQ(value, "1");
}

TEST_F(ConfigId, UnlistedIdIsAnEmptyConfiguration)
{
    mapIDs("plugin.a = a.prs");

    EXPECT_EQ(load("plugin.b"), 0);
    ASSERT_TRUE(config);
    EXPECT_THAT(keysOf(config), IsEmpty());
}

TEST_F(ConfigId, AppendOfAnUnlistedIdDoesNotChangeTheTarget)
{
    mapIDs("");
    config = byArgs({"a=1"});

    EXPECT_EQ(manager.appendByID(L"plugin.b", config), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("a"));
}

TEST_F(ConfigId, AppendsToAConfigurationThatKeepsItsEntries)
{
    mapIDs("plugin.a = a.prs");
    dir.write("a.prs", "b = 2");
    config = byArgs({"a=1"});

    EXPECT_EQ(manager.appendByID(L"plugin.a", config), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("a", "b"));
}

TEST_F(ConfigId, IdWithSeparatorIsRefusedBeforeAnythingIsRead)
{
    for (const char* id : {"a:b", "a=b", "a|b"})
    {
        EXPECT_EQ(load(id), -3004) << id;
    }
    EXPECT_FALSE(config);
    EXPECT_EQ(list(), -2002);
}

TEST_F(ConfigId, MissingManagerConfigurationIsReadAgainAtEveryCall)
{
    EXPECT_EQ(load("plugin.a"), -2);
    EXPECT_EQ(load("plugin.a"), -2);
    EXPECT_FALSE(config);
    mapIDs("plugin.a = a.prs");
    dir.write("a.prs", "k = 1");

    EXPECT_EQ(load("plugin.a"), 0);
    EXPECT_EQ(valueOf(config, "k"), "1");
}

TEST_F(ConfigId, BrokenManagerConfigurationFailsTheLoad)
{
    mapIDs("no separator");

    EXPECT_EQ(load("plugin.a"), -3001);
    EXPECT_FALSE(config);
}

TEST_F(ConfigId, ManagerConfigurationIsReadOnce)
{
    mapIDs("plugin.a = a.prs");
    dir.write("a.prs", "k = 1");
    ASSERT_EQ(load("plugin.a"), 0);
    mapIDs("plugin.a = b.prs");

    EXPECT_EQ(valueOf(byID("plugin.a"), "k"), "1");
}

TEST_F(ConfigId, ManagerConfigurationCanBeRedirected)
{
    const std::string path =
        dir.write("else/where.prs", "plugin.a = " + dir.write("sub/a.prs", "k = 1"));
    set("ixlap.global", "custom.config.ixlap.configmanager.prs", path);

    EXPECT_EQ(valueOf(byID("plugin.a"), "k"), "1");
}

TEST_F(ConfigId, ListingFailsBeforeTheFirstLoadById)
{
    mapIDs("plugin.a = a.prs");

    EXPECT_EQ(list(), -2002);
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(ConfigId, ListsStoredIdsThenMappedIdsEachOnce)
{
    mapIDs("b = b.prs\na = a.prs\nz = z.prs");
    ASSERT_EQ(load("a"), 0);
    store("z", "k", "1");
    store("stored", "k", "1");
    store("stored", "l", "1");

    EXPECT_EQ(list(), 0);
    EXPECT_THAT(narrow(ids), ElementsAre("stored", "z", "a", "b"));
}

TEST_F(ConfigId, ListingSkipsStoreLinesWithoutId)
{
    mapIDs("a = a.prs\na|b = c.prs");
    dir.write("store.txt", "plain = 1\na!|k = 1\na|b|k = 1\na|k = 1");
    ASSERT_EQ(load("a"), 0);

    EXPECT_EQ(list(), 0);
    EXPECT_THAT(narrow(ids), ElementsAre("a!", "a", "a|b"));
}

TEST_F(ConfigId, ListingReadsTheStoreAgain)
{
    mapIDs("a = a.prs");
    ASSERT_EQ(load("a"), 0);
    EXPECT_THAT(idsOf(manager), ElementsAre("a"));
    dir.write("store.txt", "later|k = 1");

    EXPECT_THAT(idsOf(manager), ElementsAre("later", "a"));
}

TEST_F(ConfigId, ListingFailsWithAnEmptyListWithoutStoreFile)
{
    dir.write("ixlap.configmanager.prs", "a = a.prs");
    ASSERT_EQ(load("a"), 0);

    EXPECT_EQ(list(), -3003);
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(ConfigId, EmptyStoreFileNameCountsAsNone)
{
    dir.write("ixlap.configmanager.prs", "ixlap.configmanager.store.file =");
    ASSERT_EQ(load("a"), 0);

    EXPECT_EQ(list(), -3003);
}

TEST_F(ConfigId, BrokenStoreFailsTheListing)
{
    mapIDs("a = a.prs");
    dir.write("store.txt", "a|k = 1\nbroken");
    ASSERT_EQ(load("a"), 0);

    EXPECT_EQ(list(), -3001);
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(ConfigId, ListingReportsAMissingManagerConfigurationAfterCleanup)
{
    mapIDs("a = a.prs");
    ASSERT_EQ(load("a"), 0);
    ASSERT_EQ(list(), 0);
    manager.cleanup();
    std::filesystem::remove(dir.path() / "ixlap.configmanager.prs");

    EXPECT_EQ(list(), -2);
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(ConfigId, StorePathCannotBeResolvedAfterCleanup)
{
    mapIDs("a = a.prs");
    ASSERT_EQ(load("a"), 0);
    manager.cleanup();

    EXPECT_EQ(list(), -2002);
    EXPECT_EQ(manager.storeString(L"a", L"k", L"1"), -2002);
    EXPECT_EQ(manager.removeStoredKey(L"a", L"k"), -2002);
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "store.txt"));
}

TEST_F(ConfigId, ResolvedStorePathSurvivesCleanup)
{
    mapIDs("a = a.prs");
    ASSERT_EQ(load("a"), 0);
    store("a", "k", "1");
    manager.cleanup();

    store("a", "k", "2");
    EXPECT_EQ(storeText(), "a|k = 2\n");
}

TEST_F(ConfigId, CleanupWaitsForReadersThatHoldTheLock)
{
    PLockGuard lock(manager.lock().fMutex);
    std::promise<pid_t> started;
    std::atomic<bool> done{false};
    std::thread cleaner(
        [&]
        {
            started.set_value(gettid());
            manager.cleanup();
            done = true;
        });

    EXPECT_TRUE(waitUntilAsleep(started.get_future().get()));
    EXPECT_FALSE(done);
    EXPECT_EQ(lock.unlock(), 0);
    cleaner.join();
    EXPECT_TRUE(done);
}

TEST_F(ConfigId, CleanupBreaksTheCycleOfReferences)
{
    config = loadID("a", "k = 1");
    store("a", "k", "2");
    EXPECT_EQ(valueOf(config, "k"), "2");
    config.clear();

    EXPECT_EQ(references(), 3);
    manager.cleanup();
    EXPECT_EQ(references(), 1);
}

TEST_F(ConfigId, ListedIdAfterCleanupReleasesTheManagerConfigurationAgain)
{
    mapIDs("a = a.prs");
    manager.cleanup();

    ASSERT_EQ(load("a"), 0);
    config.clear();
    EXPECT_EQ(references(), 1);
}

TEST_F(ConfigId, UnlistedIdAfterCleanupKeepsTheManagerConfiguration)
{
    mapIDs("a = a.prs");
    manager.cleanup();

    ASSERT_EQ(load("b"), 0);
    config.clear();
    EXPECT_EQ(references(), 2);
}

TEST_F(ConfigId, HeldManagerConfigurationResolvesNoStorePathAfterCleanup)
{
    mapIDs("a = a.prs");
    manager.cleanup();
    ASSERT_EQ(load("b"), 0);

    EXPECT_EQ(list(), -2002);
}

TEST_F(ConfigId, EmptyTargetFailsEachFileButNotTheOperation)
{
    mapIDs("a = a.prs");
    dir.write("a.prs", "k = 1");

    EXPECT_EQ(manager.appendByID(L"a", PBaseptr<IConfig>()), 0);
}
