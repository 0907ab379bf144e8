#include "PLibraryImage.h"

#include "PDescriptor.h"

#include <cstring>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
typedef unsigned long long Offset;
typedef ElfW(Ehdr) Header;
typedef ElfW(Phdr) Segment;

constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

bool _read(const PDescriptor& iFile, void* oBytes, std::size_t iSize, Offset iAt) noexcept
{
    return pread(iFile.get(), oBytes, iSize, static_cast<off_t>(iAt)) ==
           static_cast<ssize_t>(iSize);
}

bool _readHeader(const PDescriptor& iFile, Header& oHeader) noexcept
{
    return _read(iFile, &oHeader, sizeof oHeader, 0) &&
           std::memcmp(oHeader.e_ident, ELFMAG, SELFMAG) == 0 &&
           oHeader.e_ident[EI_CLASS] == kOwnClass && oHeader.e_phentsize == sizeof(Segment);
}

bool _isBeyond(const Segment& iSegment, Offset iSize) noexcept
{
    // Without adding the two, which might overflow.
    return iSegment.p_type == PT_LOAD &&
           (iSegment.p_offset > iSize || iSegment.p_filesz > iSize - iSegment.p_offset);
}
} // namespace

bool PLibraryImage::isCutShort(const char* iPath) noexcept
{
    const PDescriptor file(iPath, O_RDONLY | O_NONBLOCK);
    struct stat status = {};
    Header header;
    if (file.result() != 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !_readHeader(file, header))
    {
        return false;
    }
    const Offset size = static_cast<Offset>(status.st_size);
    for (unsigned int i = 0; i < header.e_phnum; ++i)
    {
        Segment segment;
        const Offset at = static_cast<Offset>(header.e_phoff) + Offset(i) * sizeof segment;
        if (!_read(file, &segment, sizeof segment, at))
        {
            return false;
        }
        if (_isBeyond(segment, size))
        {
            return true;
        }
    }
    return false;
}
