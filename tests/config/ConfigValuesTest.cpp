// SPDX-License-Identifier: MIT
#include "config/PConfigValues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using testing::ElementsAre;

namespace
{
class ConfigValues : public testing::Test
{
protected:
    void insert(const std::wstring& iName)
    {
        const PLiteral name(iName.c_str());
        values.insert(PConfigKey::_ofName(name), name, PLiteral(L"value"));
    }

    bool hasStored(const wchar_t* iID, const wchar_t* iKey) const
    {
        const PLiteral id(iID);
        const PLiteral key(iKey);
        return values.findStored(id, PConfigKey(id).hash, PConfigKey(key));
    }

    std::vector<std::wstring> names() const
    {
        std::vector<std::wstring> names;
        for (const PConfigRecord* record : values.inOrder())
        {
            names.emplace_back(record->key.ptr());
        }
        return names;
    }

    PConfigArena arena;
    PConfigValues values{&arena};
};
} // namespace

TEST_F(ConfigValues, FindsEachOfManyKeys)
{
    for (int i = 0; i < 1000; ++i)
    {
        insert(L"key." + std::to_wstring(i));
    }
    for (int i = 0; i < 1000; ++i)
    {
        const std::wstring name = L"key." + std::to_wstring(i);
        EXPECT_TRUE(values.find(PConfigKey(PLiteral(name.c_str())))) << i;
    }
    EXPECT_FALSE(values.find(PLiteral(L"key.1000")));
    EXPECT_EQ(values.size(), 1000u);
}

TEST_F(ConfigValues, ListsRecordsInTheOrderOfTheirKeys)
{
    for (const wchar_t* name : {L"b", L"a.b", L"c", L"a"})
    {
        insert(name);
    }

    EXPECT_THAT(names(), ElementsAre(L"a", L"a.b", L"b", L"c"));
}

TEST_F(ConfigValues, ListsWhatIsInsertedAfterARemoval)
{
    for (const wchar_t* removed : {L"a", L"b", L"c"})
    {
        values.clear();
        for (const wchar_t* name : {L"a", L"b", L"c"})
        {
            insert(name);
        }
        EXPECT_TRUE(values.erase(removed));
        EXPECT_FALSE(values.erase(removed));
        insert(removed);

        EXPECT_THAT(names(), ElementsAre(L"a", L"b", L"c")) << removed;
    }
}

TEST_F(ConfigValues, FindsAStoreKeyByIdAndKey)
{
    insert(L"net|port");

    EXPECT_TRUE(hasStored(L"net", L"port"));
    EXPECT_FALSE(hasStored(L"ten", L"port"));
    EXPECT_FALSE(hasStored(L"net", L"ports"));
    EXPECT_TRUE(values.find(PLiteral(L"net|port")));
}

TEST_F(ConfigValues, KeyWithASeparatorIsNotFoundByAReader)
{
    for (const wchar_t* name : {L"a|b", L"net|a|b", L"net||"})
    {
        insert(name);
    }

    EXPECT_FALSE(values.find(PConfigKey(PLiteral(L"a|b"))));
    EXPECT_FALSE(hasStored(L"net", L"a|b"));
    EXPECT_FALSE(hasStored(L"net", L"|"));
    EXPECT_TRUE(hasStored(L"a", L"b"));
    EXPECT_TRUE(values.find(PLiteral(L"net|a|b")));
}
