// SPDX-License-Identifier: MIT
#include "OpenFiles.h"

#include "Raw.h"

#include <cerrno>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace schedules
{
namespace
{
constexpr int kFirst = 3; ///< behind the standard streams
constexpr int kEnd = 256;
constexpr off64_t kClosed = -1;

off64_t sPlaces[kEnd];
} // namespace

bool OpenFiles::remember(int iOwn, int iOther)
{
    bool canRestore = true;
    for (int file = kFirst; file < kEnd; ++file)
    {
        const bool isOwn = file == iOwn || file == iOther;
        sPlaces[file] = isOwn ? kClosed : lseek64(file, 0, SEEK_CUR);
        canRestore = canRestore && (isOwn || sPlaces[file] != kClosed || errno != ESPIPE);
    }
    return canRestore;
}

void OpenFiles::restore()
{
    for (int file = kFirst; file < kEnd; ++file)
    {
        if (sPlaces[file] != kClosed)
        {
            lseek64(file, sPlaces[file], SEEK_SET);
            Raw::get().syscall(SYS_flock, file, LOCK_UN);
        }
    }
}
} // namespace schedules
