// SPDX-License-Identifier: MIT
#include "config/PConfigLoader.h"

#include "config/ConfigTest.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
class ConfigLoader : public ConfigTest
{
protected:
    PBaseptr<IConfig> created() const
    {
        PBaseptr<IConfig> config;
        EXPECT_EQ(PConfigLoader::_load(nullptr, L"", config, [](const auto&) { return 0; }), 0);
        return config;
    }

    PString file(const std::string& iLines) const
    {
        return wide(dir.write("lines.prs", iLines));
    }
};
} // namespace

TEST_F(ConfigLoader, FailedFillDoesNotChangeTheHolder)
{
    PBaseptr<IConfig> config = created();
    const IConfig* const before = config.get();

    EXPECT_EQ(PConfigLoader::_load(nullptr, L"", config, [](const auto&) { return -7; }), -7);
    EXPECT_EQ(config.get(), before);
}

TEST_F(ConfigLoader, ThrowingFillReturnsTheMemoryCode)
{
    PBaseptr<IConfig> config;
    const auto fill = [](const auto&) -> int
    {
        throw std::bad_alloc();
    };

    EXPECT_EQ(PConfigLoader::_load(nullptr, L"", config, fill), -501);
    EXPECT_FALSE(config);
}

TEST_F(ConfigLoader, FileWithABadLineKeepsTheLinesBeforeIt)
{
    const PBaseptr<IConfig> config = created();

    EXPECT_EQ(PConfigLoader::_appendFile(file("a = 1\n\nbad\nb = 2\n"), config), -3001);
    EXPECT_THAT(keysOf(config), ElementsAre("a"));
    EXPECT_EQ(PConfigLoader::_faultOf(config).line, 3u);
    EXPECT_EQ(PConfigLoader::_faultOf(config).code, -3001);
}

TEST_F(ConfigLoader, FileThatCannotBeOpenedIsAFaultWithoutALine)
{
    PBaseptr<IConfig> config;
    PReadFault fault;

    EXPECT_EQ(PConfigLoader::_loadFile(manager, nullptr, dir.wideFile("none"), config, fault), -2);
    EXPECT_EQ(fault.line, 0u);
    EXPECT_EQ(fault.code, -2);
    EXPECT_FALSE(config);
}

TEST_F(ConfigLoader, NextFileClearsTheFault)
{
    const PBaseptr<IConfig> config = created();
    EXPECT_EQ(PConfigLoader::_appendFile(file("bad"), config), -3001);
    EXPECT_EQ(PConfigLoader::_appendFile(file("a = 1"), config), 0);

    EXPECT_EQ(PConfigLoader::_faultOf(config).code, 0);
}

TEST_F(ConfigLoader, EmptyHolderIsInvalidAndHasNoFault)
{
    const PBaseptr<IConfig> none;
    const PString argument(L"a = 1");

    EXPECT_EQ(PConfigLoader::_appendFile(file("a = 1"), none), -502);
    EXPECT_EQ(PConfigLoader::_appendArgs(&argument, 1, none), -502);
    EXPECT_EQ(PConfigLoader::_faultOf(none).code, 0);
}
