// SPDX-License-Identifier: MIT
// The files of a MemoryDir, kept in memory: the functions of the C library that the product calls
// for files, in the process of a fuzzer. Other paths and descriptors reach the operating system. No
// target has threads that use files.
#include "fuzz/MemoryDir.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int kFirstHandle = 1 << 20;

struct File
{
    ino_t number = 0;
    bool isNamed = true;
    std::string bytes;
};

typedef std::shared_ptr<File> FilePtr;

struct Handle
{
    FilePtr file;
    std::size_t offset = 0;
    bool appends = false;
};

struct Named
{
    std::string path;
    FilePtr file;
};

int _failed(int iError)
{
    errno = iError;
    return -1;
}

class Files
{
public:
    static bool has(const char* iPath)
    {
        return std::strstr(iPath, MemoryDir::kName) != nullptr;
    }

    const File* named(std::string_view iPath)
    {
        const auto found = find(iPath);
        return found == fNamed.end() ? nullptr : found->file.get();
    }

    int open(std::string_view iPath, int iFlags)
    {
        auto found = find(iPath);
        if (found == fNamed.end())
        {
            if ((iFlags & O_CREAT) == 0)
            {
                return _failed(ENOENT);
            }
            fNamed.push_back({std::string(iPath), std::make_shared<File>()});
            found = fNamed.end() - 1;
            found->file->number = ++fLastNumber;
        }
        if ((iFlags & O_TRUNC) != 0)
        {
            found->file->bytes.clear();
        }
        const auto unused = std::find_if(fHandles.begin(), fHandles.end(),
                                         [](const Handle& iHandle) { return !iHandle.file; });
        if (unused == fHandles.end())
        {
            return _failed(EMFILE);
        }
        *unused = {found->file, 0, (iFlags & O_APPEND) != 0};
        return kFirstHandle + static_cast<int>(unused - fHandles.begin());
    }

    int unlink(std::string_view iPath)
    {
        const auto found = find(iPath);
        if (found == fNamed.end())
        {
            return _failed(ENOENT);
        }
        found->file->isNamed = false;
        fNamed.erase(found);
        return 0;
    }

    int rename(std::string_view iFrom, std::string_view iTo)
    {
        const auto from = find(iFrom);
        if (from == fNamed.end())
        {
            return _failed(ENOENT);
        }
        const FilePtr file = from->file;
        from->path.clear();
        if (named(iTo))
        {
            unlink(iTo);
        }
        find({})->path = iTo;
        return 0;
    }

    /// Null for a descriptor of the operating system.
    Handle* handle(int iHandle)
    {
        const bool isOurs = iHandle >= kFirstHandle;
        return isOurs ? &fHandles.at(static_cast<std::size_t>(iHandle - kFirstHandle)) : nullptr;
    }

private:
    std::vector<Named>::iterator find(std::string_view iPath)
    {
        return std::find_if(fNamed.begin(), fNamed.end(),
                            [&](const Named& iNamed) { return iNamed.path == iPath; });
    }

    std::vector<Named> fNamed;
    std::array<Handle, 64> fHandles;
    ino_t fLastNumber = 0;
};

/// Never destroyed, because files are closed until the process ends.
Files& _files()
{
    static Files& sFiles = *new Files;
    return sFiles;
}

int _state(const File* iFile, struct stat* oState)
{
    if (!iFile)
    {
        return _failed(ENOENT);
    }
    *oState = {};
    oState->st_dev = 1;
    oState->st_ino = iFile->number;
    oState->st_nlink = iFile->isNamed ? 1 : 0;
    oState->st_mode = S_IFREG | 0600;
    oState->st_size = static_cast<off_t>(iFile->bytes.size());
    return 0;
}

ssize_t _readAt(const File& iFile, std::size_t iOffset, void* oBytes, std::size_t iSize)
{
    const std::size_t offset = std::min(iOffset, iFile.bytes.size());
    const std::size_t size = std::min(iSize, iFile.bytes.size() - offset);
    std::memcpy(oBytes, iFile.bytes.data() + offset, size);
    return static_cast<ssize_t>(size);
}

ssize_t _write(Handle& ioHandle, const void* iBytes, std::size_t iSize)
{
    std::string& bytes = ioHandle.file->bytes;
    const std::size_t offset = ioHandle.appends ? bytes.size() : ioHandle.offset;
    bytes.resize(std::max(bytes.size(), offset + iSize));
    std::memcpy(bytes.data() + offset, iBytes, iSize);
    ioHandle.offset = offset + iSize;
    return static_cast<ssize_t>(iSize);
}

template <class TResult, class... TArgument>
TResult _system(long iNumber, TArgument... iArguments)
{
    return static_cast<TResult>(::syscall(iNumber, iArguments...));
}
} // namespace

extern "C"
{
    char* mkdtemp(char* ioPath)
    {
        return ioPath;
    }

    // With an error for a directory that exists, and so for each one that a log creates.
    int mkdir(const char* iPath, mode_t iAccess)
    {
        return Files::has(iPath) ? _failed(EEXIST)
                                 : _system<int>(SYS_mkdirat, AT_FDCWD, iPath, iAccess);
    }

    int open(const char* iPath, int iFlags, ...)
    {
        va_list rest;
        va_start(rest, iFlags);
        const mode_t access = (iFlags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
        va_end(rest);
        return Files::has(iPath) ? _files().open(iPath, iFlags)
                                 : _system<int>(SYS_openat, AT_FDCWD, iPath, iFlags, access);
    }

    int close(int iHandle)
    {
        Handle* const ours = _files().handle(iHandle);
        if (!ours)
        {
            return _system<int>(SYS_close, iHandle);
        }
        ours->file.reset();
        return 0;
    }

    ssize_t read(int iHandle, void* oBytes, std::size_t iSize)
    {
        Handle* const ours = _files().handle(iHandle);
        if (!ours)
        {
            return _system<ssize_t>(SYS_read, iHandle, oBytes, iSize);
        }
        const ssize_t size = _readAt(*ours->file, ours->offset, oBytes, iSize);
        ours->offset += static_cast<std::size_t>(size);
        return size;
    }

    ssize_t pread(int iHandle, void* oBytes, std::size_t iSize, off_t iOffset)
    {
        const Handle* const ours = _files().handle(iHandle);
        return ours ? _readAt(*ours->file, static_cast<std::size_t>(iOffset), oBytes, iSize)
                    : _system<ssize_t>(SYS_pread64, iHandle, oBytes, iSize, iOffset);
    }

    ssize_t write(int iHandle, const void* iBytes, std::size_t iSize)
    {
        Handle* const ours = _files().handle(iHandle);
        return ours ? _write(*ours, iBytes, iSize)
                    : _system<ssize_t>(SYS_write, iHandle, iBytes, iSize);
    }

    off_t lseek(int iHandle, off_t iOffset, int iWhence)
    {
        const Handle* const ours = _files().handle(iHandle);
        // The product only asks for the present offset.
        return ours ? static_cast<off_t>(ours->offset)
                    : _system<off_t>(SYS_lseek, iHandle, iOffset, iWhence);
    }

    int ftruncate(int iHandle, off_t iSize)
    {
        Handle* const ours = _files().handle(iHandle);
        if (!ours)
        {
            return _system<int>(SYS_ftruncate, iHandle, iSize);
        }
        ours->file->bytes.resize(static_cast<std::size_t>(iSize));
        return 0;
    }

    int flock(int iHandle, int iOperation)
    {
        return _files().handle(iHandle) ? 0 : _system<int>(SYS_flock, iHandle, iOperation);
    }

    int fstat(int iHandle, struct stat* oState)
    {
        const Handle* const ours = _files().handle(iHandle);
        return ours ? _state(ours->file.get(), oState) : _system<int>(SYS_fstat, iHandle, oState);
    }

    int stat(const char* iPath, struct stat* oState)
    {
        return Files::has(iPath) ? _state(_files().named(iPath), oState)
                                 : _system<int>(SYS_newfstatat, AT_FDCWD, iPath, oState, 0);
    }

    int lstat(const char* iPath, struct stat* oState)
    {
        return Files::has(iPath)
                   ? _state(_files().named(iPath), oState)
                   : _system<int>(SYS_newfstatat, AT_FDCWD, iPath, oState, AT_SYMLINK_NOFOLLOW);
    }

    int access(const char* iPath, int iMode)
    {
        if (!Files::has(iPath))
        {
            return _system<int>(SYS_faccessat, AT_FDCWD, iPath, iMode);
        }
        return _files().named(iPath) ? 0 : _failed(ENOENT);
    }

    int unlink(const char* iPath)
    {
        return Files::has(iPath) ? _files().unlink(iPath)
                                 : _system<int>(SYS_unlinkat, AT_FDCWD, iPath, 0);
    }

    int rename(const char* iFrom, const char* iTo)
    {
        return Files::has(iFrom) ? _files().rename(iFrom, iTo)
                                 : _system<int>(SYS_renameat, AT_FDCWD, iFrom, AT_FDCWD, iTo);
    }
}
