// SPDX-License-Identifier: MIT
#include "logging/LoggingTest.h"

#include <filesystem>

namespace fs = std::filesystem;

LoggingTest::LoggingTest() : plugin(PBaseptr<PLoggerPlugin>::adopt(new PLoggerPlugin))
{
    FakeConfig::reset(
        {{"core.plugins.log.dir", dir.path().string()}, {"core.plugins.log.enable", "true"}});
}

ILogger* LoggingTest::defaultLogger() const
{
    IBase* instance = nullptr;
    EXPECT_EQ(0, plugin->getInstance(kIxlaLoggerId, instance));
    return static_cast<ILogger*>(instance);
}

PBaseptr<ILogger> LoggingTest::get(const std::string& iName) const
{
    PBaseptr<ILogger> logger;
    EXPECT_EQ(0, plugin->getLogger(wide(iName), logger));
    return logger;
}

bool LoggingTest::isOpen(const std::string& iName) const
{
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd"))
    {
        std::error_code ignored;
        if (fs::read_symlink(entry.path(), ignored) == dir.path() / iName)
        {
            return true;
        }
    }
    return false;
}

std::vector<std::string> LoggingTest::texts(const std::string& iName) const
{
    std::vector<std::string> result;
    for (const std::string& line : readLines(dir.file(iName)))
    {
        const std::size_t tag = line.find(" pgs ");
        result.push_back(tag == std::string::npos ? "torn: " + line : line.substr(tag + 5));
    }
    return result;
}
