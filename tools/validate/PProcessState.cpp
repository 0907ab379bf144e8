#include "validate/PProcessState.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{
/// Threads may end, and handles be closed, while the directory is read.
template <class TValue>
std::map<std::string, std::string> _readDirectory(const char* iDirectory, const TValue& iValue)
{
    std::map<std::string, std::string> values;
    for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
    {
        const std::string value = iValue(entry.path());
        if (!value.empty())
        {
            values[entry.path().filename().string()] = value;
        }
    }
    return values;
}

std::string _threadName(const fs::path& iThread)
{
    std::ifstream in(iThread / "comm");
    std::string name;
    std::getline(in, name);
    return name;
}

/// Empty for the handle with which the directory is read, which is closed afterwards.
std::string _handleTarget(const fs::path& iHandle)
{
    std::error_code gone;
    const std::string target = fs::read_symlink(iHandle, gone).string();
    return target.ends_with("/fd") && target.starts_with("/proc/") ? "" : target;
}

void _addNew(const std::string& iKind, const std::map<std::string, std::string>& iNow,
             const std::map<std::string, std::string>& iEarlier, std::vector<std::string>& ioTexts)
{
    for (const auto& [number, value] : iNow)
    {
        const auto before = iEarlier.find(number);
        if (before == iEarlier.end() || before->second != value)
        {
            std::string text = iKind;
            text.append(" ").append(number).append(" (").append(value).append(")");
            ioTexts.push_back(text);
        }
    }
}
} // namespace

PProcessState PProcessState::read()
{
    PProcessState state;
    state.threads = _readDirectory("/proc/self/task", &_threadName);
    state.handles = _readDirectory("/proc/self/fd", &_handleTarget);
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
    return texts;
}
