// SPDX-License-Identifier: MIT
#include "IConfigManager.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "hostile/HostileTest.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

namespace
{
using Text = const PLiteral&;

/// An object of a plugin that throws when its last reference is released.
template <class TInterface>
class Throwing : public TInterface
{
public:
    int incRef() override
    {
        return ++fCount;
    }

    int decRef() override
    {
        if (--fCount == 0)
        {
            throw std::runtime_error("not today");
        }
        return fCount;
    }

    bool isReleased() const
    {
        return fCount == 0;
    }

private:
    int fCount = 0;
};

// The operations of these two are not called.
class Config : public Throwing<IConfig>
{
public:
    MOCK_METHOD(int, getKeys, (std::vector<PString>&), (override));
    MOCK_METHOD(int, getAttributes, (Text, std::vector<PString>&), (override));
    MOCK_METHOD(int, getString, (Text, PString&), (override));
    MOCK_METHOD(int, getInt32, (Text, int&), (override));
    MOCK_METHOD(int, getUint32, (Text, unsigned int&), (override));
    MOCK_METHOD(int, getInt64, (Text, long long&), (override));
    MOCK_METHOD(int, getUint64, (Text, unsigned long long&), (override));
    MOCK_METHOD(int, getBool, (Text, bool&), (override));
    MOCK_METHOD(int, getBinary, (Text, unsigned char*&, unsigned int&), (override));
    MOCK_METHOD(int, getAttrString, (Text, Text, PString&), (override));
    MOCK_METHOD(int, getAttrInt32, (Text, Text, int&), (override));
    MOCK_METHOD(int, getAttrUint32, (Text, Text, unsigned int&), (override));
    MOCK_METHOD(int, getAttrInt64, (Text, Text, long long&), (override));
    MOCK_METHOD(int, getAttrUint64, (Text, Text, unsigned long long&), (override));
    MOCK_METHOD(int, getAttrBool, (Text, Text, bool&), (override));
    MOCK_METHOD(int, getAttrBinary, (Text, Text, unsigned char*&, unsigned int&), (override));
};

class Logger : public Throwing<ILogger>
{
public:
    MOCK_METHOD(int, getLogger, (Text, PBaseptr<ILogger>&), (override));
    MOCK_METHOD(int, setLevel, (int), (override));
    MOCK_METHOD(int, setPrintOnConsole, (bool), (override));
    MOCK_METHOD(int, dumpHex, (int, const void*, int, unsigned int), (override));

    int info(int, const wchar_t*, ...) override
    {
        return 0;
    }

    int error(int, const wchar_t*, ...) override
    {
        return 0;
    }

    int debug(int, const wchar_t*, ...) override
    {
        return 0;
    }

    int showMsgBox(int, const wchar_t*, ...) override
    {
        return 0;
    }
};

/// Holders with another object, which a service replaces.
class HostileHolder : public HostileTest
{
};

TEST_F(HostileHolder, LoadFillsItWhenTheFormerConfigurationThrows)
{
    ASSERT_EQ(0, fCore.start());
    Config former;
    PBaseptr<IConfig> config(&former);

    EXPECT_EQ(0, fCore.get<IConfigManager>(kIxlaConfigManagerId)->loadByID(L"id", config));

    EXPECT_TRUE(former.isReleased());
    EXPECT_TRUE(config);
    config.clear();
    EXPECT_TRUE(stopsCleanly());
}

TEST_F(HostileHolder, GetLoggerFillsItWhenTheFormerLoggerThrows)
{
    ASSERT_EQ(0, fCore.start());
    Logger former;
    PBaseptr<ILogger> logger(&former);

    EXPECT_EQ(0, fCore.get<ILogger>(kIxlaLoggerId)->getLogger(L"named.log", logger));

    EXPECT_TRUE(former.isReleased());
    EXPECT_EQ(0, logger->info(0, L"line"));
    logger.clear();
    EXPECT_EQ(1, countLines(fCore.pluginLogFile("named.log"), "line"));
    EXPECT_TRUE(stopsCleanly());
}
} // namespace
