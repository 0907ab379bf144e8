// SPDX-License-Identifier: MIT
#include "control/LoadedLibraries.h"

#include <elf.h>
#include <filesystem>
#include <link.h>

namespace fs = std::filesystem;

namespace
{
constexpr char kGnu[] = "GNU";

std::string _hexadecimal(const std::string& iBytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : iBytes)
    {
        const auto value = static_cast<unsigned char>(byte);
        text += kDigits[value >> 4U];
        text += kDigits[value & 0xFU];
    }
    return text;
}

std::string _buildId(const std::vector<NoteSegment>& iSegments)
{
    const PElfNotes notes = PElfNotes::ofSegments(iSegments, kGnu);
    for (const ElfNote& note : notes.notes())
    {
        if (note.type == NT_GNU_BUILD_ID)
        {
            return _hexadecimal(note.content);
        }
    }
    return "";
}

std::vector<NoteSegment> _noteSegments(const dl_phdr_info& iInfo)
{
    std::vector<NoteSegment> segments;
    for (unsigned int i = 0; i < iInfo.dlpi_phnum; ++i)
    {
        const ElfW(Phdr)& segment = iInfo.dlpi_phdr[i];
        if (segment.p_type == PT_NOTE)
        {
            const ElfW(Addr) address = iInfo.dlpi_addr + segment.p_vaddr;
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader has addresses as numbers
            const auto* const bytes = reinterpret_cast<const char*>(address);
            const std::size_t alignment = segment.p_align == 8 ? 8 : 4;
            segments.push_back({std::string(bytes, segment.p_memsz), alignment});
        }
    }
    return segments;
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
        library.notes = _noteSegments(*iInfo);
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
    ioLibrary.buildId = _buildId(ioLibrary.notes);
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
