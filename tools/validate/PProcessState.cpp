// SPDX-License-Identifier: MIT
#include "validate/PProcessState.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/time.h>

namespace fs = std::filesystem;

namespace
{
using PHeld = PProcessState::PHeld;

/// Tolerates threads that end and handles that are closed while the directory is read.
template <class TValue>
std::map<std::string, PHeld> _readDirectory(const char* iDirectory, const TValue& iValue)
{
    std::map<std::string, PHeld> values;
    for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
    {
        const PHeld value = iValue(entry.path());
        if (!value.name.empty())
        {
            values[entry.path().filename().string()] = value;
        }
    }
    return values;
}

PHeld _thread(const fs::path& iThread)
{
    std::ifstream in(iThread / "comm");
    PHeld thread;
    std::getline(in, thread.name);
    thread.identity = iThread.filename();
    return thread;
}

/// The name identifies pipes, sockets and the like; some kinds share one inode.
std::string _identity(const fs::path& iHandle, const std::string& iName)
{
    struct stat status = {};
    if (!iName.starts_with("/") || ::stat(iHandle.c_str(), &status) != 0)
    {
        return iName;
    }
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

/// Empty for the handle of the directory that is being read.
PHeld _handle(const fs::path& iHandle)
{
    std::error_code gone;
    const std::string name = fs::read_symlink(iHandle, gone).string();
    if (name.ends_with("/fd") && name.starts_with("/proc/"))
    {
        return {};
    }
    return {name, _identity(iHandle, name)};
}

/// The kernel writes several lines for each timer, the first one with its number.
std::map<std::string, PHeld> _timers()
{
    std::map<std::string, PHeld> timers;
    std::ifstream in("/proc/self/timers");
    std::string number;
    for (std::string line; std::getline(in, line);)
    {
        if (line.starts_with("ID: "))
        {
            number = line.substr(line.find(' ') + 1);
            timers[number] = {"timer_create", number};
        }
    }
    itimerval interval = {};
    const bool isSet = ::getitimer(ITIMER_REAL, &interval) == 0 &&
                       (interval.it_value.tv_sec != 0 || interval.it_value.tv_usec != 0);
    if (isSet)
    {
        timers["real"] = {"setitimer", "real"};
    }
    return timers;
}

void _addNew(const std::string& iKind, const std::map<std::string, PHeld>& iNow,
             const std::map<std::string, PHeld>& iEarlier, std::vector<std::string>& ioTexts)
{
    for (const auto& [number, held] : iNow)
    {
        const auto before = iEarlier.find(number);
        if (before == iEarlier.end() || before->second.identity != held.identity)
        {
            std::string text = iKind;
            text.append(" ").append(number).append(" (").append(held.name).append(")");
            ioTexts.push_back(text);
        }
    }
}
} // namespace

PProcessState PProcessState::read()
{
    PProcessState state;
    state.threads = _readDirectory("/proc/self/task", &_thread);
    state.handles = _readDirectory("/proc/self/fd", &_handle);
    state.timers = _timers();
    return state;
}

bool PProcessState::isMapped(const std::string& iFile)
{
    struct stat status = {};
    if (::stat(iFile.c_str(), &status) != 0)
    {
        return false;
    }
    std::ifstream in("/proc/self/maps");
    for (std::string line; std::getline(in, line);)
    {
        std::istringstream fields(line);
        std::string skipped;
        unsigned long long inode = 0;
        std::string path;
        fields >> skipped >> skipped >> skipped >> skipped >> inode >> path;
        std::error_code gone;
        if (inode == status.st_ino && fs::equivalent(path, iFile, gone))
        {
            return true;
        }
    }
    return false;
}

std::vector<std::string> PProcessState::since(const PProcessState& iEarlier) const
{
    std::vector<std::string> texts;
    _addNew("thread", threads, iEarlier.threads, texts);
    _addNew("handle", handles, iEarlier.handles, texts);
    _addNew("timer", timers, iEarlier.timers, texts);
    return texts;
}
