// SPDX-License-Identifier: MIT
#include "support/LibraryCopies.h"

#include "support/BenchDir.h"
#include "support/SmallPlugin.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include <dirent.h>
#include <dlfcn.h>
#include <link.h>

namespace fs = std::filesystem;

namespace
{
std::wstring _digits(int iNumber)
{
    std::wstring digits = std::to_wstring(iNumber);
    digits.insert(0, static_cast<std::size_t>(kSmallPluginDigits) - digits.size(), L'0');
    return digits;
}

std::string _read(const std::string& iName)
{
    std::ifstream file(fs::path(IXLAL_BENCH_PLUGINS) / iName, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::string _bytes(const std::wstring& iText)
{
    return std::string(reinterpret_cast<const char*>(iText.data()), iText.size() * sizeof(wchar_t));
}

/// Writes the ID of a copy into the bytes of its library.
void _number(std::string& ioLibrary, int iNumber)
{
    const std::size_t found = ioLibrary.find(_bytes(kSmallPluginId));
    if (found == std::string::npos)
    {
        throw std::runtime_error("The small plugin has no ID");
    }
    const std::string id = _bytes(LibraryCopies::interfaceId(iNumber));
    ioLibrary.replace(found, id.size(), id);
}

typedef std::map<std::pair<std::string, int>, std::unique_ptr<BenchDir>> Directories;

/// The directories by name of the library and number of copies.
Directories& _directories()
{
    static Directories sDirectories;
    return sDirectories;
}

const fs::path& _copies(const std::string& iName, int iCount, void (*iNumber)(std::string&, int))
{
    std::unique_ptr<BenchDir>& directory = _directories()[{iName, iCount}];
    if (!directory)
    {
        directory = std::make_unique<BenchDir>(BenchDir::eMemory);
        for (int i = 0; i < iCount; ++i)
        {
            std::string library = _read(iName);
            iNumber(library, i);
            const std::wstring digits = _digits(i);
            directory->write("lib" + std::string(digits.begin(), digits.end()) + ".so", library);
        }
    }
    return directory->path();
}

bool _isCopy(const fs::path& iLibrary)
{
    return std::any_of(_directories().begin(), _directories().end(),
                       [&iLibrary](const Directories::value_type& iEntry)
                       { return iEntry.second->path() == iLibrary.parent_path(); });
}
} // namespace

const fs::path& LibraryCopies::plugins(int iCount)
{
    return _copies("libsmall.so", iCount, &_number);
}

std::wstring LibraryCopies::interfaceId(int iNumber)
{
    std::wstring id(kSmallPluginId);
    return id.replace(id.size() - kSmallPluginDigits, kSmallPluginDigits, _digits(iNumber));
}

const fs::path& LibraryCopies::pocoLibraries(int iCount)
{
    return _copies("libpocosmall.so", iCount, [](std::string&, int) {});
}

std::vector<std::string> LibraryCopies::list(const fs::path& iDirectory)
{
    std::vector<std::string> paths;
    const std::string prefix = iDirectory.string() + '/';
    DIR* const directory = ::opendir(iDirectory.c_str());
    while (const dirent* const entry = directory ? ::readdir(directory) : nullptr)
    {
        if (std::string_view(entry->d_name).ends_with(".so"))
        {
            paths.push_back(prefix + entry->d_name);
        }
    }
    if (directory)
    {
        ::closedir(directory);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

int LibraryCopies::loaded()
{
    int count = 0;
    ::dl_iterate_phdr(
        [](dl_phdr_info* iLibrary, std::size_t, void* ioCount)
        {
            *static_cast<int*>(ioCount) += _isCopy(iLibrary->dlpi_name);
            return 0;
        },
        &count);
    return count;
}

void LibraryCopies::unload(const fs::path& iDirectory)
{
    for (const std::string& path : list(iDirectory))
    {
        if (void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD))
        {
            ::dlclose(library);
            ::dlclose(library);
        }
    }
}
