// SPDX-License-Identifier: MIT
#include "hostile/HostileTest.h"
#include "plugins/ITestService.h"

#include <ctime>
#include <fstream>
#include <string>

namespace
{
class HostileInterfaces : public HostileTest
{
protected:
    /// The ID that GeneratedInterfacesPlugin generates.
    static std::string id(unsigned int iNumber, std::size_t iLength)
    {
        const std::string number = std::to_string(iNumber);
        std::string id = "test.";
        id.resize(iLength - number.size(), '.');
        return id + number;
    }
};

TEST_F(HostileInterfaces, PluginWithAnInitialCountWorksAndOutlivesTheCore)
{
    startWith("counted");
    IBase* instance = nullptr;
    ASSERT_EQ(0, request("test.counted", instance));
    IPlugin* const plugin = static_cast<ITestService*>(instance)->getPlugin();
    EXPECT_TRUE(stopsCleanly());
    // Only its own reference is left.
    EXPECT_EQ(0, PluginHooks::count("counted.destroyed"));
    EXPECT_EQ(0, plugin->decRef());
    EXPECT_EQ(1, PluginHooks::count("counted.destroyed"));
}

TEST_F(HostileInterfaces, EmptyIdIsAValidId)
{
    startWith("empty_id");
    EXPECT_EQ(0, request(""));
    EXPECT_TRUE(ixlaIsInterfaceAvailable(L""));
    EXPECT_EQ(eIxlaUnknownInterface, request(" "));
    EXPECT_EQ(1, fCore.logCount("E Core [getInstanceInternal] Unknown interface ID:  "));
    EXPECT_TRUE(stopsCleanly());
    EXPECT_EQ(1, PluginHooks::count("empty_id.destroyed"));
}

TEST_F(HostileInterfaces, IdsOfTenThousandCharactersAreDistinguished)
{
    startWith("long_ids");
    IBase* instance = nullptr;
    EXPECT_EQ(0, request(id(0, 10000), instance));
    EXPECT_EQ(0, request(id(1, 10000)));
    EXPECT_EQ(eIxlaUnknownInterface, request(id(2, 10000)));
    EXPECT_EQ(eIxlaUnknownInterface, request(id(0, 9999)));
    EXPECT_EQ(1, fCore.logCount("D Core [processPlugin] Add interface ID: " + id(1, 10000)));
    EXPECT_EQ(1,
              fCore.logCount("E Core [getInstanceInternal] Unknown interface ID: " + id(2, 10000)));
    EXPECT_EQ(0, ixlaUnloadPlugin(static_cast<IPlugin*>(instance)));
    EXPECT_EQ(1, fCore.logCount("D Core [ixlaUnloadPlugin] Remove interface ID: " + id(0, 10000)));
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileInterfaces, HundredThousandIdsAreServed)
{
    const std::clock_t begin = std::clock();
    // The log has no line for each of them.
    fCore.set("core.log.level", "-1");
    startWith("many_ids");
    IBase* instance = nullptr;
    for (unsigned int number = 0; number < 100000; number += 999)
    {
        ASSERT_EQ(0, request(id(number, 20), instance)) << number;
    }
    EXPECT_EQ(1, PluginHooks::count("many_ids.init"));
    EXPECT_EQ(eIxlaUnknownInterface, request(id(100000, 20)));
    EXPECT_EQ(0, ixlaUnloadPlugin(static_cast<IPlugin*>(instance)));
    EXPECT_EQ(eIxlaUnknownInterface, request(id(0, 20)));
    EXPECT_EQ(0, fCore.stop());
    for (const unsigned int number : {100000u, 0u})
    {
        EXPECT_EQ(1, fCore.logCount("E Core [getInstanceInternal] Unknown interface ID: " +
                                    id(number, 20)));
    }
    EXPECT_EQ(2, fCore.logCount(" E Core "));
    // Far above the normal time, and far below that of a linear search.
    EXPECT_GT(20, (std::clock() - begin) / CLOCKS_PER_SEC);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(HostileInterfaces, HundredThousandIdsCostMemoryInProportion)
{
    fCore.set("core.log.level", "-1");
    fCore.addPlugin("many_ids");
    const auto pages = []
    {
        std::ifstream statm("/proc/self/statm");
        long size = 0;
        long resident = 0;
        statm >> size >> resident;
        return resident;
    };
    const long before = pages();
    ASSERT_EQ(0, fCore.start());
    // Twice 20 wide characters and the nodes around them need less than 500 bytes.
    EXPECT_GT(500L * 100000 / 4096, pages() - before);
}
#endif

TEST_F(HostileInterfaces, NullInstanceIsReturned)
{
    startWith("null_instance");
    IBase* instance = reinterpret_cast<IBase*>(this);
    EXPECT_EQ(0, request("test.null", instance));
    EXPECT_EQ(nullptr, instance);
    EXPECT_EQ(1, fCore.logCount("] Return instance (nil)"));
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileInterfaces, SecondPluginWithTheSameHugeListIsRefusedCompletely)
{
    fCore.set("core.log.level", "-1");
    fCore.addPlugin("many_ids");
    fCore.addPlugin("many_ids", "many_ids_again");
    EXPECT_EQ(eIxlaInterfaceRegistered, fCore.start());
    EXPECT_EQ(1,
              fCore.logCount("E Core [processPlugin] Interface already registered: " + id(0, 20) +
                             " from plugin: " + fCore.dir.file("plugins/libmany_ids.so")));
    EXPECT_EQ(2, PluginHooks::count("many_ids.destroyed"));
}
} // namespace
