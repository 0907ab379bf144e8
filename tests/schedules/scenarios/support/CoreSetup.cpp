// SPDX-License-Identifier: MIT
#include "scenarios/support/CoreSetup.h"

#include "Scenario.h"

#include <filesystem>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

CoreSetup::CoreSetup(std::initializer_list<const char*> iPlugins)
    : fDirectory(schedules::directory())
{
    for (const fs::directory_entry& entry : fs::directory_iterator(fDirectory))
    {
        fs::remove_all(entry);
    }
    for (const char* name : {"plugins", "config", "log"})
    {
        fs::create_directory(path(name));
    }
    for (const std::string name : iPlugins)
    {
        const std::string file = "lib" + name + ".so";
        fs::create_symlink(fs::path(SCHEDULE_PLUGINS) / file, path("plugins/" + file));
    }
    writeConfig("ixlap.configmanager.prs", "ixlap.configmanager.store.file = store.txt\n");
    set("core.plugins.dir", path("plugins"));
    set("core.plugins.config.dir", path("config"));
    set("core.plugins.log.dir", path("log"));
    set("core.plugins.log.enable", "false");
    set("core.free.plugins.lib", "true");
    set("core.notify.exit.timeout", "5");
}

void CoreSetup::set(const std::string& iKey, const std::string& iValue)
{
    fArguments[iKey] = iValue;
}

void CoreSetup::writeConfig(const std::string& iName, const std::string& iText) const
{
    std::ofstream(path("config/" + iName)) << iText;
}

void CoreSetup::writeLogs()
{
    set("core.log.file", path("core.log"));
    set("core.log.level", "2");
    set("core.plugins.log.enable", "true");
}

int CoreSetup::start() const
{
    std::vector<PString> arguments;
    for (const auto& [key, value] : fArguments)
    {
        const std::string text = key + "=" + value;
        arguments.push_back(std::wstring(text.begin(), text.end()).c_str());
    }
    return ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
}

void CoreSetup::mustStart() const
{
    schedules::requireEqual(0, start(), "the core starts");
}

std::string CoreSetup::path(const std::string& iName) const
{
    return fDirectory + "/" + iName;
}

int CoreSetup::countLines(const std::string& iName, const std::string& iText) const
{
    std::ifstream file(path(iName));
    int count = 0;
    for (std::string line; std::getline(file, line);)
    {
        count += line.find(iText) != std::string::npos ? 1 : 0;
    }
    return count;
}
