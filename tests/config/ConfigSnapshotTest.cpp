// SPDX-License-Identifier: MIT
#include "config/ConfigPartsTest.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class ConfigSnapshot : public ConfigPartsTest
{
protected:
    ConfigSnapshot()
    {
        mapIDs("net = a.prs");
        EXPECT_EQ(files.nl_loadManagerConfig(), 0);
    }

    std::string loaded(const wchar_t* iID, const wchar_t* iKey)
    {
        PString text;
        const int result = stored.nl_getLoadedString(iID, iKey, text);
        return result == 0 ? narrow(text) : std::to_string(result);
    }
};
} // namespace

TEST_F(ConfigSnapshot, PathIsUnknownWithoutTheManagersConfiguration)
{
    files.nl_takeManagerConfig();

    EXPECT_EQ(stored.nl_needLoadedStore(), -2002);
    EXPECT_EQ(stored.nl_storeString(L"net", L"k", L"1"), -2002);
}

TEST_F(ConfigSnapshot, PathIsNotResolvedAfterTheClose)
{
    closed = true;

    EXPECT_EQ(stored.nl_needLoadedStore(), -2002);
}

TEST_F(ConfigSnapshot, ResolvedPathStaysAfterTheClose)
{
    EXPECT_EQ(stored.nl_storeString(L"net", L"k", L"1"), 0);
    closed = true;
    files.nl_takeManagerConfig();

    EXPECT_EQ(loaded(L"net", L"k"), "1");
}

TEST_F(ConfigSnapshot, HoldsTheManagerOnlyBeforeTheClose)
{
    const auto references = [this]
    {
        holder->incRef();
        return holder->decRef();
    };
    const int before = references();
    EXPECT_EQ(stored.nl_needLoadedStore(), 0);
    EXPECT_EQ(references(), before + 1);
    stored.nl_takeLoadedStore();
    EXPECT_EQ(references(), before);

    closed = true;
    EXPECT_EQ(stored.nl_needLoadedStore(), 0);
    EXPECT_EQ(references(), before);
}

TEST_F(ConfigSnapshot, ValueStoredLaterIsInTheFileOnly)
{
    EXPECT_EQ(stored.nl_needLoadedStore(), 0);
    EXPECT_EQ(stored.nl_storeString(L"net", L"k", L"1"), 0);

    EXPECT_EQ(loaded(L"net", L"k"), "-504");
    EXPECT_EQ(storeText(), "net|k = 1\n");
    EXPECT_TRUE(stored.nl_takeLoadedStore());
    EXPECT_EQ(loaded(L"net", L"k"), "1");
}

TEST_F(ConfigSnapshot, RemovalChangesTheFileAndTheSnapshot)
{
    dir.write("store.txt", "net|k = 1\nnet|k:unit = s\nnet|l = 2\n");
    const PLiteral unit(L"unit");
    PConfigValue* record = nullptr;
    ASSERT_EQ(stored.nl_findLoadedValue(L"net", L"k", record), 0);
    EXPECT_EQ(stored.nl_removeStored(L"net", L"k", &unit), 0);
    EXPECT_TRUE(record->fAttributes.empty());
    EXPECT_EQ(stored.nl_removeStored(L"net", L"k", nullptr), 0);

    EXPECT_EQ(loaded(L"net", L"k"), "-504");
    EXPECT_EQ(storeText(), "net|l = 2\n");
}

TEST_F(ConfigSnapshot, AttributeNeedsAStoredValue)
{
    EXPECT_EQ(stored.nl_storeAttrString(L"net", L"k", L"unit", L"s"), -3002);
    EXPECT_EQ(stored.nl_storeString(L"net", L"k", L"1"), 0);
    EXPECT_EQ(stored.nl_storeAttrString(L"net", L"k", L"unit", L"s"), 0);

    EXPECT_EQ(storeText(), "net|k = 1\nnet|k:unit = s\n");
}

TEST_F(ConfigSnapshot, ListsStoredIdsBeforeOthersWithFiles)
{
    mapIDs("a = a.prs\nnet = n.prs");
    files.nl_takeManagerConfig();
    ASSERT_EQ(files.nl_loadManagerConfig(), 0);
    dir.write("store.txt", "net|k = 1\nnet|l = 2\nloose = 3\n");
    std::vector<PString> ids;

    EXPECT_EQ(stored.nl_listIDs(ids), 0);
    EXPECT_THAT(narrow(ids), ElementsAre("net", "a"));
}
