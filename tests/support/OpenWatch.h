// SPDX-License-Identifier: MIT
// OpenWatch: detects whether any process opens a file.
#ifndef IXLAL_TESTS_OPENWATCH_H
#define IXLAL_TESTS_OPENWATCH_H

#include <string>
#include <sys/inotify.h>
#include <unistd.h>

/// Watches one file of any kind from its construction on.
class OpenWatch
{
public:
    explicit OpenWatch(const std::string& iPath)
        : fHandle(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        fWatches = ::inotify_add_watch(fHandle, iPath.c_str(), IN_OPEN) >= 0;
    }

    ~OpenWatch()
    {
        ::close(fHandle);
    }

    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    /// Whether the system can watch the file.
    bool watches() const
    {
        return fWatches;
    }

    bool wasOpened() const
    {
        char events[1024];
        return ::read(fHandle, events, sizeof events) > 0;
    }

private:
    int fHandle;
    bool fWatches;
};

#endif
