// SPDX-License-Identifier: MIT
#include "config/StoreUsers.h"

#include "helpers/Text.h"
#include "portinglayer/PUtils.h"
#include "shared/PConfigFile.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr std::string_view kLibrary = "/libixlal.core.so";
constexpr wchar_t kConfigDirKey[] = L"core.plugins.config.dir";
constexpr std::uintmax_t kLargestPropertyFile = 1u << 20;

/// One process, by its directory in /proc.
class Process
{
public:
    explicit Process(fs::path iPath) : fPath(std::move(iPath))
    {
        readMaps();
    }

    bool hasCore() const
    {
        return fHasCore;
    }

    bool uses(const fs::path& iDirectory) const;
    std::string describe() const;

private:
    void readMaps();
    bool hasOpenFileIn(const fs::path& iDirectory) const;
    bool namesInArguments(const fs::path& iDirectory) const;
    bool namesInFile(const fs::path& iFile, const fs::path& iDirectory) const;
    fs::path resolve(const fs::path& iPath) const;
    static bool isInside(const fs::path& iPath, const fs::path& iDirectory);

    const fs::path fPath;
    std::vector<fs::path> fMapped;
    bool fHasCore = false;
};

bool Process::uses(const fs::path& iDirectory) const
{
    std::error_code error;
    const fs::path working = fs::read_symlink(fPath / "cwd", error);
    const bool isMapped =
        std::any_of(fMapped.begin(), fMapped.end(),
                    [&](const fs::path& iFile) { return isInside(resolve(iFile), iDirectory); });
    return (!error && isInside(resolve(working), iDirectory)) || isMapped ||
           hasOpenFileIn(iDirectory) || namesInArguments(iDirectory);
}

std::string Process::describe() const
{
    std::string name;
    std::ifstream command(fPath / "comm");
    std::getline(command, name);
    return (name.empty() ? "process" : name) + " (" + fPath.filename().string() + ")";
}

void Process::readMaps()
{
    std::ifstream maps(fPath / "maps");
    for (std::string line; std::getline(maps, line);)
    {
        fHasCore = fHasCore || line.find(kLibrary) != std::string::npos;
        const std::size_t slash = line.find('/');
        if (slash != std::string::npos && (fMapped.empty() || fMapped.back() != line.substr(slash)))
        {
            fMapped.emplace_back(line.substr(slash));
        }
    }
}

bool Process::hasOpenFileIn(const fs::path& iDirectory) const
{
    std::error_code error;
    for (fs::directory_iterator file(fPath / "fd", error), end; !error && file != end;
         file.increment(error))
    {
        std::error_code gone;
        const fs::path target = fs::read_symlink(file->path(), gone);
        if (!gone && target.is_absolute() && isInside(resolve(target), iDirectory))
        {
            return true;
        }
    }
    return false;
}

/// Looks at every argument, and at the part after "=".
bool Process::namesInArguments(const fs::path& iDirectory) const
{
    std::ifstream arguments(fPath / "cmdline", std::ios::binary);
    for (std::string word; std::getline(arguments, word, '\0');)
    {
        const std::string value = word.substr(word.find('=') + 1);
        const fs::path path = resolve(value);
        if (!value.empty() && (isInside(path, iDirectory) || namesInFile(path, iDirectory)))
        {
            return true;
        }
    }
    return false;
}

/// Whether a file is a property file that names the directory.
bool Process::namesInFile(const fs::path& iFile, const fs::path& iDirectory) const
{
    std::error_code error;
    const bool isSmall = fs::is_regular_file(iFile, error) &&
                         fs::file_size(iFile, error) <= kLargestPropertyFile && !error;
    PConfigFile file;
    if (!isSmall || file.read(ixlaWide(iFile)) != 0)
    {
        return false;
    }
    return std::any_of(file.lines().begin(), file.lines().end(),
                       [&](const ConfigLine& iLine)
                       {
                           PString value(iLine.value.text);
                           PUtils::fixFileSeparator(value);
                           return iLine.key.text == kConfigDirKey && value.len() > 0 &&
                                  isInside(resolve(utf8Text(value)), iDirectory);
                       });
}

/// The path as this process sees it: the other one may have another root.
fs::path Process::resolve(const fs::path& iPath) const
{
    const fs::path path = iPath.lexically_normal();
    return path.is_absolute() ? fPath / "root" / path.relative_path() : fPath / "cwd" / path;
}

/// Whether the path, or one of its parents, is the directory.
bool Process::isInside(const fs::path& iPath, const fs::path& iDirectory)
{
    std::error_code error;
    for (fs::path path = iPath; path.has_relative_path(); path = path.parent_path())
    {
        if (fs::equivalent(path, iDirectory, error) && !error)
        {
            return true;
        }
    }
    return false;
}

bool _isNumber(const std::string& iText)
{
    return std::all_of(iText.begin(), iText.end(),
                       [](unsigned char iChar) { return std::isdigit(iChar) != 0; });
}
} // namespace

std::vector<std::string> findUsersOf(const std::string& iDirectory)
{
    std::vector<std::string> found;
    const std::string self = std::to_string(::getpid());
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string name = entry->path().filename();
        if (!_isNumber(name) || name == self)
        {
            continue;
        }
        const Process process(entry->path());
        if (process.hasCore() && process.uses(iDirectory))
        {
            found.push_back(process.describe());
        }
    }
    return found;
}

void warnOfUsers(const std::string& iDirectory, const std::string& iStorePath)
{
    std::vector<std::string> users = findUsersOf(iDirectory);
    const fs::path parent = fs::path(iStorePath).parent_path();
    const std::vector<std::string> ofStore = findUsersOf(parent.empty() ? "." : parent.string());
    for (const std::string& user : ofStore)
    {
        if (std::find(users.begin(), users.end(), user) == users.end())
        {
            users.push_back(user);
        }
    }
    if (!users.empty())
    {
        std::cerr << "ixla-config: warning: " << users.front()
                  << (users.size() > 1 ? " and " + std::to_string(users.size() - 1) + " more" : "")
                  << (users.size() > 1 ? " use" : " uses")
                  << " this directory and may write the same store, which has no lock\n";
    }
}
