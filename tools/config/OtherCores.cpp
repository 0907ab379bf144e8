// SPDX-License-Identifier: MIT
#include "config/OtherCores.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

#include <unistd.h>

namespace
{
constexpr std::string_view kLibrary = "/libixlal.core.so";

bool _isNumber(const std::string& iText)
{
    return std::all_of(iText.begin(), iText.end(),
                       [](unsigned char iChar) { return std::isdigit(iChar) != 0; });
}

bool _hasCore(const std::filesystem::path& iProcess)
{
    std::ifstream maps(iProcess / "maps");
    for (std::string line; std::getline(maps, line);)
    {
        if (line.find(kLibrary) != std::string::npos)
        {
            return true;
        }
    }
    return false;
}

std::string _describe(const std::filesystem::path& iProcess)
{
    std::string name;
    std::ifstream command(iProcess / "comm");
    std::getline(command, name);
    return (name.empty() ? "process" : name) + " (" + iProcess.filename().string() + ")";
}
} // namespace

std::vector<std::string> findOtherCores()
{
    std::vector<std::string> found;
    const std::string self = std::to_string(::getpid());
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string name = entry->path().filename();
        if (_isNumber(name) && name != self && _hasCore(entry->path()))
        {
            found.push_back(_describe(entry->path()));
        }
    }
    return found;
}
