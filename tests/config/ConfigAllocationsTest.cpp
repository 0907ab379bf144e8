// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"
#include "config/PConfigArena.h"

#include "support/AllocationFaults.h"

namespace
{
class ConfigAllocations : public ConfigTest
{
protected:
    PBaseptr<IConfig> config;
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
    config = loadID("net", "own = some text\nown:a = " + std::string(300, 'x'));
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

TEST_F(ConfigAllocations, LargeBlocksOfAFreedArenaAreUsedAgain)
{
    const auto fill = []
    {
        AllocationFaults::startCounting();
        PConfigArena arena;
        for (int i = 0; i < 20; ++i)
        {
            arena.take(40000);
        }
        return AllocationFaults::counted();
    };
    const long long first = fill();

    // Only the blocks that grow to the largest size are allocated again.
    EXPECT_GE(first, 20);
    EXPECT_EQ(fill(), 6);
}
