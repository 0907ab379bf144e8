// SPDX-License-Identifier: MIT
#include "support/CoreRun.h"

#include "support/Texts.h"

#include <filesystem>
#include <vector>

namespace fs = std::filesystem;

CoreRun::CoreRun()
{
    for (const char* name : {"plugins", "config", "log"})
    {
        fs::create_directory(dir.path() / name);
    }
    writeManagerConfig("");
    set("core.log.file", logFile());
    set("core.log.level", "2");
    set("core.plugins.dir", dir.file("plugins"));
    set("core.plugins.config.dir", dir.file("config"));
    set("core.plugins.log.dir", dir.file("log"));
    set("core.plugins.log.enable", "true");
    set("core.free.plugins.lib", "false");
    set("core.notify.exit.timeout", "30");
}

CoreRun::~CoreRun()
{
    if (fStarted)
    {
        stop();
    }
}

void CoreRun::set(const std::string& iKey, const std::string& iValue)
{
    fArguments[iKey] = iValue;
}

void CoreRun::erase(const std::string& iKey)
{
    fArguments.erase(iKey);
}

void CoreRun::addPlugin(const std::string& iName, const std::string& iFileName)
{
    const std::string target = iFileName.empty() ? iName : iFileName;
    fs::copy_file(fs::path(IXLAL_TEST_PLUGINS) / iName / ("lib" + iName + ".so"),
                  dir.path() / "plugins" / ("lib" + target + ".so"));
}

void CoreRun::writeConfig(const std::string& iName, const std::string& iText)
{
    dir.write("config/" + iName, iText);
}

void CoreRun::writeManagerConfig(const std::string& iText)
{
    writeConfig("ixlap.configmanager.prs",
                iText + "\nixlap.configmanager.store.file = store.txt\n");
}

int CoreRun::start()
{
    std::vector<PString> arguments;
    arguments.reserve(fArguments.size());
    for (const auto& [key, value] : fArguments)
    {
        arguments.push_back(wide(std::string(key).append("=").append(value)));
    }
    const int result = ixlaStart(arguments.data(), static_cast<unsigned int>(arguments.size()));
    fStarted = fStarted || result == 0;
    return result;
}

int CoreRun::stop()
{
    fStarted = false;
    return ixlaStop();
}

IPlugin* CoreRun::firstPlugin() const
{
    const std::string before = "[loadPluginLib] Get IPlugin ptr: ";
    for (const std::string& line : readLines(logFile()))
    {
        const std::size_t at = line.find(before);
        if (at != std::string::npos)
        {
            const std::string address = line.substr(at + before.size());
            return reinterpret_cast<IPlugin*>(std::stoul(address, nullptr, 16));
        }
    }
    return nullptr;
}

std::string CoreRun::logFile() const
{
    return dir.file("core.log");
}

std::string CoreRun::pluginLogFile(const std::string& iName) const
{
    return dir.file("log/" + iName);
}

std::string CoreRun::storeFile() const
{
    return dir.file("config/store.txt");
}

int CoreRun::logCount(const std::string& iText) const
{
    return countLines(logFile(), iText);
}

IBase* CoreRun::getBase(const wchar_t* iId)
{
    IBase* instance = nullptr;
    return ixlaGetInstance(iId, instance) == 0 ? instance : nullptr;
}
