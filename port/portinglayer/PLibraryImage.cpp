// SPDX-License-Identifier: MIT
#include "PLibraryImage.h"

#include "PDescriptor.h"
#include "PRetry.h"

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

constexpr char kNotRegular[] = "not a regular file";
constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

/// Reads the headers of a file. They are usually in its first bytes, which one call reads.
class Headers
{
public:
    // cppcheck-suppress uninitMemberVar ; zeroing fFront takes longer than reading it
    explicit Headers(const PDescriptor& iFile) noexcept
        : fFile(iFile), fFrontSize(pread(iFile.get(), fFront, sizeof fFront, 0))
    {
    }

    bool read(void* oBytes, std::size_t iSize, Offset iAt) const noexcept
    {
        const Offset front = fFrontSize < 0 ? 0 : static_cast<Offset>(fFrontSize);
        if (iSize <= front && iAt <= front - iSize)
        {
            std::memcpy(oBytes, fFront + iAt, iSize);
            return true;
        }
        return pread(fFile.get(), oBytes, iSize, static_cast<off_t>(iAt)) ==
               static_cast<ssize_t>(iSize);
    }

private:
    const PDescriptor& fFile;
    char fFront[1024]; ///< the first fFrontSize bytes are set
    const ssize_t fFrontSize;
};

bool _readHeader(const Headers& iHeaders, Header& oHeader) noexcept
{
    return iHeaders.read(&oHeader, sizeof oHeader, 0) &&
           std::memcmp(oHeader.e_ident, ELFMAG, SELFMAG) == 0 &&
           oHeader.e_ident[EI_CLASS] == kOwnClass && oHeader.e_phentsize == sizeof(Segment);
}

bool _isBeyond(const Segment& iSegment, Offset iSize) noexcept
{
    // Subtracts, because a sum might overflow.
    return iSegment.p_type == PT_LOAD &&
           (iSegment.p_offset > iSize || iSegment.p_filesz > iSize - iSegment.p_offset);
}

bool _isCutShort(const PDescriptor& iFile, Offset iSize) noexcept
{
    const Headers headers(iFile);
    Header header;
    if (!_readHeader(headers, header))
    {
        return false;
    }
    for (unsigned int i = 0; i < header.e_phnum; ++i)
    {
        Segment segment;
        const Offset at = static_cast<Offset>(header.e_phoff) + Offset(i) * sizeof segment;
        if (!headers.read(&segment, sizeof segment, at))
        {
            return false;
        }
        if (_isBeyond(segment, iSize))
        {
            return true;
        }
    }
    return false;
}
} // namespace

const char* PLibraryImage::findFlaw(const char* iPath) noexcept
{
    // Checked before opening: to open a file can start an action of a device, or wake a process
    // that waits to write to a pipe.
    struct stat status = {};
    if (PRetry::call([&] { return ::stat(iPath, &status); }) != 0)
    {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode))
    {
        return kNotRegular;
    }
    // Checked again after opening, and opened with O_NONBLOCK, because the file may have been
    // replaced.
    const PDescriptor file(iPath, O_RDONLY | O_NONBLOCK);
    if (file.result() != 0 || PRetry::call([&] { return ::fstat(file.get(), &status); }) != 0)
    {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode))
    {
        return kNotRegular;
    }
    return _isCutShort(file, static_cast<Offset>(status.st_size)) ? "file is cut short" : nullptr;
}
