// SPDX-License-Identifier: MIT
#include "validate/PSubjectSearch.h"

#include "validate/PElfSymbols.h"
#include "validate/PProgram.h"

#include <algorithm>
#include <fstream>

namespace fs = std::filesystem;

namespace
{
constexpr char kFactorySymbol[] = "_Z13ixlaGetPluginv";
constexpr char kPackageBegin[] = "!<arch>\ndebian-binary";

bool _isDirectory(const std::string& iPath)
{
    std::error_code ignored; // the checks report it
    return fs::is_directory(iPath, ignored);
}

bool _isPackage(const std::string& iPath)
{
    std::error_code ignored; // the checks report it
    if (!fs::is_regular_file(iPath, ignored))
    {
        return false;
    }
    std::string begin(sizeof kPackageBegin - 1, '\0');
    std::ifstream in(iPath, std::ios::binary);
    return in.read(begin.data(), static_cast<std::streamsize>(begin.size())) &&
           begin == kPackageBegin;
}

/// The files whose names end with ".so". Throws std::filesystem::filesystem_error.
template <class TIterator>
std::vector<fs::path> _librariesIn(const fs::path& iDirectory)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : TIterator(iDirectory))
    {
        std::error_code ignored; // a link to nothing is no library
        if (entry.path().extension() == ".so" && entry.is_regular_file(ignored))
        {
            files.push_back(entry.path());
        }
    }
    return files;
}
} // namespace

void PSubjectSearch::add(const std::string& iArgument)
{
    try
    {
        if (_isDirectory(iArgument))
        {
            addDirectory(iArgument);
        }
        else if (_isPackage(iArgument))
        {
            addPackage(iArgument);
        }
        else
        {
            fFound.emplace_back(PSubject{iArgument, fs::absolute(iArgument).string(), ""});
        }
    }
    catch (const fs::filesystem_error& problem)
    {
        fFound.emplace_back(PLibraryResult::failed(
            iArgument, "cannot be read: " + problem.code().message(), "make it readable"));
    }
}

const std::vector<PSubjectSearch::Found>& PSubjectSearch::found() const
{
    return fFound;
}

const std::vector<std::string>& PSubjectSearch::skipped() const
{
    return fSkipped;
}

bool PSubjectSearch::isLibrary(const std::string& iArgument)
{
    return !_isDirectory(iArgument) && !_isPackage(iArgument);
}

void PSubjectSearch::addDirectory(const std::string& iArgument)
{
    addFiles(iArgument, _librariesIn<fs::directory_iterator>(iArgument), "", "");
}

void PSubjectSearch::addPackage(const std::string& iArgument)
{
    fUnpacked.push_back(std::make_unique<PTestDirectory>());
    const std::string root = fUnpacked.back()->path().string();
    const PProgram unpacking({"dpkg-deb", "-x", fs::absolute(iArgument).string(), root});
    if (!unpacking.done())
    {
        fFound.emplace_back(
            PLibraryResult::failed(iArgument, "cannot be unpacked: " + unpacking.problem(),
                                   "install dpkg, and build the package again if it is damaged"));
        return;
    }
    addFiles(iArgument, _librariesIn<fs::recursive_directory_iterator>(root), root + "/",
             iArgument + ":");
}

void PSubjectSearch::addFiles(const std::string& iArgument, std::vector<fs::path> iFiles,
                              const std::string& iRoot, const std::string& iShown)
{
    const std::size_t before = fFound.size();
    std::sort(iFiles.begin(), iFiles.end());
    for (const fs::path& file : iFiles)
    {
        const std::string given = iShown + file.string().substr(iRoot.size());
        if (!PElfSymbols::ofFile(file.string()).defines(kFactorySymbol))
        {
            fSkipped.push_back(given);
            continue;
        }
        const fs::path path = fs::absolute(file);
        fFound.emplace_back(PSubject{given, path.string(), path.parent_path().string()});
    }
    if (fFound.size() == before)
    {
        fFound.emplace_back(PLibraryResult::failed(
            iArgument, "contains no plugin library",
            "pass a directory or package with libraries that export ixlaGetPlugin"));
    }
}
