// SPDX-License-Identifier: MIT
#include "config/ConfigPartsTest.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class ConfigFiles : public ConfigPartsTest
{
protected:
    std::string pathOf(const wchar_t* iName)
    {
        PString path;
        files.nl_createFilePath(iName, path);
        return narrow(path);
    }

    std::string inDir(const std::string& iName) const
    {
        return dir.file(iName);
    }
};
} // namespace

TEST_F(ConfigFiles, BareNameIsInTheConfigurationDirectory)
{
    EXPECT_EQ(pathOf(L"a.prs"), inDir("a.prs"));
    EXPECT_EQ(pathOf(L"sub/a.prs"), "sub/a.prs");
    EXPECT_EQ(pathOf(L"sub\\a.prs"), "sub/a.prs");
}

TEST_F(ConfigFiles, RedirectionReplacesTheName)
{
    setGlobal(L"custom.config.a.prs", L"b.prs");
    setGlobal(L"custom.config.c.prs", L"/elsewhere/c.prs");

    EXPECT_EQ(pathOf(L"a.prs"), inDir("b.prs"));
    EXPECT_EQ(pathOf(L"c.prs"), "/elsewhere/c.prs");
}

TEST_F(ConfigFiles, ListIsReadFromTheManagersConfiguration)
{
    mapIDs("net = a.prs, b.prs");
    PString list;

    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_EQ(files.nl_readFileList(L"net", list), 0);
    EXPECT_EQ(list, L"a.prs, b.prs");
    EXPECT_EQ(files.nl_readFileList(L"other", list), -504);
}

TEST_F(ConfigFiles, FileThatCannotBeAppendedIsSkipped)
{
    const PBaseptr<IConfig> config = byFile("own = 1");
    dir.write("b.prs", "b = 1");
    PString list(L"a.prs, b.prs");

    EXPECT_EQ(files.nl_appendFiles(list, config), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("b", "own"));
}

TEST_F(ConfigFiles, StoreNameNeedsTheManagersConfiguration)
{
    mapIDs("");
    PString name;

    EXPECT_EQ(files.nl_readStoreName(name), -2002);
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_EQ(files.nl_readStoreName(name), 0);
    EXPECT_EQ(name, L"store.txt");
}

TEST_F(ConfigFiles, MissingOrEmptyStoreNameIsNone)
{
    PString name;
    dir.write("ixlap.configmanager.prs", "net = a.prs");
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_EQ(files.nl_readStoreName(name), -3003);

    dir.write("ixlap.configmanager.prs", "ixlap.configmanager.store.file =");
    files.nl_takeManagerConfig();
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_EQ(files.nl_readStoreName(name), -3003);
}

TEST_F(ConfigFiles, ListedIdsLeaveOutTheKeyOfTheStore)
{
    mapIDs("net = a.prs\nbase = b.prs");
    std::vector<PString> ids;

    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    files.nl_appendIDs(ids);
    EXPECT_THAT(narrow(ids), ElementsAre("base", "net"));
}

TEST_F(ConfigFiles, TakenConfigurationIsReadAgain)
{
    mapIDs("net = a.prs");
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_TRUE(files.nl_takeManagerConfig());
    EXPECT_FALSE(files.nl_takeManagerConfig());

    mapIDs("net = b.prs");
    PString list;
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    EXPECT_EQ(files.nl_readFileList(L"net", list), 0);
    EXPECT_EQ(list, L"b.prs");
}

TEST_F(ConfigFiles, MissingManagersConfigurationIsAnError)
{
    EXPECT_EQ(files.nl_loadManagerConfig(), -2);
    EXPECT_FALSE(files.nl_takeManagerConfig());
}
