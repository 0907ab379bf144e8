// SPDX-License-Identifier: MIT
#include "PBaseptr.h"
#include "abi/frozen/source/ICompilerCheck.h"
#include "support/CoreRun.h"
#include "support/PluginHooks.h"
#include "support/Texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{
/// The number of checks of a plugin that calls every operation.
constexpr int sChecks = 269;

class CompilerPlugins : public testing::Test
{
protected:
    void start(const std::vector<std::string>& iPlugins)
    {
        std::string values = "text=some words\nint32=-2147483648\nuint32=4294967295\n"
                             "int64=-9223372036854775807\nuint64=18446744073709551615\n"
                             "bool=yes\nbinary=00ff10\n";
        values += "text:text=some words\ntext:int32=-2147483648\ntext:uint32=4294967295\n"
                  "text:int64=-9223372036854775807\ntext:uint64=18446744073709551615\n"
                  "text:bool=yes\ntext:binary=00ff10\n";
        core.writeConfig("values.prs", values);
        std::string ids;
        for (const std::string& plugin : iPlugins)
        {
            ids += plugin + ".id = values.prs\n";
            core.addPlugin(plugin);
        }
        core.writeManagerConfig(ids);
        ASSERT_EQ(0, core.start());
    }

    ICompilerCheck* get(const std::string& iPlugin)
    {
        return core.get<ICompilerCheck>(wide(iPlugin));
    }

    /// The failed checks of the plugin; empty if none.
    std::string failures(const std::string& iPlugin)
    {
        PString text;
        const PBaseptr<ICompilerCheck> check(get(iPlugin));
        EXPECT_TRUE(check) << iPlugin << " does not load, see " << readFile(core.logFile());
        if (check)
        {
            const int checks =
                check->check(wide(iPlugin + ".id"), core.dir.wideFile("config/values.prs"), text);
            EXPECT_EQ(sChecks, checks) << iPlugin;
        }
        return narrow(text);
    }

    /// The steps of a plugin in this test, in order.
    std::vector<std::string> steps(const std::string& iPlugin) const
    {
        std::vector<std::string> own;
        const std::vector<std::string> all = PluginHooks::journal();
        for (std::size_t i = earlier; i < all.size(); ++i)
        {
            if (all[i].starts_with(iPlugin + "."))
            {
                own.push_back(all[i].substr(iPlugin.size() + 1));
            }
        }
        return own;
    }

    const std::size_t earlier = PluginHooks::journal().size();
    const std::vector<std::string> plugins{"gxx_cxx11", "gxx_cxx20", "gxx_strings", "clang_O0",
                                           "clang_O2"};
    CoreRun core;
};

/// The lines of a text that belong to an ID of the store, without the ID.
std::vector<std::string> _storedUnder(const std::string& iID, const std::string& iFile)
{
    std::vector<std::string> lines;
    for (const std::string& line : readLines(iFile))
    {
        if (line.starts_with(iID + "|"))
        {
            lines.push_back(line.substr(iID.size() + 1));
        }
    }
    return lines;
}
} // namespace

TEST_F(CompilerPlugins, CallEveryOperationInOneProcess)
{
    start(plugins);

    for (const std::string& plugin : plugins)
    {
        EXPECT_EQ("", failures(plugin)) << plugin;
        EXPECT_THAT(steps(plugin), ElementsAre("init"));
    }
}

TEST_F(CompilerPlugins, StoreTheGivenValues)
{
    start(plugins);

    for (const std::string& plugin : plugins)
    {
        EXPECT_EQ("", failures(plugin));

        EXPECT_THAT(_storedUnder(plugin + ".id", core.storeFile()),
                    ElementsAre("kept = some words", "kept:binary = 00ff10", "kept:bool = true",
                                "kept:int32 = -2147483648", "kept:int64 = -9223372036854775807",
                                "kept:text = some words", "kept:uint32 = 4294967295",
                                "kept:uint64 = 18446744073709551615", "kept.binary = 00ff10",
                                "kept.bool = true", "kept.int32 = -2147483648",
                                "kept.int64 = -9223372036854775807", "kept.uint32 = 4294967295",
                                "kept.uint64 = 18446744073709551615"))
            << plugin;
    }
}

TEST_F(CompilerPlugins, LogTheGivenTexts)
{
    start(plugins);

    for (const std::string& plugin : plugins)
    {
        EXPECT_EQ("", failures(plugin));

        EXPECT_THAT(readLines(core.pluginLogFile(plugin + ".id")),
                    ElementsAre(EndsWith(" I pgs info -1 wide narrow"),
                                EndsWith(" E pgs error 123456789012345 4294967295 0.25"),
                                EndsWith(" D pgs debug c abc"), HasSubstr(" D pgs "),
                                EndsWith(" I pgs message 5")))
            << plugin;
    }
}

TEST_F(CompilerPlugins, AreUnloadedOneByOne)
{
    core.set("core.free.plugins.lib", "true");
    start(plugins);

    for (const std::string& plugin : plugins)
    {
        EXPECT_EQ("", failures(plugin)) << plugin;
        EXPECT_EQ(0, ixlaUnloadPlugin(get(plugin)->getPlugin()));

        EXPECT_THAT(steps(plugin), ElementsAre("init", "destroyed", "unmapped"));
        EXPECT_FALSE(ixlaIsInterfaceAvailable(wide(plugin)));
    }
    EXPECT_EQ(0, core.stop());
}

TEST_F(CompilerPlugins, AreUnloadedByTheStop)
{
    core.set("core.free.plugins.lib", "true");
    start(plugins);
    for (const std::string& plugin : plugins)
    {
        EXPECT_EQ("", failures(plugin)) << plugin;
    }

    EXPECT_EQ(0, core.stop());

    for (const std::string& plugin : plugins)
    {
        EXPECT_THAT(steps(plugin), ElementsAre("init", "destroyed", "unmapped")) << plugin;
    }
}

// It was built with a header in which two operations of the same signature are swapped.
TEST_F(CompilerPlugins, BuiltWithAnotherSlotOrderFindsFault)
{
    start({"swapped_slots"});

    EXPECT_THAT(failures("swapped_slots"), HasSubstr("INT_MIN"));
}
