// SPDX-License-Identifier: MIT
// DirectoryImage: what is in a directory at one time, to bring it back.
#ifndef IXLAL_SCHEDULES_DIRECTORYIMAGE_H
#define IXLAL_SCHEDULES_DIRECTORYIMAGE_H

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace schedules
{
/// Files come back as the same files, so that a process which has one open goes on with it. Throws
/// std::exception when something cannot be read or restored.
class DirectoryImage
{
public:
    /// iSpare is an empty directory of the same file system, for the image's own use.
    DirectoryImage(std::filesystem::path iDirectory, std::filesystem::path iSpare);
    ~DirectoryImage();
    DirectoryImage(const DirectoryImage&) = delete;
    DirectoryImage& operator=(const DirectoryImage&) = delete;

    void restore() const;

private:
    struct Entry
    {
        std::filesystem::path path;
        std::filesystem::path spare; ///< a hard link; empty for a directory
        bool isRegular;
        std::filesystem::perms permissions;
        std::string content;
        timespec changed;
    };

    void add(const std::filesystem::directory_entry& iFound);
    static void restoreContent(const Entry& iEntry);

    std::filesystem::path fDirectory;
    std::filesystem::path fSpare;
    std::vector<Entry> fEntries; ///< directories before what is in them
};
} // namespace schedules

#endif
