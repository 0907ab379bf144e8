// SPDX-License-Identifier: MIT
#include "control/LoadedLibraries.h"

#include <cstring>
#include <elf.h>
#include <filesystem>
#include <link.h>
#include <string_view>

namespace fs = std::filesystem;

namespace
{
constexpr std::size_t kNoteAlignment = 4;

std::size_t _aligned(std::size_t iSize)
{
    return (iSize + kNoteAlignment - 1) / kNoteAlignment * kNoteAlignment;
}

std::string _hexadecimal(const unsigned char* iBytes, std::size_t iCount)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < iCount; ++i)
    {
        text += kDigits[iBytes[i] >> 4U];
        text += kDigits[iBytes[i] & 0xFU];
    }
    return text;
}

/// The build ID among the notes from iBegin on.
std::string _buildIdIn(const unsigned char* iBegin, std::size_t iSize)
{
    ElfW(Nhdr) note = {};
    for (std::size_t place = 0; place + sizeof(note) <= iSize;)
    {
        std::memcpy(&note, iBegin + place, sizeof(note));
        const std::size_t name = place + sizeof(note);
        const std::size_t content = name + _aligned(note.n_namesz);
        const std::size_t end = content + _aligned(note.n_descsz);
        if (end > iSize)
        {
            break;
        }
        if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == sizeof("GNU") &&
            std::memcmp(iBegin + name, "GNU", sizeof("GNU")) == 0)
        {
            return _hexadecimal(iBegin + content, note.n_descsz);
        }
        place = end;
    }
    return "";
}

std::string _buildId(const dl_phdr_info& iInfo)
{
    std::string found;
    for (unsigned int i = 0; i < iInfo.dlpi_phnum && found.empty(); ++i)
    {
        const ElfW(Phdr)& segment = iInfo.dlpi_phdr[i];
        if (segment.p_type == PT_NOTE)
        {
            const ElfW(Addr) address = iInfo.dlpi_addr + segment.p_vaddr;
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader has addresses as numbers
            const auto* const notes = reinterpret_cast<const unsigned char*>(address);
            found = _buildIdIn(notes, segment.p_memsz);
        }
    }
    return found;
}

/// Runs with the loader's lock held, so it only copies. An exception must not pass through the
/// loader.
extern "C" int _addLibrary(dl_phdr_info* iInfo, std::size_t, void* ioLibraries) noexcept
{
    try
    {
        auto& libraries = *static_cast<std::vector<LoadedLibrary>*>(ioLibraries);
        LoadedLibrary library;
        library.path = iInfo->dlpi_name;
        library.buildId = _buildId(*iInfo);
        library.address = iInfo->dlpi_addr;
        libraries.push_back(library);
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return -1;
    }
}

void _complete(LoadedLibrary& ioLibrary)
{
    std::error_code failure;
    if (ioLibrary.path.empty())
    {
        ioLibrary.path = fs::read_symlink("/proc/self/exe", failure);
    }
    // A relative path starts at the working directory, as for the loader.
    const fs::path absolute = fs::absolute(ioLibrary.path, failure);
    ioLibrary.path = failure ? ioLibrary.path : absolute.lexically_normal().string();
    const std::uintmax_t size = fs::file_size(ioLibrary.path, failure);
    ioLibrary.size = failure ? -1 : static_cast<long long>(size);
}
} // namespace

std::vector<LoadedLibrary> loadedLibraries()
{
    std::vector<LoadedLibrary> libraries;
    if (dl_iterate_phdr(&_addLibrary, &libraries) != 0)
    {
        throw std::bad_alloc();
    }
    // The kernel's own library has no file.
    std::erase_if(libraries, [](const LoadedLibrary& iLibrary)
                  { return iLibrary.path.rfind("linux-", 0) == 0; });
    for (LoadedLibrary& library : libraries)
    {
        _complete(library);
    }
    return libraries;
}
