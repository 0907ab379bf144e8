// SPDX-License-Identifier: MIT
#include "scenarios/support/CoreSetup.h"

#include "Scenario.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace
{
PString _wide(const std::string& iText)
{
    const std::wstring text(iText.begin(), iText.end());
    return PString(text.c_str());
}
} // namespace

CoreSetup::CoreSetup(std::initializer_list<const char*> iPlugins)
{
    const schedules::Reliable reliable;
    fDirectory = schedules::directory();
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
    const schedules::Reliable reliable;
    fArguments[iKey] = iValue;
}

void CoreSetup::writeConfig(const std::string& iName, const std::string& iText) const
{
    const schedules::Reliable reliable;
    std::ofstream(path("config/" + iName)) << iText;
}

void CoreSetup::keepLibraries()
{
    set("core.free.plugins.lib", "false");
}

void CoreSetup::writeLogs()
{
    const schedules::Reliable reliable;
    set("core.log.file", path("core.log"));
    set("core.log.level", "2");
    set("core.plugins.log.enable", "true");
}

std::vector<PString> CoreSetup::arguments() const
{
    const schedules::Reliable reliable;
    std::vector<PString> arguments;
    for (const auto& [key, value] : fArguments)
    {
        arguments.push_back(_wide(key + "=" + value));
    }
    return arguments;
}

int CoreSetup::start() const
{
    const std::vector<PString> texts = arguments();
    return ixlaStart(texts.data(), static_cast<unsigned int>(texts.size()));
}

void CoreSetup::mustStart() const
{
    const schedules::Reliable reliable;
    schedules::requireEqual(0, start(), "the core starts");
}

std::string CoreSetup::path(const std::string& iName) const
{
    const schedules::Reliable reliable;
    return fDirectory + "/" + iName;
}

int CoreSetup::countLines(const std::string& iName, const std::string& iText) const
{
    const schedules::Reliable reliable;
    std::ifstream file(path(iName));
    int count = 0;
    for (std::string line; std::getline(file, line);)
    {
        count += line.find(iText) != std::string::npos ? 1 : 0;
    }
    return count;
}
