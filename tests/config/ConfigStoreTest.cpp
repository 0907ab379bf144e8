// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

using testing::IsEmpty;

namespace fs = std::filesystem;

namespace
{
/// The configuration "net", without files, is the reader of this process.
class ConfigStore : public ConfigTest
{
protected:
    ConfigStore() : net(loadID("net"))
    {
    }

    /// The value that a reader in the next process gets.
    std::string reread(const std::string& iID, const std::string& iKey)
    {
        PBaseptr<IConfigManager> next(new PConfigManager);
        PConfigManager& implementation = static_cast<PConfigManager&>(*next);
        PBaseptr<IConfig> config;
        EXPECT_EQ(
            next->setString(L"ixlap.global", L"core.plugins.config.dir", wide(dir.path().string())),
            0);
        EXPECT_EQ(next->loadByID(wide(iID), config), 0);
        std::string value = valueOf(config, iKey);
        implementation.cleanup();
        return value;
    }

    std::string loadedOf(const std::string& iID, const std::string& iKey)
    {
        PString text;
        const int result = manager.getLoadedString(wide(iID), wide(iKey), text);
        return result == 0 ? narrow(text) : "<" + std::to_string(result) + ">";
    }

    PBaseptr<IConfig> net;
};

/// Limits the size of files until the end of its scope, as a full disk would.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t iBytes)
    {
        getrlimit(RLIMIT_FSIZE, &fBefore);
        rlimit limit = fBefore;
        limit.rlim_cur = iBytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &fBefore);
    }

private:
    rlimit fBefore{};
};
} // namespace

TEST_F(ConfigStore, FirstStoreCreatesAFileOfOneLine)
{
    ASSERT_FALSE(fs::exists(dir.path() / "store.txt"));
    store("net", "port", "8080");

    EXPECT_EQ(storeText(), "net|port = 8080\n");
}

TEST_F(ConfigStore, FileIsAccessibleToItsOwnerOnly)
{
    struct stat made = {};
    struct stat rewritten = {};
    EXPECT_EQ(loadedOf("net", "port"), "<-504>");
    ASSERT_EQ(::stat(dir.file("store.txt").c_str(), &made), 0);
    store("net", "port", "8080");
    ASSERT_EQ(::stat(dir.file("store.txt").c_str(), &rewritten), 0);

    EXPECT_EQ(made.st_mode & 0777u, 0600u);
    EXPECT_EQ(rewritten.st_mode & 0777u, 0600u);
}

TEST_F(ConfigStore, SecondStoreReplacesTheValueAndKeepsTheAttributes)
{
    store("net", "port", "1");
    storeAttr("net", "port", "unit", "tcp");
    store("net", "port", "2");

    EXPECT_EQ(storeText(), "net|port = 2\nnet|port:unit = tcp\n");
}

TEST_F(ConfigStore, AttributeOfAKeyThatWasNeverStoredIsRefusedWithoutRewriting)
{
    dir.write("store.txt", "# by hand\n\nnet|port = 1\n");

    EXPECT_EQ(manager.storeAttrString(L"net", L"host", L"const", L"true"), -3002);
    EXPECT_EQ(storeText(), "# by hand\n\nnet|port = 1\n");
}

TEST_F(ConfigStore, AttributeLinesFollowTheirValueLine)
{
    store("net", "port", "8080");
    storeAttr("net", "port", "unit", "tcp");
    storeAttr("net", "port", "const", "true");
    store("net", "host", "localhost");
    store("net", "portal", "x");

    EXPECT_EQ(storeText(), "net|host = localhost\n"
                           "net|port = 8080\n"
                           "net|port:const = true\n"
                           "net|port:unit = tcp\n"
                           "net|portal = x\n");
}

TEST_F(ConfigStore, StoredConstAttributeFollowsTheValueLine)
{
    store("net", "port", "8080");
    storeAttr("net", "port", "const", "true");

    EXPECT_EQ(storeText(), "net|port = 8080\nnet|port:const = true\n");
}

TEST_F(ConfigStore, StoredAttributeKeepsItsEarlierText)
{
    store("net", "port", "8080");
    storeAttr("net", "port", "unit", "tcp");
    storeAttr("net", "port", "unit", "udp");

    EXPECT_EQ(storeText(), "net|port = 8080\nnet|port:unit = tcp\n");
}

TEST_F(ConfigStore, AttributeThatIsStoredAlreadyStillRewritesTheFile)
{
    dir.write("store.txt", "# by hand\nnet|port = 8080\nnet|port:unit = tcp\n");
    storeAttr("net", "port", "unit", "udp");

    EXPECT_EQ(storeText(), "net|port = 8080\nnet|port:unit = tcp\n");
}

TEST_F(ConfigStore, EmptyValueLeavesTheLineEndingInABlank)
{
    store("net", "port", "");

    EXPECT_EQ(storeText(), "net|port = \n");
}

TEST_F(ConfigStore, ValueStoredAfterTheFirstReadIsInTheFileOnly)
{
    store("net", "port", "1");
    EXPECT_EQ(valueOf(net, "port"), "1");
    store("net", "port", "2");
    store("net", "host", "h");

    EXPECT_EQ(valueOf(net, "port"), "1");
    EXPECT_EQ(valueOf(net, "host"), "<-504>");
    EXPECT_EQ(storeText(), "net|host = h\nnet|port = 2\n");
    EXPECT_EQ(reread("net", "port"), "2");
}

TEST_F(ConfigStore, ReadersLoseARemovedKeyAtOnce)
{
    store("net", "port", "1");
    storeAttr("net", "port", "unit", "tcp");
    EXPECT_EQ(valueOf(net, "port"), "1");
    ASSERT_EQ(manager.removeStoredKey(L"net", L"port"), 0);

    EXPECT_EQ(valueOf(net, "port"), "<-504>");
    EXPECT_EQ(storeText(), "");
}

TEST_F(ConfigStore, ReadersLoseARemovedAttributeAtOnce)
{
    store("net", "port", "1");
    storeAttr("net", "port", "unit", "tcp");
    EXPECT_EQ(attrOf(net, "port", "unit"), "tcp");
    ASSERT_EQ(manager.removeStoredAttr(L"net", L"port", L"unit"), 0);

    EXPECT_EQ(attrOf(net, "port", "unit"), "<-504>");
    EXPECT_EQ(storeText(), "net|port = 1\n");
}

TEST_F(ConfigStore, RemovingAMissingEntrySucceedsAndRewrites)
{
    dir.write("store.txt", "# by hand\nnet|port = 1");

    EXPECT_EQ(manager.removeStoredKey(L"net", L"host"), 0);
    EXPECT_EQ(storeText(), "net|port = 1\n");
    EXPECT_EQ(manager.removeStoredAttr(L"net", L"port", L"unit"), 0);
    EXPECT_EQ(manager.removeStoredAttr(L"other", L"port", L"unit"), 0);
    EXPECT_EQ(storeText(), "net|port = 1\n");
}

TEST_F(ConfigStore, StoredOnlyKeyIsReadableButNotListed)
{
    store("net", "port", "1");

    EXPECT_EQ(valueOf(net, "port"), "1");
    EXPECT_THAT(keysOf(net), IsEmpty());
}

TEST_F(ConfigStore, BlanksAroundAValueAreWrittenAndLostAtTheNextLoad)
{
    store("net", "port", "  1 ");
    EXPECT_EQ(storeText(), "net|port =   1 \n");
    EXPECT_EQ(reread("net", "port"), "1");
    store("net", "host", "h");

    EXPECT_EQ(storeText(), "net|host = h\nnet|port = 1\n");
}

TEST_F(ConfigStore, NamesWithSeparatorsAreRefusedBeforeAnythingIsRead)
{
    EXPECT_EQ(manager.storeString(L"n|t", L"port", L"1"), -3004);
    EXPECT_EQ(manager.storeString(L"net", L"p=t", L"1"), -3004);
    EXPECT_EQ(manager.storeAttrString(L"net", L"port", L"a:b", L"1"), -3004);
    EXPECT_EQ(manager.removeStoredKey(L"net", L"p|t"), -3004);
    EXPECT_EQ(manager.removeStoredAttr(L"net", L"port", L"a|b"), -3004);
    EXPECT_FALSE(fs::exists(dir.path() / "store.txt"));
}

TEST_F(ConfigStore, ValueMayContainAnyText)
{
    const std::string value = "a = b:c|d # e\nnet|planted = 1\r\nlast";
    store("net", "port", value);

    EXPECT_EQ(reread("net", "port"), narrow(wide(value)));
    EXPECT_EQ(reread("net", "planted"), "<-504>");
}

TEST_F(ConfigStore, KeyWithoutIdHidesNoOtherKey)
{
    dir.write("store.txt", "apart = 1\nnet|port = 1\nzone|port = 1\n");
    std::vector<PString> ids;

    EXPECT_EQ(manager.listIDs(ids), 0);

    const PString wanted = L"zone";
    EXPECT_NE(std::find(ids.begin(), ids.end(), wanted), ids.end());
}

TEST_F(ConfigStore, InvalidBytesOfAnEditedFileSurviveARewrite)
{
    dir.write("store.txt", "net|raw = \xFF\xC3(\x80\nnet|z = 1\n");
    store("net", "z", "2");

    EXPECT_EQ(storeText(), "net|raw = \xFF\xC3(\x80\nnet|z = 2\n");
}

TEST_F(ConfigStore, BrokenFileFailsEveryStoreOperationAndIsNotChanged)
{
    dir.write("store.txt", "net|port = 1\nbroken\n");

    EXPECT_EQ(manager.storeString(L"net", L"port", L"2"), -3001);
    EXPECT_EQ(manager.storeAttrString(L"net", L"port", L"a", L"2"), -3001);
    EXPECT_EQ(manager.removeStoredKey(L"net", L"port"), -3001);
    EXPECT_EQ(manager.removeStoredAttr(L"net", L"port", L"a"), -3001);
    EXPECT_EQ(loadedOf("net", "port"), "<-3001>");
    EXPECT_EQ(storeText(), "net|port = 1\nbroken\n");
}

TEST_F(ConfigStore, BrokenFileDoesNotHideTheReadersOwnValues)
{
    net = loadID("net", "port = 80");
    dir.write("store.txt", "broken\n");

    EXPECT_EQ(valueOf(net, "port"), "80");
}

TEST_F(ConfigStore, FirstLookupCreatesAnEmptyFile)
{
    EXPECT_EQ(loadedOf("net", "port"), "<-504>");

    EXPECT_EQ(storeText(), "");
}

TEST_F(ConfigStore, MissingDirectoryReturnsTheOpenFailure)
{
    const PBaseptr<IConfigManager> own(new PConfigManager);
    PBaseptr<IConfig> config;
    const std::string path = dir.write("m.prs", "ixlap.configmanager.store.file = /no/such/dir/s");
    ASSERT_EQ(own->setString(L"ixlap.global", L"custom.config.ixlap.configmanager.prs", wide(path)),
              0);
    ASSERT_EQ(own->loadByID(L"net", config), 0);

    EXPECT_EQ(own->storeString(L"net", L"port", L"1"), -2);
    static_cast<PConfigManager&>(*own).cleanup();
}

TEST_F(ConfigStore, StoringBeforeTheFirstLoadByIdHasNoPath)
{
    const PBaseptr<IConfigManager> own(new PConfigManager);

    EXPECT_EQ(own->storeString(L"net", L"port", L"1"), -2002);
    EXPECT_EQ(own->storeAttrString(L"net", L"port", L"a", L"1"), -2002);
    EXPECT_EQ(own->removeStoredKey(L"net", L"port"), -2002);
    EXPECT_EQ(own->removeStoredAttr(L"net", L"port", L"a"), -2002);
}

TEST_F(ConfigStore, SizeLimitIsReportedAndDoesNotEndTheProcess)
{
    const std::string large(5000, 'x');
    int result = 0;
    {
        const FileSizeLimit limit(100);
        result = manager.storeString(L"net", L"large", wide(large));
    }

    EXPECT_EQ(result, -27);
}

TEST_F(ConfigStore, LookupsCopyTheStoredText)
{
    store("net", "port", "1");

    EXPECT_EQ(loadedOf("net", "port"), "1");
    EXPECT_EQ(loadedOf("net", "host"), "<-504>");
    EXPECT_EQ(loadedOf("other", "port"), "<-504>");
}

TEST_F(ConfigStore, LongValuesAreStoredCompletely)
{
    const std::string value(100000, 'v');
    store("net", "port", value);

    EXPECT_EQ(storeText(), "net|port = " + value + "\n");
}
