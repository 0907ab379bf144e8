// SPDX-License-Identifier: MIT
#include "core/PStartArguments.h"

#include "Ixla.h"
#include "logger/PLogger.h"
#include "support/TempDir.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{
/// Parses with a logger, because the lines about arguments come before the core's own log exists.
class StartArguments : public testing::Test
{
protected:
    StartArguments()
    {
        fLogger.init(fDir.wideFile("core.log"), L"Core", false, 0, 0, 0, true);
    }

    int parse(const std::vector<PString>& iArgs)
    {
        return fArguments.parse(iArgs.data(), static_cast<unsigned int>(iArgs.size()), &fLogger);
    }

    int logCount(const std::string& iText) const
    {
        return countLines(fDir.file("core.log"), iText);
    }

    TempDir fDir;
    PLogger fLogger;
    PStartArguments fArguments;
};

TEST_F(StartArguments, HaveDefaults)
{
    EXPECT_EQ(0, parse({L"other=x"}));
    EXPECT_EQ(0u, fArguments.fLogFile.len());
    EXPECT_EQ(0, fArguments.fLogMaxSize);
    EXPECT_EQ(0, fArguments.fLogLevel);
    EXPECT_TRUE(fArguments.fLogEnable);
}

TEST_F(StartArguments, LimitsMayBeZero)
{
    EXPECT_EQ(0, parse({L"core.log.maxsize=0", L"core.log.parts=0", L"core.log.level=1"}));
    EXPECT_EQ(1, fArguments.fLogLevel);
}

TEST_F(StartArguments, NegativeSizeIsRefusedWithALine)
{
    EXPECT_EQ(eIxlaInvalidArgument, parse({L"core.log.maxsize=-1"}));
    EXPECT_EQ(
        1, logCount("E Core [startFlow] Failed parsing arg:[core.log.maxsize], val:[-1], err: 0"));
}

TEST_F(StartArguments, BadCountIsLoggedAndIgnored)
{
    EXPECT_EQ(0, parse({L"core.log.maxcount=many", L"core.log.parts=2"}));
    EXPECT_EQ(0, fArguments.fLogMaxCount);
    EXPECT_EQ(2, fArguments.fLogParts);
    EXPECT_EQ(
        1, logCount(
               "E Core [startFlow] Failed parsing arg:[core.log.maxcount], val:[many], err: -22"));
}

TEST_F(StartArguments, EveryBadValueIsLoggedWithItsCode)
{
    const std::pair<const wchar_t*, const char*> rows[] = {
        {L"core.log.maxsize=x", "arg:[core.log.maxsize], val:[x], err: -22"},
        {L"core.log.parts=99999999999", "arg:[core.log.parts], val:[99999999999], err: -34"},
        {L"core.log.level=", "arg:[core.log.level], val:[], err: -22"},
        {L"core.log.enable=maybe", "arg:[core.log.enable], val:[maybe], err: -22"},
    };
    for (const auto& [argument, line] : rows)
    {
        EXPECT_EQ(eIxlaInvalidArgument, parse({argument})) << line;
        EXPECT_EQ(1, logCount(line)) << line;
    }
}

TEST_F(StartArguments, OnlyTheOneWithoutASeparatorIsSkipped)
{
    EXPECT_EQ(0, parse({L"core.log.parts", L"core.log.parts=2"}));
    EXPECT_EQ(2, fArguments.fLogParts);
}

TEST_F(StartArguments, LaterOccurrenceWins)
{
    EXPECT_EQ(0, parse({L"core.log.level=1", L"core.log.level=-3"}));
    EXPECT_EQ(-3, fArguments.fLogLevel);
}

TEST_F(StartArguments, KeysAreCaseSensitive)
{
    EXPECT_EQ(0, parse({L"Core.log.level=x"}));
    EXPECT_EQ(0, fArguments.fLogLevel);
}

TEST_F(StartArguments, FirstBadArgumentEndsTheParsing)
{
    EXPECT_EQ(eIxlaInvalidArgument, parse({L"core.log.parts=x", L"core.log.level=5"}));
    EXPECT_EQ(0, fArguments.fLogLevel);
}
} // namespace
