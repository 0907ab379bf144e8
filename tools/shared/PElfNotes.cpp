// SPDX-License-Identifier: MIT
#include "shared/PElfNotes.h"

#include "shared/PFileDescriptor.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <system_error>

namespace
{
/// Damaged headers could name more bytes than there is memory.
constexpr std::uint64_t kMostBytes = 4U << 20U;
constexpr unsigned char kByteOrder =
    std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

std::string _systemText(int iError)
{
    return std::generic_category().message(iError);
}

/// The value at the beginning of some bytes, which are as many at least.
template <class TValue>
TValue _valueOf(std::string_view iBytes)
{
    TValue value = {};
    std::memcpy(&value, iBytes.data(), sizeof value);
    return value;
}

std::uint64_t _aligned(std::uint64_t iOffset, std::size_t iAlignment)
{
    return (iOffset + iAlignment - 1) / iAlignment * iAlignment;
}

/// Bytes that cannot be read count as missing.
std::string _readBytes(int iFile, std::uint64_t iOffset, std::size_t iSize)
{
    if (iOffset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()) - iSize)
    {
        return std::string();
    }
    std::string bytes(iSize, '\0');
    std::size_t done = 0;
    while (done < iSize)
    {
        const ssize_t count =
            pread(iFile, bytes.data() + done, iSize - done, static_cast<off_t>(iOffset + done));
        if (count == 0 || (count < 0 && errno != EINTR))
        {
            break;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    bytes.resize(done);
    return bytes;
}

/// Why an open file is not read; empty for a regular file.
std::string _faultOf(int iFile)
{
    struct stat status = {};
    if (fstat(iFile, &status) != 0)
    {
        return "cannot be read: " + _systemText(errno);
    }
    return S_ISREG(status.st_mode) ? "" : "is not a regular file";
}
} // namespace

PElfNotes::PElfNotes(const std::string& iOwner) : fOwner(iOwner + '\0')
{
}

PElfNotes PElfNotes::ofFile(const std::string& iPath, const std::string& iOwner)
{
    PElfNotes notes(iOwner);
    // A named pipe without a writer must not block.
    const PFileDescriptor file(open(iPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    notes.fFault = file ? _faultOf(file.get()) : "cannot be read: " + _systemText(errno);
    if (notes.fFault.empty())
    {
        notes.read([&](std::uint64_t iOffset, std::size_t iSize)
                   { return _readBytes(file.get(), iOffset, iSize); });
    }
    return notes;
}

PElfNotes PElfNotes::ofBytes(std::string_view iBytes, const std::string& iOwner)
{
    PElfNotes notes(iOwner);
    notes.read(
        [&](std::uint64_t iOffset, std::size_t iSize)
        {
            const std::uint64_t offset = std::min<std::uint64_t>(iOffset, iBytes.size());
            return std::string(iBytes.substr(static_cast<std::size_t>(offset), iSize));
        });
    return notes;
}

PElfNotes PElfNotes::ofSegments(const std::vector<NoteSegment>& iSegments,
                                const std::string& iOwner)
{
    PElfNotes notes(iOwner);
    for (const NoteSegment& segment : iSegments)
    {
        const std::string found = notes.split(segment.bytes, segment.alignment);
        if (!found.empty() && segment.bytes.find(notes.fOwner) != std::string::npos)
        {
            notes.fDamage.emplace_back("a note segment is damaged: " + found);
        }
    }
    return notes;
}

const std::vector<ElfNote>& PElfNotes::notes() const
{
    return fNotes;
}

const std::string& PElfNotes::fault() const
{
    return fFault;
}

const std::vector<std::string>& PElfNotes::damage() const
{
    return fDamage;
}

void PElfNotes::read(const Source& iSource)
{
    const std::string begin = iSource(0, EI_NIDENT);
    if (begin.size() < EI_NIDENT || begin.compare(0, SELFMAG, ELFMAG) != 0)
    {
        fFault = "is not an ELF file";
    }
    else if (static_cast<unsigned char>(begin[EI_DATA]) != kByteOrder)
    {
        fFault = "has the byte order of another machine";
    }
    else if (begin[EI_CLASS] == ELFCLASS32)
    {
        readSegments<Elf32_Ehdr, Elf32_Phdr>(iSource);
    }
    else if (begin[EI_CLASS] == ELFCLASS64)
    {
        readSegments<Elf64_Ehdr, Elf64_Phdr>(iSource);
    }
    else
    {
        fFault = "is neither a 32-bit nor a 64-bit ELF file";
    }
}

template <class THeader, class TSegment>
void PElfNotes::readSegments(const Source& iSource)
{
    const std::string bytes = iSource(0, sizeof(THeader));
    const THeader header = bytes.size() < sizeof(THeader) ? THeader() : _valueOf<THeader>(bytes);
    if (bytes.size() < sizeof(THeader) ||
        (header.e_phnum > 0 && header.e_phentsize != sizeof(TSegment)))
    {
        fFault = "is damaged: its header is cut, or names another size of segment headers";
        return;
    }
    const std::string table = iSource(header.e_phoff, header.e_phnum * sizeof(TSegment));
    if (table.size() < header.e_phnum * sizeof(TSegment))
    {
        fFault = "is damaged: its segment headers are missing";
        return;
    }
    for (std::size_t i = 0; i < header.e_phnum; ++i)
    {
        const auto segment =
            _valueOf<TSegment>(std::string_view(table).substr(i * sizeof(TSegment)));
        if (segment.p_type == PT_NOTE)
        {
            readSegment(iSource, segment.p_offset, segment.p_filesz, segment.p_align == 8 ? 8 : 4);
        }
    }
}

void PElfNotes::readSegment(const Source& iSource, std::uint64_t iOffset, std::uint64_t iSize,
                            std::size_t iAlignment)
{
    fSize += std::min(iSize, kMostBytes + 1);
    if (fSize > kMostBytes)
    {
        fDamage.emplace_back("its note segments are larger than " +
                             std::to_string(kMostBytes >> 20U) + " MiB");
        return;
    }
    const std::string segment = iSource(iOffset, static_cast<std::size_t>(iSize));
    std::string found = split(segment, iAlignment);
    if (segment.size() < iSize)
    {
        found = "the end of the file cuts it";
    }
    else if (segment.find(fOwner) == std::string::npos)
    {
        return;
    }
    if (!found.empty())
    {
        fDamage.emplace_back("its note segment at offset " + std::to_string(iOffset) +
                             " is damaged: " + found);
    }
}

std::string PElfNotes::split(std::string_view iSegment, std::size_t iAlignment)
{
    while (!iSegment.empty())
    {
        // The same structure for both word sizes.
        if (iSegment.size() < sizeof(Elf32_Nhdr))
        {
            return "it ends within the header of a note";
        }
        const auto header = _valueOf<Elf32_Nhdr>(iSegment);
        const std::uint64_t begin =
            _aligned(sizeof header + std::uint64_t{header.n_namesz}, iAlignment);
        const std::uint64_t end = begin + header.n_descsz;
        if (end > iSegment.size())
        {
            return "a note is larger than the segment";
        }
        if (iSegment.substr(sizeof header, header.n_namesz) == fOwner)
        {
            fNotes.push_back(
                {header.n_type,
                 std::string(iSegment.substr(static_cast<std::size_t>(begin), header.n_descsz))});
        }
        iSegment.remove_prefix(
            std::min(iSegment.size(), static_cast<std::size_t>(_aligned(end, iAlignment))));
    }
    return std::string();
}
