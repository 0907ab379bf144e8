// SPDX-License-Identifier: MIT
#include "config/PConfigLog.h"

#include "support/Counted.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// Notes the kind and the format of each line.
class NotingLogger : public Counted<ILogger>
{
public:
    int getLogger(const PLiteral&, PBaseptr<ILogger>&) override
    {
        return 0;
    }

    int setLevel(int) override
    {
        return 0;
    }

    int setPrintOnConsole(bool) override
    {
        return 0;
    }

    int info(int, const wchar_t* iFormat, ...) override
    {
        return note(L"info ", iFormat);
    }

    int error(int, const wchar_t* iFormat, ...) override
    {
        return note(L"error ", iFormat);
    }

    int debug(int, const wchar_t* iFormat, ...) override
    {
        return note(L"debug ", iFormat);
    }

    int dumpHex(int, const void*, int, unsigned int) override
    {
        return 0;
    }

    int showMsgBox(int, const wchar_t*, ...) override
    {
        return 0;
    }

    std::vector<std::wstring> lines;

private:
    int note(const std::wstring& iKind, const wchar_t* iFormat)
    {
        lines.push_back(iKind + iFormat);
        return 0;
    }
};

class ConfigLog : public testing::Test
{
protected:
    NotingLogger* const logger = new NotingLogger;
    const PBaseptr<ILogger> holder{logger};
    PConfigLog log;
};
} // namespace

TEST_F(ConfigLog, WithoutALoggerNothingIsWritten)
{
    log.nl_debug(L"a");
    log.nl_error(L"b");
    log.nl_pluginsError(L"c");

    EXPECT_FALSE(log.nl_hasLogger());
    EXPECT_THAT(logger->lines, IsEmpty());
}

TEST_F(ConfigLog, LoggerGetsTheLinesOfItsKinds)
{
    log.nl_setLogger(holder);
    log.nl_debug(L"a %d", 1);
    log.nl_error(L"b %d", 1);
    log.nl_pluginsError(L"c");

    EXPECT_THAT(logger->lines, ElementsAre(L"debug a %d", L"error b %d", L"error c"));
}

TEST_F(ConfigLog, FirstLoggerStays)
{
    NotingLogger* const second = new NotingLogger;
    const PBaseptr<ILogger> secondHolder(second);
    log.nl_setLogger(holder);
    log.nl_setLogger(secondHolder);
    log.nl_debug(L"a");

    EXPECT_THAT(logger->lines, ElementsAre(L"debug a"));
    EXPECT_THAT(second->lines, IsEmpty());
}

TEST_F(ConfigLog, EmptyLoggerIsNoLogger)
{
    log.nl_setLogger(PBaseptr<ILogger>());
    EXPECT_FALSE(log.nl_hasLogger());

    log.nl_setLogger(holder);
    EXPECT_TRUE(log.nl_hasLogger());
}
