// SPDX-License-Identifier: MIT
#include "config/PConfigFormat.h"

#include "support/Texts.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using testing::ElementsAre;

namespace
{
std::string text(const PSpan& iPart)
{
    return narrow(PString(iPart.text, iPart.len));
}

/// The parts of a line, or only its result code.
std::vector<std::string> parse(const std::string& iLine)
{
    const PString line = wide(iLine);
    PConfigLine parts = {};
    const int result = PConfigFormat::_parseLine({line.ptr(), line.len()}, parts);
    if (result != 0)
    {
        return {std::to_string(result)};
    }
    return {text(parts.key), text(parts.attribute), text(parts.value)};
}
} // namespace

TEST(ConfigFormat, SplitsLinesIntoTrimmedParts)
{
    EXPECT_THAT(parse(" my key = my value "), ElementsAre("my key", "", "my value"));
    EXPECT_THAT(parse("\tk : an attribute\t=\tt t\t"), ElementsAre("k", "an attribute", "t t"));
    EXPECT_THAT(parse("k="), ElementsAre("k", "", ""));
    EXPECT_THAT(parse("k:a="), ElementsAre("k", "a", ""));
    EXPECT_THAT(parse("k:  =v"), ElementsAre("k", "", "v"));
    EXPECT_THAT(parse("k==v"), ElementsAre("k", "", "=v"));
}

TEST(ConfigFormat, FirstColonSplitsKeyAndAttribute)
{
    EXPECT_THAT(parse("a:b:c = 1"), ElementsAre("a", "b:c", "1"));
}

TEST(ConfigFormat, RejectsLinesWithoutKeyOrSeparator)
{
    for (const char* line : {"", "a", "a:b", "=", " = 1", ":a=1", " : = "})
    {
        EXPECT_THAT(parse(line), ElementsAre("-3001")) << line;
    }
}

TEST(ConfigFormat, RejectedLineDoesNotChangeTheParts)
{
    PConfigLine parts = {{L"k", 1}, {L"a", 1}, {L"v", 1}};

    for (const PLiteral line : {L"no separator", L"= 1", L" : name = 1"})
    {
        EXPECT_EQ(PConfigFormat::_parseLine({line.ptr(), line.len()}, parts), -3001);
    }
    EXPECT_EQ(text(parts.key), "k");
    EXPECT_EQ(text(parts.attribute), "a");
    EXPECT_EQ(text(parts.value), "v");
}

TEST(ConfigFormat, SeparatorsAreRefusedInEveryNameAndNothingElse)
{
    for (const wchar_t* bad : {L"=", L":", L"|", L"a=b", L"a:", L"|a"})
    {
        EXPECT_EQ(PConfigFormat::_checkAllowedChars(bad, L"k", L"a"), -3004);
        EXPECT_EQ(PConfigFormat::_checkAllowedChars(L"i", bad, L"a"), -3004);
        EXPECT_EQ(PConfigFormat::_checkAllowedChars(L"i", L"k", bad), -3004);
    }
    EXPECT_EQ(PConfigFormat::_checkAllowedChars(L"", L"", L""), 0);
    EXPECT_EQ(PConfigFormat::_checkAllowedChars(L"a.b c", L"#\\/;", L"\u00e9\n"), 0);
}

TEST(ConfigFormat, ArgumentsBeforeABadOneAreAdded)
{
    const PString args[] = {L"a = 1", L"a:unit = s", L"no separator", L"b = 2"};
    PConfigArena arena;
    PConfigValues values(&arena);

    EXPECT_EQ(PConfigFormat::_appendArgs(args, 4, values), -3001);
    EXPECT_EQ(values.size(), 1u);
    EXPECT_EQ(*values.find(L"a")->fAttributes.find(L"unit"), L"s");
}

TEST(ConfigFormat, ArgumentIsNeverAComment)
{
    const PString args[] = {L"#a = 1"};
    PConfigArena arena;
    PConfigValues values(&arena);

    EXPECT_EQ(PConfigFormat::_appendArgs(args, 1, values), 0);
    EXPECT_NE(values.find(L"#a"), nullptr);
}
