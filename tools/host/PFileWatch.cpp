// SPDX-License-Identifier: MIT
#include "host/PFileWatch.h"

#include "host/HostMessages.h"
#include "host/PPluginCopies.h"

#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace
{
constexpr unsigned int kChanges = IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE |
                                  IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF |
                                  IN_ONLYDIR;
constexpr unsigned int kOfDirectory = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_Q_OVERFLOW;
constexpr std::size_t kBlock = 16384;

std::string _adviceFor(int iError)
{
    return iError == ENOSPC ? "; raise fs.inotify.max_user_watches with sysctl" : "";
}
} // namespace

PFileWatch::PFileWatch() : fNotifier(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (!fNotifier)
    {
        throw std::system_error(errno, std::generic_category(),
                                "--watch gets no inotify instance; raise "
                                "fs.inotify.max_user_instances with sysctl");
    }
}

std::map<std::string, std::string> PFileWatch::setPaths(const std::set<std::string>& iPaths)
{
    const std::set<int> earlier = std::exchange(fWatches, {});
    fNames.clear();
    fFailures.clear();
    for (const std::string& path : iPaths)
    {
        const fs::path absolute = fs::absolute(path);
        addPath(absolute);
        std::error_code error;
        const fs::path target = fs::weakly_canonical(absolute, error);
        if (!error && !target.empty())
        {
            addPath(target);
        }
    }
    for (const int watch : earlier)
    {
        if (fWatches.count(watch) == 0)
        {
            // Fails if the directory was removed.
            static_cast<void>(inotify_rm_watch(fNotifier.get(), watch));
        }
    }
    return fFailures;
}

int PFileWatch::descriptor() const
{
    return fNotifier.get();
}

bool PFileWatch::takeEvents()
{
    bool isChange = false;
    alignas(inotify_event) char block[kBlock];
    ssize_t count = 0;
    while ((count = read(fNotifier.get(), block, sizeof block)) > 0)
    {
        std::size_t at = 0;
        while (at < static_cast<std::size_t>(count))
        {
            inotify_event event = {};
            std::memcpy(&event, block + at, sizeof event);
            const char* const name = block + at + sizeof event;
            at += sizeof event + event.len;
            isChange = isRelevant(event.mask, event.len > 0 ? name : "") || isChange;
        }
    }
    return isChange;
}

void PFileWatch::addPath(const fs::path& iPath)
{
    fs::path path = iPath.lexically_normal();
    std::error_code error;
    while (!fs::is_directory(path.parent_path(), error) && path.has_relative_path())
    {
        path = path.parent_path();
    }
    fNames.insert(path.filename());
    addDirectory(path.parent_path());
}

void PFileWatch::addDirectory(const fs::path& iDirectory)
{
    const int watch = inotify_add_watch(fNotifier.get(), iDirectory.c_str(), kChanges);
    if (watch >= 0)
    {
        fWatches.insert(watch);
    }
    else if (const int error = errno; error != ENOENT) // it was removed just now
    {
        fFailures[iDirectory] = systemText(error) + _adviceFor(error);
    }
}

bool PFileWatch::isRelevant(unsigned int iMask, std::string_view iName) const
{
    return (iMask & kOfDirectory) != 0 || fNames.count(iName) > 0 ||
           PPluginCopies::isLibrary(std::string(iName));
}
