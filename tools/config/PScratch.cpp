// SPDX-License-Identifier: MIT
#include "config/PScratch.h"

#include "config/PToolError.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace
{
std::filesystem::path _makeDirectory()
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::string name = (parent / "ixla-config-XXXXXX").string();
    if (error || !::mkdtemp(name.data()))
    {
        const std::string reason = error ? error.message() : std::generic_category().message(errno);
        throw PToolError("no temporary directory: " + name + ": " + reason +
                         "; set TMPDIR to a directory that can be written");
    }
    return name;
}
} // namespace

PScratch::PScratch() : fPath(_makeDirectory())
{
    std::error_code error;
    for (const std::string& directory : {pluginsDir(), logDir(), configDir()})
    {
        std::filesystem::create_directory(directory, error);
    }
    std::ofstream manager(configDir() + "/ixlap.configmanager.prs");
    manager << "ixlap.configmanager.store.file = store.txt\n";
    manager.close();
    if (error || !manager)
    {
        std::filesystem::remove_all(fPath, error);
        throw PToolError("cannot write to the temporary directory " + fPath.string() +
                         "; set TMPDIR to one with some space");
    }
}

PScratch::~PScratch()
{
    // Files that cannot be removed stay in the directory of temporary files.
    std::error_code error;
    std::filesystem::remove_all(fPath, error);
}

std::string PScratch::pluginsDir() const
{
    return fPath / "plugins";
}

std::string PScratch::logDir() const
{
    return fPath / "log";
}

std::string PScratch::configDir() const
{
    return fPath / "config";
}

std::string PScratch::storeFile() const
{
    return fPath / "config/store.txt";
}

std::string PScratch::unusedFile() const
{
    return fPath / "unused";
}
