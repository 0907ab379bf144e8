// SPDX-License-Identifier: MIT
#include "host/PPluginCopies.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <link.h>
#include <map>
#include <set>
#include <stdexcept>
#include <sys/statvfs.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
std::string _makeBase()
{
    std::string path = fs::temp_directory_path() / "ixla-host-XXXXXX";
    if (!mkdtemp(path.data()))
    {
        throw std::system_error(errno, std::generic_category(),
                                "cannot create " + path + " for copies of the plugins");
    }
    struct statvfs status = {};
    if (statvfs(path.c_str(), &status) == 0 && (status.f_flag & ST_NOEXEC) != 0)
    {
        fs::remove(path);
        throw std::runtime_error("libraries in " + fs::path(path).parent_path().string() +
                                 " cannot be loaded, because it is mounted with noexec; set TMPDIR "
                                 "to another directory");
    }
    return path;
}

/// Copies a library. One that cannot be read is linked, so that loading it reports the reason.
void _copyFile(const fs::path& iFrom, const fs::path& iTo)
{
    std::error_code error;
    const bool isCopied = PPluginCopies::isLibrary(iFrom.filename()) &&
                          fs::is_regular_file(iFrom, error) && fs::copy_file(iFrom, iTo, error);
    if (isCopied)
    {
        return;
    }
    if (error && error != std::errc::permission_denied)
    {
        throw std::system_error(error, "cannot copy " + iFrom.string() + " to " + iTo.string());
    }
    fs::create_symlink(fs::absolute(iFrom), iTo);
}

/// A library in this process.
struct Loaded
{
    std::string soName;           ///< the name by which others need it; empty for none
    std::set<std::string> needed; ///< the names of the libraries that it needs
};
typedef std::map<std::string, Loaded> LoadedByPath;

/// The names in the dynamic section. The loader has replaced the address of their texts.
Loaded _readNames(const dl_phdr_info& iLibrary)
{
    Loaded found;
    for (unsigned int i = 0; i < iLibrary.dlpi_phnum; ++i)
    {
        const ElfW(Phdr)& segment = iLibrary.dlpi_phdr[i];
        if (segment.p_type != PT_DYNAMIC)
        {
            continue;
        }
        // NOLINTBEGIN(performance-no-int-to-ptr): the loader has addresses as numbers
        const auto* const begin =
            reinterpret_cast<const ElfW(Dyn)*>(iLibrary.dlpi_addr + segment.p_vaddr);
        const char* texts = nullptr;
        for (const ElfW(Dyn)* entry = begin; entry->d_tag != DT_NULL; ++entry)
        {
            texts = entry->d_tag == DT_STRTAB ? reinterpret_cast<const char*>(entry->d_un.d_ptr)
                                              : texts;
        }
        // NOLINTEND(performance-no-int-to-ptr)
        for (const ElfW(Dyn)* entry = begin; texts && entry->d_tag != DT_NULL; ++entry)
        {
            if (entry->d_tag == DT_NEEDED)
            {
                found.needed.insert(texts + entry->d_un.d_val);
            }
            found.soName = entry->d_tag == DT_SONAME ? texts + entry->d_un.d_val : found.soName;
        }
    }
    return found;
}

struct Search
{
    const std::string& fBase;
    LoadedByPath fFound;
};

// Runs with the loader's lock held. An exception must not pass through the loader.
extern "C" int _addLibraryBelow(dl_phdr_info* iLibrary, std::size_t, void* ioSearch) noexcept
{
    try
    {
        Search& search = *static_cast<Search*>(ioSearch);
        const std::string path = iLibrary->dlpi_name;
        if (path.starts_with(search.fBase + "/"))
        {
            search.fFound[path] = _readNames(*iLibrary);
        }
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return -1;
    }
}

/// The libraries in this process that are below a directory.
LoadedByPath _loadedBelow(const std::string& iBase)
{
    Search search{iBase, {}};
    if (dl_iterate_phdr(&_addLibraryBelow, &search) != 0)
    {
        throw std::bad_alloc();
    }
    return search.fFound;
}

/// Whether a library of a directory needs one with this name. The loader gives it the one that was
/// loaded first.
bool _isNeededIn(const std::string& iDirectory, const std::string& iSoName,
                 const LoadedByPath& iLoaded)
{
    return std::any_of(iLoaded.begin(), iLoaded.end(),
                       [&](const LoadedByPath::value_type& iLibrary)
                       {
                           return fs::path(iLibrary.first).parent_path() == iDirectory &&
                                  iLibrary.second.needed.count(iSoName) > 0;
                       });
}
} // namespace

PPluginCopies::PPluginCopies() : fBase(_makeBase())
{
}

PPluginCopies::~PPluginCopies()
{
    removeAll();
}

std::string PPluginCopies::copy(const std::string& iDirectory)
{
    std::error_code error;
    if (!fs::is_directory(iDirectory, error))
    {
        return std::string();
    }
    std::string made = fs::path(fBase) / std::to_string(++fCount);
    fs::create_directory(made);
    try
    {
        for (const fs::directory_entry& entry : fs::directory_iterator(iDirectory))
        {
            _copyFile(entry.path(), fs::path(made) / entry.path().filename());
        }
    }
    catch (const std::system_error&)
    {
        remove(made);
        throw;
    }
    return made;
}

bool PPluginCopies::isLibrary(const std::string& iName)
{
    return iName.ends_with(".so") || iName.find(".so.") != std::string::npos;
}

// A directory that cannot be removed is left to whoever cleans the directory for temporary files.
void PPluginCopies::remove(const std::string& iCopy)
{
    std::error_code ignored;
    if (!iCopy.empty())
    {
        fs::remove_all(iCopy, ignored);
    }
}

void PPluginCopies::use(const std::string& iCopy)
{
    fUsed.push_back(iCopy);
}

std::vector<PPluginCopies::Remainder> PPluginCopies::removeEarlier()
{
    const LoadedByPath loaded = _loadedBelow(fBase);
    const std::string current = fUsed.back();
    fUsed.pop_back();
    std::vector<Remainder> found;
    std::vector<std::string> kept;
    for (const std::string& earlier : fUsed)
    {
        bool isLoaded = false;
        for (const auto& [path, library] : loaded)
        {
            if (fs::path(path).parent_path() == earlier)
            {
                isLoaded = true;
                const bool isUsed = _isNeededIn(current, library.soName, loaded);
                if (isUsed || &earlier == &fUsed.back())
                {
                    found.push_back({fs::path(path).filename(), isUsed});
                }
            }
        }
        if (isLoaded)
        {
            kept.push_back(earlier);
        }
        else
        {
            remove(earlier);
        }
    }
    kept.push_back(current);
    fUsed = kept;
    return found;
}

void PPluginCopies::removeAll() const
{
    std::error_code ignored;
    fs::remove_all(fBase, ignored);
}
