// SPDX-License-Identifier: MIT
#include "config/ConfigTest.h"

#include "Ixla.h"
#include "config/PConfig.h"
#include "support/Texts.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
class ConfigParser : public ConfigTest
{
protected:
    /// The result of loading a file with these lines.
    int load(const std::string& iLines)
    {
        return manager.loadByFile(wide(dir.write("bad.prs", iLines)), config);
    }

    int load(const std::vector<PString>& iArgs)
    {
        return manager.loadByArgs(iArgs, config);
    }

    PBaseptr<IConfig> config;
};

/// Counts the append calls through the interface.
class CountingManager : public PConfigManager
{
public:
    int appendByFile(const PLiteral& iFile, PBaseptr<IConfig> ioConfig) noexcept override
    {
        ++files;
        return PConfigManager::appendByFile(iFile, ioConfig);
    }

    int appendByArgs(const std::vector<PString>& iArgs,
                     PBaseptr<IConfig> ioConfig) noexcept override
    {
        ++vectors;
        return PConfigManager::appendByArgs(iArgs, ioConfig);
    }

    int appendByArgs(const PString* iArgs, unsigned int iCount,
                     PBaseptr<IConfig> ioConfig) noexcept override
    {
        ++arrays;
        return PConfigManager::appendByArgs(iArgs, iCount, ioConfig);
    }

    int files = 0;
    int vectors = 0;
    int arrays = 0;
};
} // namespace

TEST_F(ConfigParser, LaterValueWinsEarlierAttributeStays)
{
    config = byFile("a = 1\na:unit = s\na = 2\na:unit = ms\n");

    EXPECT_EQ(valueOf(config, "a"), "2");
    EXPECT_EQ(attrOf(config, "a", "unit"), "s");
}

TEST_F(ConfigParser, AttributeWithoutValueCreatesAKeyWithAnEmptyValue)
{
    config = byFile("b:flag = on");

    EXPECT_THAT(keysOf(config), ElementsAre("b"));
    EXPECT_EQ(valueOf(config, "b"), "");
    EXPECT_EQ(attrOf(config, "b", "flag"), "on");
}

TEST_F(ConfigParser, AttributeWithoutValueCreatesAKeyOfAnyLength)
{
    const std::string key(40, 'k');
    config = byFile(key + " : " + std::string(40, 'a') + " = " + std::string(40, 't'));

    EXPECT_THAT(keysOf(config), ElementsAre(key));
    EXPECT_EQ(valueOf(config, key), "");
    EXPECT_EQ(attrOf(config, key, std::string(40, 'a')), std::string(40, 't'));
}

TEST_F(ConfigParser, LinesOfAllLengthsAreKept)
{
    std::string text;
    for (unsigned int len = 1; len <= 2000; len += 7)
    {
        text += std::string(len % 5, ' ') + "key" + std::to_string(len) + " = " +
                std::string(len, 'v') + '\n';
    }
    config = byFile(text);

    for (unsigned int len = 1; len <= 2000; len += 7)
    {
        EXPECT_EQ(valueOf(config, "key" + std::to_string(len)), std::string(len, 'v'));
    }
}

TEST_F(ConfigParser, KeysInAnyOrderAreFoundAgain)
{
    std::string text;
    for (int i = 0; i < 500; ++i)
    {
        text += "shared." + std::to_string(i * 7919 % 500) + " = " + std::to_string(i) + '\n';
    }
    config = byFile(text);

    for (int i = 0; i < 500; ++i)
    {
        EXPECT_EQ(valueOf(config, "shared." + std::to_string(i * 7919 % 500)), std::to_string(i));
    }
    EXPECT_EQ(valueOf(config, "shared"), "<-504>");
    EXPECT_EQ(valueOf(config, "shared.1x"), "<-504>");
}

TEST_F(ConfigParser, EmptyAttributeNameIsAValueLine)
{
    config = byFile("c := 5");

    EXPECT_EQ(valueOf(config, "c"), "5");
    EXPECT_THAT(attributesOf(config, "c"), IsEmpty());
}

TEST_F(ConfigParser, EverythingAfterTheFirstEqualsIsTheText)
{
    config = byFile("d = x = y\nf = a:b|c#d");

    EXPECT_EQ(valueOf(config, "d"), "x = y");
    EXPECT_EQ(valueOf(config, "f"), "a:b|c#d");
}

TEST_F(ConfigParser, LineWithEmptyKeyFailsTheLoadAndKeepsTheArgument)
{
    const PBaseptr<IConfig> before = config = byFile("a = 1");

    for (const char* line : {"= 1", ":attr = 1", "  :  = 1", "no separator", ":", "="})
    {
        EXPECT_EQ(load("good = 1\n" + std::string(line)), -3001) << line;
        EXPECT_EQ(config.get(), before.get()) << line;
    }
}

TEST_F(ConfigParser, AppendKeepsTheEntriesBeforeABadLine)
{
    config = byFile("a = 1\nb = 1");
    const PString path = wide(dir.write("bad.prs", "b = 2\nc = 3\nbad\nd = 4"));

    EXPECT_EQ(manager.appendByFile(path, config), -3001);
    EXPECT_THAT(keysOf(config), ElementsAre("a", "b", "c"));
    EXPECT_EQ(valueOf(config, "b"), "2");
}

TEST_F(ConfigParser, CommentsStartOnlyAtTheBeginningOfALine)
{
    config = byFile("  \t# k = hidden\n#=\nk = v # note\nn#m = 1\n");

    EXPECT_THAT(keysOf(config), ElementsAre("k", "n#m"));
    EXPECT_EQ(valueOf(config, "k"), "v # note");
}

TEST_F(ConfigParser, BlankLinesAreSkipped)
{
    config = byFile("\n   \n\t\r\na = 1\r\n\n");

    EXPECT_THAT(keysOf(config), ElementsAre("a"));
    EXPECT_EQ(valueOf(config, "a"), "1");
}

TEST_F(ConfigParser, EmptyArgumentFailsTheLoad)
{
    EXPECT_EQ(load({PString(L"a=1"), PString()}), -3001);
    EXPECT_FALSE(config);
}

TEST_F(ConfigParser, NoArgumentsAreInvalid)
{
    const PString one(L"a=1");

    EXPECT_EQ(manager.loadByArgs(&one, 0, config), -502);
    EXPECT_EQ(manager.loadByArgs(nullptr, 1, config), -502);
    EXPECT_EQ(manager.loadByArgs(std::vector<PString>(), config), -502);
    EXPECT_FALSE(config);
}

TEST_F(ConfigParser, ArgumentsHaveNoComments)
{
    EXPECT_EQ(load({PString(L"# remark")}), -3001);
    EXPECT_EQ(load({PString(L"#a=1")}), 0);
    EXPECT_EQ(valueOf(config, "#a"), "1");
}

TEST_F(ConfigParser, ArgumentsFollowTheRulesOfLines)
{
    config = byArgs({" a : unit = s ", "a=1", "a:unit=ms", "a=2"});

    EXPECT_EQ(valueOf(config, "a"), "2");
    EXPECT_EQ(attrOf(config, "a", "unit"), "s");
}

TEST_F(ConfigParser, AppendKeepsTheArgumentsBeforeABadOne)
{
    config = byArgs({"a=1"});
    const std::vector<PString> args = {PString(L"b=2"), PString(L"bad"), PString(L"c=3")};

    EXPECT_EQ(manager.appendByArgs(args, config), -3001);
    EXPECT_THAT(keysOf(config), ElementsAre("a", "b"));
    EXPECT_EQ(manager.appendByArgs(&args[2], 1, config), 0);
    EXPECT_THAT(keysOf(config), ElementsAre("a", "b", "c"));
}

TEST_F(ConfigParser, MissingFileReturnsTheOpenFailureAndChangesNothing)
{
    config = byFile("a = 1");
    const PBaseptr<IConfig> before = config;
    const PString missing = dir.wideFile("missing.prs");

    EXPECT_EQ(manager.appendByFile(missing, config), -2);
    EXPECT_EQ(manager.loadByFile(missing, config), -2);
    EXPECT_EQ(config.get(), before.get());
    EXPECT_THAT(keysOf(config), ElementsAre("a"));
}

TEST_F(ConfigParser, KeyWithSeparatorIsAcceptedButNotReadable)
{
    config = byFile("e|f = 1");

    EXPECT_THAT(keysOf(config), ElementsAre("e|f"));
    EXPECT_EQ(valueOf(config, "e|f"), "<-3004>");
}

TEST_F(ConfigParser, EmptyTargetIsInvalid)
{
    const std::vector<PString> args = {PString(L"a=1")};
    const PString path = wide(dir.write("a.prs", "a = 1"));

    EXPECT_EQ(manager.appendByFile(path, config), -502);
    EXPECT_EQ(manager.appendByArgs(args, config), -502);
    EXPECT_EQ(manager.appendByArgs(args.data(), 1, config), -502);
}

TEST_F(ConfigParser, NoArgumentsAreInvalidForAppendingToo)
{
    config = byFile("a = 1");
    const PString one(L"b=1");

    EXPECT_EQ(manager.appendByArgs(std::vector<PString>(), config), -502);
    EXPECT_EQ(manager.appendByArgs(&one, 0, config), -502);
    EXPECT_EQ(manager.appendByArgs(nullptr, 3, config), -502);
    EXPECT_THAT(keysOf(config), ElementsAre("a"));
}

TEST_F(ConfigParser, LoadsCallTheAppendOperations)
{
    CountingManager* const counting = new CountingManager;
    const PBaseptr<IConfigManager> own(counting);
    const std::vector<PString> args = {PString(L"a=1")};

    EXPECT_EQ(own->loadByFile(wide(dir.write("a.prs", "a = 1")), config), 0);
    EXPECT_EQ(own->loadByArgs(args, config), 0);
    EXPECT_EQ(own->loadByArgs(args.data(), 1, config), 0);
    EXPECT_EQ(counting->files, 1);
    EXPECT_EQ(counting->vectors, 1);
    EXPECT_EQ(counting->arrays, 1);
    config.clear();
}

TEST_F(ConfigParser, TextsOfEveryScriptAreKept)
{
    config = byFile("\xEF\xBB\xBFsch\xC3\xBCssel = \xE5\x80\xBC \xF0\x9F\x94\x91\n");

    EXPECT_EQ(valueOf(config, "sch\xC3\xBCssel"), "\xE5\x80\xBC \xF0\x9F\x94\x91");
}

TEST_F(ConfigParser, ReadsManyLines)
{
    constexpr int count = 200000;
    std::string lines;
    for (int i = 0; i < count; ++i)
    {
        lines += "key" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    }
    config = byFile(lines);

    EXPECT_EQ(keysOf(config).size(), static_cast<std::size_t>(count));
    EXPECT_EQ(valueOf(config, "key199999"), "199999");
}

TEST_F(ConfigParser, DirectoryIsNotAConfiguration)
{
    EXPECT_EQ(manager.loadByFile(wide(dir.path().string()), config), -21);
    EXPECT_FALSE(config);
}

TEST_F(ConfigParser, FileCountsAsEndedAtAReadError)
{
    // It can be opened, but reading it fails, because its first page is not mapped.
    EXPECT_EQ(manager.loadByFile(L"/proc/self/mem", config), 0);
    EXPECT_THAT(keysOf(config), IsEmpty());
}
